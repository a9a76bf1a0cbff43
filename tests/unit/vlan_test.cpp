// How the VLAN tables encode the options that they read, and what they answer without one.

#include <gtest/gtest.h>

#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" zol::FindMethod var_vlanmgt_table, var_vlantrunk_table;

namespace {

using Commands = std::vector<std::string>;

TEST(Vlan, TablesEncodeTheirOptions) {
  ScriptedShell shell;
  auto cell = [](zol::FindMethod *find, oid table, oid column, oid row) {
    return get(find, {table, 1, column, row}, static_cast<unsigned char>(column));
  };
  auto managed = [&](oid column, oid row = 1) { return cell(var_vlanmgt_table, 23, column, row); };
  auto option = [&](const std::string &name, const std::string &output) {
    shell.answers("uci get -q " + name, output);
  };
  option("vlan.@vlan[1].vlanid", "20\n");
  EXPECT_FALSE(managed(3)) << "before the first cell was asked for";
  EXPECT_EQ(managed(1)->integer(), 20);
  EXPECT_FALSE(managed(1, 2)) << "there is no such section";
  struct Number {
    oid column;
    const char *option;
    const char *output;
    uint32_t number;
  };
  // Columns 2, 3, 4, 6 and 8 share one number, which a missing option leaves as it was.
  for (const auto &[column, name, output, number] :
       {Number{2, "vlan_used", "on\n", 1}, Number{2, "vlan_used", "only\n", 2}, Number{3, "priority", "7\n", 7},
        Number{4, "dhcpc", "no\n", 2}, Number{4, "dhcpc", "\n", 1}, Number{8, "tagging", "wifi\n", 1},
        Number{8, "tagging", "ether\n", 2}, Number{4, "dhcpc", "", 2},
        Number{6, "netmask", "255.255.0.0\n", 0xFFFF0000}, Number{3, "priority", "", 0xFFFF0000}}) {
    option("vlan.@vlan[1]." + std::string(name), output);
    const auto answer = static_cast<uint32_t>(managed(column)->integer());
    EXPECT_EQ(column == 6 ? ntohl(answer) : answer, number) << name << " " << output;
  }
  struct Octets {
    oid column;
    const char *option;
    const char *output;
    std::string bytes;
  };
  const Octets cases[] = {
      {5, "ip", "10.20.0.1\n", {10, 20, 0, 1}}, {5, "ip", "", {10, 20, 0, 1}},
      {5, "ip", "10.20.0.256\n", {0, 0, 0, 0}}, {5, "ip", "10.20.0.1/8\n", {0, 0, 0, 0}},
      {5, "ip", "10.20.-0.1\n", {0, 0, 0, 0}},  {5, "ip", " 10.20.0.1\n", {0, 0, 0, 0}},
      {7, "wifibridge", "0 1 1\n", "0;1;1"},    {7, "wifibridge", "", "0;1;1"},
      {9, "desc", "two words\n", "two words"},  {9, "desc", "", "two words"},
  };
  for (const auto &[column, name, output, bytes] : cases) {
    option("vlan.@vlan[1]." + std::string(name), output);
    EXPECT_EQ(managed(column)->bytes, bytes) << name << " " << output;
  }
  shell.commands();

  option("vlansw.@vlan[0].vlanid", "100\n");
  option("vlansw.@vlan[0].priority", "5\n");
  option("vlansw.@vlan[0].wifibridge1", std::string(100, '1') + "\n");
  EXPECT_EQ(cell(var_vlantrunk_table, 24, 1, 1)->integer(), 100);
  EXPECT_EQ(cell(var_vlantrunk_table, 24, 2, 1)->integer(), 5);
  EXPECT_EQ(cell(var_vlantrunk_table, 24, 3, 1)->bytes, std::string(78, '1'));
  EXPECT_EQ(shell.commands(), (Commands{"uci get -q vlansw.@vlan[0].vlanid", "uci get -q vlansw.@vlan[0].vlanid",
                                        "uci get -q vlansw.@vlan[0].priority", "uci get -q vlansw.@vlan[0].vlanid",
                                        "uci get -q vlansw.@vlan[0].wifibridge1"}));
}

}  // namespace
