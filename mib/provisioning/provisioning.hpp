#pragma once

// Remote provisioning: settings in the UCI section apc.setting, firmware download, verification and flashing.

#include <cstddef>
#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// Whether a file can be opened for reading. @return 0 when it can, -1 when not
ZOL_EXPORT int file_exist(const char *path);

/// The MD5 digest of a file as hexadecimal digits, from "md5sum <path>".
/// @param out 128 bytes; empty when md5sum prints no digest
/// @return 0; -1 when there is no digest or the command cannot be started
ZOL_EXPORT int get_file_checksum(const char *path, char *out);

/// The version text that a firmware image carries at offset 0xF8, from "hexdump -s 0xf8 -n 32 -C <path>": the first 16
/// characters of the dump's text column. After " v" the number is cut at the first "." that stands five characters or
/// more behind the blank.
/// @param out 17 bytes; empty when the image ends before the version
/// @return 1 when a version was read, 0 when not; -1 when the command cannot be started
ZOL_EXPORT int get_file_version_from_img(const char *path, char *out);

/// The build date in a version text: the six digits yymmdd behind "_b", as "20yy-mm-dd"; "2011-11-11" for a version
/// that carries none.
/// @param out 11 bytes @return 0 always
ZOL_EXPORT int version_date(const char *version, char *out);

/// Whole days from 1970-01-01 to a date "yyyy-mm-dd"; 0 for a text that is no date.
ZOL_EXPORT int num_days(const char *date);

/// Fetches the firmware image that the settings name and checks it, when `value` is 1 and both the load flag and the
/// file type are 1; the outcome is left in the settings and in /etc/log_pnar.txt. Takes as long as the transfer.
/// @return 0 always
ZOL_EXPORT int set_apc_download(int32_t value);

/// Flashes the downloaded image, whatever the value, when the transfer status is 1 and the image is there; otherwise
/// only logs that it is not. @return 0 always
ZOL_EXPORT int set_apc_confirm(int32_t value);

/// Stores the transfer status: 0 started, 1 ready to flash, 2 failed. @return 0 always
ZOL_EXPORT int set_apc_status(int32_t status);

/// Stores why the last transfer failed, or that it succeeded; at most 256 characters when set over SNMP.
/// @return 0 always
ZOL_EXPORT int set_apc_failreason(const char *reason);

/// Stores the version of the downloaded image, at most 32 characters when set over SNMP. @return 0 always
ZOL_EXPORT int set_apc_fwversion(const char *version);
}
