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
  const zol::vlan::Place place = zol::vlan::find_section(zol::vlan::managed, 0);
  EXPECT_FALSE(place.found);
  EXPECT_EQ(shell.commands().size(), 4096);
}

const std::string enabled = "uci show vlanac.activation.enabled";
const std::string activation = "uci set vlanac.activation.";
const Case operation[] = {
    {"vlan_enabled", 1, enabled, "vlanac.activation.enabled=1\n", {activation + "enabled=1;uci commit vlanac"}},
    {"vlan_enabled", 2, enabled, "", {activation + "enabled=0;uci commit vlanac"}},
    {"vlan_applied",
     1,
     "",
     "",
     {activation + "running=1;uci commit vlanac;env -i /etc/init.d/network reload > /dev/null &"}},
    {"vlan_applied", 2, "", "", nothing},
    {"vlan_addoredit", 1, "", "", nothing},
    {"vlan_delete", 1, "", "", nothing},
};

TEST(Vlan, ActionsWithoutAStagedIdRunNothing) { check(operation); }

/// The command lines of a search that asks for the first `count` sections.
Commands search(const std::string &package, int count) {
  Commands lines;
  for (int section = 0; section < count; ++section) {
    lines.push_back("uci show " + package + " -q | grep \"vlan\\[" + std::to_string(section) + "\\].vlanid=\"");
  }
  return lines;
}

/// The batches that write the 32 flags, which begin with `flags`.
Commands rewrite(const std::string &option, std::string flags) {
  flags.resize(32, '0');
  Commands lines = {"uci delete -q " + option};
  for (size_t flag = 0; flag < flags.size(); ++flag) {
    const std::string add = "uci add_list " + option + "=" + flags[flag];
    if (flag == 0 || flag % 8 == 1) {
      lines.push_back(add);
    } else {
      lines.back() += ";" + add;
    }
  }
  return lines;
}

TEST(Vlan, ActionsRunTheirCommands) {
  registered_rows();
  ScriptedShell shell;
  for (const auto &[lines, id] :
       {std::pair(search("vlan", 1), "1"), {search("vlan", 2), "20"}, {search("vlansw", 1), "100"}})
    shell.answers(lines.back(), std::string("x.vlanid=") + id + "\n");
  const auto expect = [&](const char *action, std::initializer_list<std::pair<const char *, Value>> staged,
                          std::initializer_list<Commands> runs) {
    for (const auto &[object, value] : staged) EXPECT_EQ(set(object, value), 0) << object;
    EXPECT_EQ(shell.commands(), Commands{}) << "staged only";
    EXPECT_EQ(set(action, 1), 0);
    Commands all;
    for (const Commands &lines : runs) all.insert(all.end(), lines.begin(), lines.end());
    EXPECT_EQ(shell.commands(), all);
  };
  const std::string third = "uci set vlan.@vlan[2].";
  const std::string names = third + "desc=\"Pier 4\";" + third + "bridge=\"All Others\";";
  const std::string ends =
      third + "wifibridge0=\"ath0\";" + third + "ip=10.20.1.254;" + third + "netmask=255.255.0.0;uci commit vlan";
  const Commands managed_flags = rewrite("vlan.@vlan[2].wifibridge", "1101");
  // clang-format off
  // The switches have never been set.
  expect("vlan_addoredit",
         {{"vlan_id", 30}, {"vlan_desc", "Pier 4"}, {"vlan_priority", 5}, {"vlan_ipaddr", address(10, 20, 1, 254)},
          {"vlan_netmask", address(255, 255, 0, 0)}, {"vlan_wifibridge", "1;1;0;1"}},
         {search("vlan", 3), {"uci add vlan vlan;" + third + "vlanid=30;" + names + third + "priority=5;" + ends}, managed_flags});
  shell.answers(search("vlan", 3).back(), "x.vlanid=30\n");
  const std::string second = "uci set vlansw.@vlan[1].";
  expect("vlan_addoredit",
         {{"vlan_dhcpc", 2}, {"vlan_wifitagging", 1}, {"vlan_managed", 2}, {"vlantrunk_id", 7}, {"vlantrunk_priority", 3},
          {"vlantrunk_wifibridge", "0;1"}},
         {search("vlan", 3), {names + third + "dhcpc=no;" + third + "priority=5;" + third + "tagging=wifi;" + third + "vlan_used=off;" + ends},
          managed_flags, search("vlansw", 2), {"uci add vlansw vlan;" + second + "vlanid=7"},
          {second + "vlanid=7;" + second + "wifibridge10=ath0;" + second + "priority=3;" + second + "bridge=\"All Others\";uci commit vlansw"},
          rewrite("vlansw.@vlan[1].wifibridge1", "01")});
  expect("vlan_delete", {{"vlan_id", 31}, {"vlantrunk_id", 100}},
         {search("vlan", 4), search("vlansw", 1), {"uci delete vlansw.@vlan[0];uci commit vlansw"}});
  // 0 takes back what was staged.
  expect("vlan_addoredit", {{"vlan_id", 30}, {"vlantrunk_id", 0}, {"vlan_managed", 0}, {"vlan_dhcpc", 0}, {"vlan_wifitagging", 0}},
         {search("vlan", 3), {names + third + "priority=5;" + ends}, managed_flags});
  // clang-format on
}

}  // namespace
