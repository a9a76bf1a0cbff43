// The radios and the Ethernet ports, switched on (1) and off (2).

#include <cstring>

#include "core/option.hpp"
#include "core/scalar.hpp"

using namespace zol;

namespace {

int read_radio(int radio, int32_t *status) {
  *status = on;
  const auto take = [status](const Value &disabled) { *status = disabled.number().value_or(0) != 0 ? off : on; };
  return take_first(CommandOutput("uci show wireless | grep \"wifi%d.disabled=\"", radio), take, shortest_line);
}

int switch_radio(int radio, int32_t status) {
  return store_number(OptionName("wireless.wifi%d.disabled", radio), status == on ? 0 : 1);
}

/// A port is up when `ifconfig`, which lists what is up, names its VLAN interface.
int read_port(const char *interface, int32_t *status) {
  *status = off;
  CommandOutput output("ifconfig | grep '%-s'", interface);
  if (!output) return -1;
  if (output.next() && strstr(output.line(), interface) != nullptr) *status = on;
  return 0;
}

int switch_port(const char *interface, int32_t status) {
  shell("ifconfig %-s %-s", interface, status == on ? "up" : "down");
  return 0;
}

}  // namespace

// These four are registered under the group's arc, with the two arcs below it as the row's name.

/// @syntax ZolarcSwitch
/// Whether radio 0 is on (the inverse of wireless.wifi0.disabled; on when the option is missing). In force when the
/// wireless network is reloaded.
ZOL_INTEGER(wlan_status0, .oid = {1, 4, 1}, .accepts = range(on, off), .row_arcs = 2);
int get_wlan_status0(int32_t *status) { return read_radio(0, status); }
int set_wlan_status0(int32_t status) { return switch_radio(0, status); }

/// @syntax ZolarcSwitch
/// Whether radio 1 is on (the inverse of wireless.wifi1.disabled; on when the option is missing). In force when the
/// wireless network is reloaded.
ZOL_INTEGER(wlan_status1, .oid = {1, 4, 2}, .accepts = range(on, off), .row_arcs = 2);
int get_wlan_status1(int32_t *status) { return read_radio(1, status); }
int set_wlan_status1(int32_t status) { return switch_radio(1, status); }

/// @syntax ZolarcSwitch
/// Whether interface eth0.1 is up. A SET takes the interface up or down at once (ifconfig) and is not kept over a
/// reboot: switching off the port that the manager comes through locks it out.
ZOL_INTEGER(eth_status0, .oid = {1, 5, 1}, .accepts = range(on, off), .row_arcs = 2);
int get_eth_status0(int32_t *status) { return read_port("eth0.1", status); }
int set_eth_status0(int32_t status) { return switch_port("eth0.1", status); }

/// @syntax ZolarcSwitch
/// Whether interface eth0.2 is up, as ethStatus0.
ZOL_INTEGER(eth_status1, .oid = {1, 5, 2}, .accepts = range(on, off), .row_arcs = 2);
int get_eth_status1(int32_t *status) { return read_port("eth0.2", status); }
int set_eth_status1(int32_t status) { return switch_port("eth0.2", status); }
