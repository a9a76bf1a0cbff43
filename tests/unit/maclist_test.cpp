#include <gtest/gtest.h>

#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
zol::FindMethod var_maclist_enabled, var_maclist_macaddr;
WriteMethod write_maclist_index, write_maclist_enabled, write_maclist_macaddr;
void maclist_macaddr_parse_config(const char *token, char *value);
extern int32_t maclist_index;
extern char maclist_macaddr[1152];
}

namespace {

using Commands = std::vector<std::string>;

class MacList : public testing::Test {
 protected:
  void SetUp() override { maclist_index = 2; }
  void TearDown() override { maclist_index = 0; }
  ScriptedShell shell;
};

TEST_F(MacList, ThePolicyIsOneOfTwoWords) {
  const std::string show = "uci show wireless.@wifi-iface[2].macpolicy";
  const std::pair<const char *, int32_t> readings[] = {
      {"x.macpolicy=allow\n", 1}, {"x.macpolicy=deny\n", 2}, {"x.macpolicy='allow'\n", 0},
      {"x.macpolicy=\n", 0},      {"x=allow\n", 0},          {"other\nx.macpolicy=allow\n", 0},
  };
  for (const auto &[output, expected] : readings) {
    shell.answers(show, output);
    EXPECT_EQ(get(var_maclist_enabled, {12})->integer(), expected) << output;
    EXPECT_EQ(shell.commands(), Commands{show});
  }
  const std::pair<int32_t, std::string> settings[] = {{0, "''"}, {1, "allow"}, {2, "deny"}};
  for (const auto &[policy, word] : settings) {
    EXPECT_EQ(set(write_maclist_enabled, policy), 0);
    EXPECT_EQ(shell.commands(), Commands{"uci set wireless.@wifi-iface[2].macpolicy=" + word + ";uci commit wireless"});
  }
}

TEST_F(MacList, TheListIsReadWithSemicolons) {
  const std::string show = "uci show wireless.@wifi-iface[2].maclist";
  const std::string full(1151, 'a');
  const std::pair<std::string, std::string> readings[] = {
      {"x.maclist=02:11:22:33:44:55 02:11:22:33:44:66\nx.maclist=c\n", "02:11:22:33:44:55;02:11:22:33:44:66"},
      {"", ""},
      {"something else\nx.maclist=02:11:22:33:44:55\n", ""},
      {"x.maclist=" + full + "more\n", full},
  };
  for (const auto &[output, expected] : readings) {
    shell.answers(show, output);
    EXPECT_EQ(get(var_maclist_macaddr, {12})->bytes, expected);
    EXPECT_EQ(shell.commands(), Commands{show});
  }
  shell.cannot_start();
  EXPECT_EQ(get(var_maclist_macaddr, {12})->bytes, "");
}

TEST_F(MacList, ASetReplacesTheListEntryByEntry) {
  const std::pair<std::string, Commands> lists[] = {
      {"02:11:22:33:44:55;b;c", {"02:11:22:33:44:55", "b", "c"}},
      {std::string(1151, 'a'), {std::string(1151, 'a')}},
      {"", {""}},
      {"a;b;", {"a", "b", "b"}},
      {"a;;b", {"a", "b", "b"}},
      {";", {"", ""}},
  };
  for (const auto &[list, entries] : lists) {
    Commands expected{"uci delete wireless.@wifi-iface[2].maclist"};
    for (const std::string &entry : entries) {
      expected.push_back("uci add_list wireless.@wifi-iface[2].maclist=\"" + entry + "\"");
    }
    expected.emplace_back("uci commit wireless");
    EXPECT_EQ(set(write_maclist_macaddr, ASN_OCTET_STR, list), 0);
    EXPECT_EQ(shell.commands(), expected) << list;
    // There is no way back.
    EXPECT_EQ(set_phase(write_maclist_macaddr, MODE_SET_UNDO, ASN_OCTET_STR, list), 0);
    EXPECT_EQ(maclist_macaddr, list);
  }
}

TEST_F(MacList, RangesAndLengths) {
  EXPECT_EQ(set(write_maclist_index, 16), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_maclist_index, -1), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_maclist_index, 15), 0);
  EXPECT_EQ(set(write_maclist_enabled, 3), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_maclist_macaddr, ASN_OCTET_STR, std::string(1152, 'a')), SNMP_ERR_WRONGLENGTH);
  EXPECT_EQ(shell.commands(), Commands{});
  std::string longest(1151, 'a');
  maclist_macaddr_parse_config("maclist_macaddr", longest.data());
  EXPECT_EQ(maclist_macaddr, std::string(1148, 'a') + "...");
}

}  // namespace
