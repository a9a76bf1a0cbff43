// VLAN operation as a whole: switching it on (1) and off (2), and making the network take over what was edited.

#include "core/option.hpp"
#include "core/scalar.hpp"

using namespace zol;

/// @syntax ZolarcSwitch
/// Whether VLANs are in operation (vlanac.activation.enabled).
ZOL_INTEGER(vlan_enabled, .oid = {22, 1}, .accepts = range(1, 2));

int get_vlan_enabled(int32_t *enabled) {
  return read_switch(CommandOutput<256>("uci show vlanac.activation.enabled"), "enabled=1", enabled);
}

int set_vlan_enabled(int32_t enabled) { return store_switch("vlanac.activation.enabled", enabled); }

/// @syntax INTEGER { idle(0), perform(1), nothing(2) }
/// Set to perform(1), the network is reloaded in the background so that the edited VLANs are in force. The manager may
/// lose its connection for some seconds. A GET answers what was set last.
ZOL_INTEGER(vlan_applied, .oid = {22, 6}, .accepts = range(0, 2));

ZOL_HELD(vlan_applied)

int set_vlan_applied(int32_t value) {
  if (value != 1) return 0;
  // The reload takes down the interfaces that the answer travels on, so it runs in the background, and it must not see
  // the agent's environment.
  shell("uci set vlanac.activation.running=1;uci commit vlanac;env -i /etc/init.d/network reload > /dev/null &");
  return 0;
}
