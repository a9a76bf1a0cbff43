// The SNMP agent itself: its start with the device, its communities, its restart, and where its traps go.

#include <cstring>

#include "core/scalar.hpp"
#include "mib/services/options.hpp"

using namespace zol;
using namespace zol::services;

namespace {

/// What follows "<name>=" in the first line that contains `name`; null when there is no such line, or no "=" behind the
/// name.
const char *find_value(LineReader &output, const char *name) {
  const char *found = output.find(name);
  if (found == nullptr || found[strlen(name)] != '=') return nullptr;
  return found + strlen(name) + 1;
}

}  // namespace

/// @syntax ZolarcSwitch
/// Whether the agent starts with the device (snmpd.main.enabled and its init script). The agent that is running is left
/// alone.
ZOL_INTEGER(snmp_server, .oid = {17, 1}, .accepts = range(on, off));

int get_snmp_server(int32_t *state) {
  return read_switch(CommandOutput<256>("uci show snmpd.main.enabled"), "enabled=1", state);
}

int set_snmp_server(int32_t state) {
  constexpr Switch server{.turn_on = "/etc/init.d/snmpd enable;uci set snmpd.main.enabled=1;uci commit snmpd",
                          .turn_off = "/etc/init.d/snmpd disable;uci set snmpd.main.enabled=0;uci commit snmpd"};
  return server(state);
}

// The communities.

namespace {

constexpr size_t community_size = 65;

/// The first word behind the option's name; `community` is left as it was without one.
int read_community(LineReader &&output, const char *name, char *community) {
  if (!output) return -1;
  if (const char *value = find_value(output, name)) scan_word({community, community_size}, value);
  return 0;
}

}  // namespace

/// A community kept in the option OPTION; the further arguments are its arcs.
#define COMMUNITY(NAME, OPTION, ...)                                                            \
  ZOL_TEXT(NAME, community_size, .oid = {__VA_ARGS__}, .accepts = range(1, community_size - 1), \
           .prepare = read_first<get_##NAME, NAME>);                                            \
  int get_##NAME(char *community) {                                                             \
    return read_community(CommandOutput("uci show snmpd.main." OPTION), OPTION, community);     \
  }                                                                                             \
  int set_##NAME(const char *community) { return store_text("snmpd.main." OPTION, community); } \
  static_assert(true)

/// @syntax ZolarcText (SIZE (0..64))
/// The community for reading (snmpd.main.v2read), in force when the agent starts again.
COMMUNITY(ro_community, "v2read", 17, 2);

/// @syntax ZolarcText (SIZE (0..64))
/// The community for writing (snmpd.main.v2write), in force when the agent starts again. Who knows it controls the
/// device: restrict this object by a view.
COMMUNITY(rw_community, "v2write", 17, 3);

/// @syntax ZolarcAction
/// Set to perform(1), the agent answers, ends and starts again, as with applyChange. A GET answers what was set last.
ZOL_INTEGER(snmp_restart, .oid = {17, 4}, .accepts = range(0, 1));

ZOL_HELD(snmp_restart)

int set_snmp_restart(int32_t value) {
  // The agent ends; whatever supervises it brings it up again.
  if (value == 1) request_restart();
  return 0;
}

// Traps.

/// @syntax ZolarcSwitch
/// Whether traps are configured to be sent (snmpd.main.trapen), in force when the agent starts again.
ZOL_INTEGER(trap_enable, .oid = {17, 5, 1}, .accepts = range(on, off));

int get_trap_enable(int32_t *state) {
  return read_switch(CommandOutput("uci show snmpd.main.trapen"), "trapen=1", state);
}

int set_trap_enable(int32_t state) { return store_switch("snmpd.main.trapen", state); }

/// The receiver of traps (snmpd.main.trapip); 0.0.0.0 when there is none.
ZOL_ADDRESS(trap_srvip, .oid = {17, 5, 2});

int get_trap_srvip(Ipv4 *receiver) {
  CommandOutput output("uci show snmpd.main.trapip");
  if (!output) return -1;
  // Without a receiver the answer is 0.0.0.0.
  const char *value = find_value(output, "trapip");
  *receiver = value == nullptr ? 0 : parse_ipv4(value);
  return 0;
}

int set_trap_srvip(Ipv4 receiver) { return store_address("snmpd.main.trapip", receiver); }

/// The UDP port of the receiver (snmpd.main.trapport); 0 when it is not configured.
ZOL_INTEGER(trap_port, .oid = {17, 5, 3}, .accepts = range(0, 65535));

int get_trap_port(int32_t *port) {
  *port = 0;
  CommandOutput output("uci show snmpd.main.trapport");
  if (!output) return -1;
  if (const char *value = find_value(output, "trapport")) *port = to_int32(value);
  return 0;
}

int set_trap_port(int32_t port) { return store_number("snmpd.main.trapport", port); }
