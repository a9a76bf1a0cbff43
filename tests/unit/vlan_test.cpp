// How the VLAN tables encode the options that they read, and what they answer without one; switching VLANs on and off.

#include <gtest/gtest.h>

#include "mib/vlan/sections.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

TEST(Vlan, TablesEncodeTheirOptions) {
  registered_rows();
  ScriptedShell shell;
  auto option = [&](const std::string &name, const std::string &output) {
    shell.answers("uci get -q " + name, output);
  };
  option("vlan.@vlan[1].vlanid", "20\n");
  EXPECT_EQ(get("vlanmgt_vlanid", 1), Value(20));
  EXPECT_FALSE(get("vlanmgt_vlanid", 2)) << "there is no such section";
  const struct {
    const char *object, *option, *output;
    Value value;
  } cases[] = {
      // Columns 2, 3, 4, 6 and 8 share one number, which a missing option leaves as it was.
      {"vlanmgt_managed", "vlan_used", "on\n", 1},
      {"vlanmgt_managed", "vlan_used", "only\n", 2},
      {"vlanmgt_priority", "priority", "7\n", 7},
      {"vlanmgt_dhcpc", "dhcpc", "no\n", 2},
      {"vlanmgt_dhcpc", "dhcpc", "\n", 1},
      {"vlanmgt_wifitagging", "tagging", "wifi\n", 1},
      {"vlanmgt_wifitagging", "tagging", "ether\n", 2},
      {"vlanmgt_dhcpc", "dhcpc", "", 2},
      {"vlanmgt_netmask", "netmask", "255.255.0.0\n", address(255, 255, 0, 0)},
      {"vlanmgt_priority", "priority", "", -65536},
      {"vlanmgt_ipaddr", "ip", "10.20.0.1\n", address(10, 20, 0, 1)},
      {"vlanmgt_ipaddr", "ip", "", address(10, 20, 0, 1)},
      {"vlanmgt_ipaddr", "ip", "10.20.0.256\n", address(0, 0, 0, 0)},
      {"vlanmgt_ipaddr", "ip", "10.20.0.1/8\n", address(0, 0, 0, 0)},
      {"vlanmgt_ipaddr", "ip", " 10.20.0.1\n", address(0, 0, 0, 0)},
      {"vlanmgt_wifibridge", "wifibridge", "0 1 1\n", "0;1;1"},
      {"vlanmgt_wifibridge", "wifibridge", "", "0;1;1"},
      {"vlanmgt_desc", "desc", "two words\n", "two words"},
      {"vlanmgt_desc", "desc", "", "two words"},
  };
  for (const auto &[object, name, output, value] : cases) {
    option("vlan.@vlan[1]." + std::string(name), output);
    EXPECT_EQ(get(object, 1), value) << name << ' ' << output;
  }
  shell.commands();
  option("vlansw.@vlan[0].vlanid", "100\n");
  option("vlansw.@vlan[0].priority", "5\n");
  option("vlansw.@vlan[0].wifibridge1", std::string(100, '1') + "\n");
  EXPECT_EQ(get("vlantrunk_vlanid", 1), Value(100));
  EXPECT_EQ(get("vlantrunk_table_priority", 1), Value(5));
  EXPECT_EQ(get("vlantrunk_wifibrg", 1), Value(std::string(78, '1')));
  EXPECT_EQ(shell.commands(), (Commands{"uci get -q vlansw.@vlan[0].vlanid", "uci get -q vlansw.@vlan[0].vlanid",
                                        "uci get -q vlansw.@vlan[0].priority", "uci get -q vlansw.@vlan[0].vlanid",
                                        "uci get -q vlansw.@vlan[0].wifibridge1"}));
}

TEST(Vlan, ASearchEndsWhateverIsPrinted) {
  ScriptedShell shell;
  for (int section = 0; section < 5000; ++section) {
    shell.answers("uci show vlan -q | grep \"vlan\\[" + std::to_string(section) + "\\].vlanid=\"", "vlanid=0\n");
  }
  const zol::vlan::Place place = zol::vlan::find_section(zol::vlan::managed, 20);
  EXPECT_FALSE(place.found);
  EXPECT_EQ(shell.commands().size(), 4096);
}

const std::string enabled = "uci show vlanac.activation.enabled";
const Case operation[] = {
    {"vlan_enabled",
     1,
     enabled,
     "vlanac.activation.enabled=1\n",
     {"uci set vlanac.activation.enabled=1;uci commit vlanac"}},
    {"vlan_enabled", 2, enabled, "", {"uci set vlanac.activation.enabled=0;uci commit vlanac"}},
    {"vlan_applied", 2, "", "", nothing},
    {"vlan_addoredit", 1, "", "", nothing},
    {"vlan_delete", 1, "", "", nothing},
};

TEST(Vlan, ActionsWithoutAStagedIdRunNothing) { check(operation); }

}  // namespace
