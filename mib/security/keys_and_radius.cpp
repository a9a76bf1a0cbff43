// The keys of the selected network, and its RADIUS servers for authentication and accounting.

#include <cstdio>
#include <cstring>

#include "core/command.hpp"
#include "core/scalar.hpp"
#include "mib/security/security.hpp"

using namespace zol;

namespace {

constexpr size_t text_size = 65;

/// What `uci show` prints of an option of the selected network.
class OptionOutput : public CommandOutput<> {
 public:
  explicit OptionOutput(const char *option)
      : CommandOutput("uci show wireless.@wifi-iface[%d].%s", security_index, option) {
    snprintf(marker_, sizeof marker_, ".%s=", option);
  }

  /// Tells the line that holds the option.
  [[nodiscard]] const char *marker() const { return marker_; }

 private:
  char marker_[32];
};

// The readers answer what get_X returns.

/// The option's first word; a missing or empty option leaves the text as it was.
int read_text(const char *option, char *text) {
  OptionOutput output(option);
  if (!output) return -1;
  if (const char *found = output.find(output.marker())) scan_word({text, text_size}, found + strlen(output.marker()));
  return 0;
}

/// The number in the first line, 0 without the option.
int read_port(const char *option, int32_t *port) {
  *port = 0;
  OptionOutput output(option);
  if (!output) return -1;
  char field[128] = "";
  if (output.next() && strstr(output.line(), output.marker()) != nullptr) copy_field(field, output.line(), 1, '=');
  *port = to_int32(field);
  return 0;
}

/// The address; 0 without the option, and for anything but four octets.
int read_server(const char *option, Ipv4 *address) {
  *address = 0;
  OptionOutput output(option);
  if (!output) return -1;
  char field[128] = "";
  if (output.find(output.marker()) != nullptr) copy_field(field, output.line(), 1, '=');
  *address = parse_ipv4(field);
  return 0;
}

/// The text stands in the command as it is, without quotes: a blank in it ends it, and what the shell reads in it
/// counts; it is meant so.
int store_text(const char *option, const char *text) {
  shell("uci set wireless.@wifi-iface[%d].%s=%s;uci commit wireless", security_index, option, text);
  return 0;
}

int store_number(const char *option, int32_t number) {
  shell("uci set wireless.@wifi-iface[%d].%s=%d;uci commit wireless", security_index, option, number);
  return 0;
}

int store_server(const char *option, Ipv4 address) { return store_text(option, DottedQuad(address).text()); }

}  // namespace

/// A text of at most 64 characters without blanks, kept in OPTION; the further arguments are its arcs.
#define SECURITY_TEXT(NAME, OPTION, ...)                                               \
  ZOL_TEXT(NAME, text_size, .oid = {__VA_ARGS__}, .accepts = range(0, text_size - 1)); \
  int get_##NAME(char *text) { return read_text(OPTION, text); }                       \
  int set_##NAME(const char *text) { return store_text(OPTION, text); }                \
  static_assert(true)

/// A UDP port kept in OPTION.
#define SECURITY_PORT(NAME, OPTION, ...)                               \
  ZOL_INTEGER(NAME, .oid = {__VA_ARGS__}, .accepts = range(0, 65535)); \
  int get_##NAME(int32_t *port) { return read_port(OPTION, port); }    \
  int set_##NAME(int32_t port) { return store_number(OPTION, port); }  \
  static_assert(true)

/// The address of a server, kept in OPTION.
#define SECURITY_SERVER(NAME, OPTION, ...)                               \
  ZOL_ADDRESS(NAME, .oid = {__VA_ARGS__});                               \
  int get_##NAME(Ipv4 *address) { return read_server(OPTION, address); } \
  int set_##NAME(Ipv4 address) { return store_server(OPTION, address); } \
  static_assert(true)

/// The first WEP key. Keys are answered in clear: restrict this subtree by a view.
SECURITY_TEXT(security_key1, "key1", 6, 4);

/// The second WEP key.
SECURITY_TEXT(security_key2, "key2", 6, 5);

/// The third WEP key.
SECURITY_TEXT(security_key3, "key3", 6, 6);

/// The fourth WEP key.
SECURITY_TEXT(security_key4, "key4", 6, 7);

/// The pass phrase of the types with a pre-shared key. A text ends at its first blank when it is read. See
/// securityKeyslot.
SECURITY_TEXT(security_key, "key", 6, 9);

/// @syntax Integer32
/// The WEP key in use. It shares option key with securityKey: a SET of the one overwrites the other, and where that
/// option holds a pass phrase the number it begins with, or 0, is answered.
ZOL_INTEGER(security_keyslot, .oid = {6, 3}, .accepts = range(1, 4), .initial = 1);

int get_security_keyslot(int32_t *slot) {
  OptionOutput output("key");
  if (!output) return -1;
  // Without the option the slot stays what it was.
  if (!output.next()) return 0;
  *slot = strstr(output.line(), output.marker()) != nullptr ? to_int32(text_after(output.line(), "=")) : 1;
  return 0;
}

int set_security_keyslot(int32_t slot) { return store_number("key", slot); }

/// The RADIUS server that authenticates; 0.0.0.0 when there is none.
SECURITY_SERVER(security_authserver, "auth_server", 6, 10);

/// The UDP port of the authenticating RADIUS server.
SECURITY_PORT(security_authport, "auth_port", 6, 11);

/// The secret shared with the authenticating RADIUS server, in clear.
SECURITY_TEXT(security_authsecret, "auth_secret", 6, 12);

/// The RADIUS server that keeps accounts; 0.0.0.0 when there is none.
SECURITY_SERVER(security_acctserver, "acct_server", 6, 13);

/// The UDP port of the accounting RADIUS server.
SECURITY_PORT(security_acctport, "acct_port", 6, 14);

/// The secret shared with the accounting RADIUS server, in clear.
SECURITY_TEXT(security_acntsecret, "acct_secret", 6, 15);

/// The NAS identifier that the device tells the RADIUS servers.
SECURITY_TEXT(security_nasid, "nasid", 6, 16);
