// The provisioning settings: what a management station stores for a download and reads back after it, in the UCI
// section apc.setting, and two texts that are handed to provisioning scripts.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/provisioning/provisioning.hpp"

using namespace zol;

namespace {

constexpr size_t longest_text = 4096;

int read_number(const char *key, int32_t *number) {
  std::array<char, 128> text{};
  const int result = read_option(key, text);
  *number = to_int32(text.data());
  return result;
}

}  // namespace

/// A number kept in the option OPTION of apc.setting.
#define APC_NUMBER(NAME, OPTION, ...)                                                    \
  ZOL_INTEGER(NAME, __VA_ARGS__);                                                        \
  int get_##NAME(int32_t *number) { return read_number("apc.setting." OPTION, number); } \
  int set_##NAME(int32_t number) { return store_number("apc.setting." OPTION, number); } \
  static_assert(true)

/// A text of 1 to LONGEST characters kept in the option OPTION of apc.setting.
#define APC_TEXT(NAME, LONGEST, OPTION, ...)                                                                \
  ZOL_TEXT(NAME, (LONGEST) + 1, __VA_ARGS__, .accepts = range(1, LONGEST));                                 \
  int get_##NAME(char *text) { return read_option("apc.setting." OPTION, std::span(text, (LONGEST) + 1)); } \
  int set_##NAME(const char *text) { return store_text("apc.setting." OPTION, text); }                      \
  static_assert(true)

/// @syntax Integer32
/// What to do with the file; a firmware image is fetched by 1 (apc.setting.apcLoadFlag).
APC_NUMBER(apc_loadflag, "apcLoadFlag", .oid = {21, 1}, .accepts = range(1, 3));

/// @syntax ZolarcText (SIZE (0..128))
/// The name of the file on the server (apc.setting.apcFileName).
APC_TEXT(apc_filename, 128, "apcFileName", .oid = {21, 2});

/// @syntax Integer32
/// What the file is; 1 is a firmware image (apc.setting.apcTypeOfFile).
APC_NUMBER(apc_filetype, "apcTypeOfFile", .oid = {21, 3}, .accepts = range(1, 3));
/// @syntax Integer32
/// The FTP server's port (apc.setting.apcSrvPort). Ports above 35535 are refused.
APC_NUMBER(apc_port, "apcSrvPort", .oid = {21, 5}, .accepts = range(1, 35535));

/// @syntax ZolarcText (SIZE (0..32))
/// The user name on the server (apc.setting.apcSrvUserName).
APC_TEXT(apc_username, 32, "apcSrvUserName", .oid = {21, 6});

/// @syntax ZolarcText (SIZE (0..32))
/// The password on the server, in clear (apc.setting.apcSrvPasswd).
APC_TEXT(apc_password, 32, "apcSrvPasswd", .oid = {21, 7});

/// @syntax INTEGER { started(0), readyToFlash(1), failed(2) }
/// How far the transfer has come (apc.setting.apcTransferStatus).
APC_NUMBER(apc_status, "apcTransferStatus", .oid = {21, 8}, .accepts = range(0, 2));

/// @syntax ZolarcText (SIZE (0..256))
/// What came of the last transfer, with a time stamp (apc.setting.apcTransferFailReason).
APC_TEXT(apc_failreason, 256, "apcTransferFailReason", .oid = {21, 9});

/// @syntax ZolarcText (SIZE (0..64))
/// The MD5 digest of the file that was fetched (apc.setting.apcFileChecksum).
APC_TEXT(apc_filecsum, 64, "apcFileChecksum", .oid = {21, 10});

/// @syntax ZolarcText (SIZE (0..32))
/// The version in the image that was fetched (apc.setting.apcFileVersion).
APC_TEXT(apc_fwversion, 32, "apcFileVersion", .oid = {21, 11});

/// The antennas that transmit, as a mask (apc.setting.transmit_antenna).
APC_NUMBER(apc_tx_amap, "transmit_antenna", .oid = {20, 12}, .accepts = range(0, 65535));

/// The antennas that receive, as a mask (apc.setting.received_antenna).
APC_NUMBER(apc_rx_amap, "received_antenna", .oid = {20, 13}, .accepts = range(0, 65535));

/// The FTP server's address (apc.setting.apcSrvIpAddress).
ZOL_ADDRESS(apc_ipaddr, .oid = {21, 4});

int get_apc_ipaddr(Ipv4 *address) {
  *address = 0;
  return take_found(CommandOutput("uci show apc | grep \"apc.setting.apcSrvIpAddress\""), "=",
                    [address](const Value &value) { *address = parse_ipv4(value.text()); });
}

int set_apc_ipaddr(Ipv4 address) { return store_address("apc.setting.apcSrvIpAddress", address); }

// The only text here that may be empty: the script then runs without an argument.
/// A text that is handed to the provisioning script as its argument; what it does is the script's affair.
ZOL_TEXT(apc_text, longest_text + 1, .oid = {20, 8, 1, 1}, .accepts = range(0, longest_text));

int get_apc_text(char *text) { return read_option("apc.setting.apc_text", {text, longest_text + 1}); }

int set_apc_text(const char *text) {
  shell("/lib/bramo/apc_set_ap %s ", text);
  return 0;
}

namespace {

/// Nothing but words, which name options and files.
bool is_words(const char *text, size_t length) {
  return std::ranges::all_of(text, text + length, [](char character) {
    return isalnum(static_cast<unsigned char>(character)) != 0 || strchr(" _./:-", character) != nullptr;
  });
}

}  // namespace

/// @syntax ZolarcText (SIZE (0..4096))
/// Two words, an option and its value, set that option; two words more name a script that runs afterwards, and its
/// argument. Any other number of words is accepted and does nothing. A GET answers a fixed hint. Who may set it can run
/// any program of the device.
ZOL_TEXT(apc_discovery, longest_text + 1, .oid = {20, 14}, .accepts = range(1, longest_text), .guard = is_words);

int get_apc_discovery(char *text) {
  copy_text({text, longest_text + 1}, "Please use UCI command line to show your value");
  return 0;
}

int set_apc_discovery(const char *text) {
  const int words = zol_countElementOf_(text, ' ');
  if (words != 2 && words != 4) return 0;
  char first[longest_text + 1];
  char second[longest_text + 1];
  copy_field(first, text, 0, ' ');
  copy_field(second, text, 1, ' ');
  shell("uci set apc.setting.%s=%s;uci commit apc", first, second);
  if (words == 4) {
    copy_field(first, text, 2, ' ');
    copy_field(second, text, 3, ' ');
    shell("/bin/sh %s %s", first, second);
  }
  return 0;
}
