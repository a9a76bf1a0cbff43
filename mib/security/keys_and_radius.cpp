// The keys of the selected network, and its RADIUS servers for authentication and accounting.

#include <utility>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/security/security.hpp"

using namespace zol;

namespace {

constexpr size_t text_size = 65;

/// An option of the selected network, and what tells the line that holds it.
struct Option {
  const char *name;
  const char *marker;
};
#define OPTION(NAME) \
  Option { NAME, "." NAME "=" }

CommandOutput<> show(const Option &option) {
  return CommandOutput("uci show wireless.@wifi-iface[%d].%-s", security_index, option.name);
}

OptionName name_of(const Option &option) {
  return OptionName("wireless.@wifi-iface[%d].%s", security_index, option.name);
}

// The readers answer what get_X returns.

/// The option's first word; a missing or empty option leaves the text as it was.
int read_text(const Option &option, char *text) {
  return take_found(show(option), option.marker, [=](const Value &value) {
    scan_word({text, text_size}, text_after(value.line(), option.marker));
  });
}

/// The number in the first line, 0 without the option.
int read_port(const Option &option, int32_t *port) {
  *port = 0;
  return take_first(show(option), [=](const Value &value) {
    if (value.in_line_with(option.marker)) *port = value.number().value_or(0);
  });
}

/// The address; 0 without the option, and for anything but four octets.
int read_server(const Option &option, Ipv4 *address) {
  *address = 0;
  return take_found(show(option), option.marker, [=](const Value &value) { *address = parse_ipv4(value.text()); });
}

}  // namespace

/// A text of at most 64 characters without blanks, kept in the option KEY; the further arguments are its arcs.
#define SECURITY_TEXT(NAME, KEY, ...)                                                  \
  ZOL_TEXT(NAME, text_size, .oid = {__VA_ARGS__}, .accepts = range(0, text_size - 1)); \
  int get_##NAME(char *text) { return read_text(OPTION(KEY), text); }                  \
  int set_##NAME(const char *text) { return store_word(name_of(OPTION(KEY)), text); }  \
  static_assert(true)

/// A UDP port kept in the option KEY.
#define SECURITY_PORT(NAME, KEY, ...)                                               \
  ZOL_INTEGER(NAME, .oid = {__VA_ARGS__}, .accepts = range(0, 65535));              \
  int get_##NAME(int32_t *port) { return read_port(OPTION(KEY), port); }            \
  int set_##NAME(int32_t port) { return store_number(name_of(OPTION(KEY)), port); } \
  static_assert(true)

/// The address of a server, kept in the option KEY.
#define SECURITY_SERVER(NAME, KEY, ...)                                                 \
  ZOL_ADDRESS(NAME, .oid = {__VA_ARGS__});                                              \
  int get_##NAME(Ipv4 *address) { return read_server(OPTION(KEY), address); }           \
  int set_##NAME(Ipv4 address) { return store_address(name_of(OPTION(KEY)), address); } \
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
  static constexpr Option key = OPTION("key");
  auto output = show(key);
  // A line about another option says that the slot is the first; without any line it stays what it was.
  output.keep_other_options();
  return take_first(std::move(output), [=](const Value &value) {
    *slot = value.in_line_with(key.marker) ? value.number(&Value::rest).value_or(0) : 1;
  });
}

int set_security_keyslot(int32_t slot) { return store_number(name_of(OPTION("key")), slot); }

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
