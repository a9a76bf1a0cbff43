#pragma once

#include <span>

#include "core/export.hpp"

extern "C" {

/// The file value store keeps short texts (at most 255 characters) under dotted keys such as "0.3.1", across restarts.
/// It is one file, replaced as a whole: a power cut leaves either the old or the new text, and two writers, be they
/// threads or processes, lose nothing of each other's. Its place is compiled in; the environment variable
/// ZOLARC_VALUE_STORE moves it.

/// Reads the text stored under `key` into `buffer`; an empty text when the key or the file is missing.
/// @param buffer holds 256 bytes, or one more than the longest text ever stored under the key
/// @return 0 always
ZOL_EXPORT int snmp_read2file(const char *key, char *buffer);

/// Stores `text` under `key`. @return 0, or -1 and one line in the log when it cannot be stored; the old text then
/// stands
ZOL_EXPORT int snmp_write2file(const char *key, const char *text);
}

namespace zol {

/// `snmp_read2file` with a bound: a longer text is cut.
void read_value(const char *key, std::span<char> text);

}  // namespace zol
