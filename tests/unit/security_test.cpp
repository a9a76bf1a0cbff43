// The security objects and the MAC filter, on the second network.

#include "mib/security/security.hpp"

#include <gtest/gtest.h>

#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
extern int32_t maclist_index;
extern char maclist_macaddr[1152];
}

namespace {

std::string show(const std::string &option) { return "uci show wireless.@wifi-iface[1]." + option; }

/// The device prints the section's own name.
std::string line(const std::string &option, const std::string &value) {
  return "wireless.cfg033579." + option + "=" + value + "\n";
}

std::string store(const std::string &option, const std::string &value) {
  return "uci set wireless.@wifi-iface[1]." + option + "=" + value + ";uci commit wireless";
}

class Security : public testing::Test {
 protected:
  void SetUp() override { security_index = maclist_index = 1; }
  void TearDown() override { security_index = maclist_index = 0; }
  ScriptedShell shell;
};

TEST_F(Security, EncryptionTellsTypeAndCipher) {
  const std::tuple<std::string, int32_t, int32_t> outputs[] = {
      {line("encryption", "none"), 0, 0},
      {line("encryption", "wep-open"), 1, 0},
      {line("encryption", "wep-shared"), 2, 0},
      {line("encryption", "psk"), 3, 0},
      {line("encryption", "psk2+tkip+ccmp"), 4, 2},
      {line("encryption", "psk-mixed+ccmp"), 5, 1},
      {line("encryption", "psk-mixed"), 5, 0},
      {line("encryption", "wpa+ccmp"), 6, 1},
      {line("encryption", "wpa2"), 7, 0},
      {line("encryption", "psk2+tkip"), 4, 0},
      {line("encryption", "sae+ccmp"), 0, 1},
      {line("encryption", "wep-open+ccmp"), 0, 1},
      {line("encryption", "'psk2+ccmp'"), 4, 1},
      {line("encryption", "'psk2'"), 0, 0},
      {line("encryption", "'psk-mixed'"), 0, 0},
      {line("encryption", ""), 0, 0},
      {"", 0, 0},
      {"another line\nx.encryption=psk2+ccmp\n", 0, 0},
  };
  for (const auto &[output, type, cipher] : outputs) {
    check(std::initializer_list<Case>{{"security_authtype", type, show("encryption"), output},
                                      {"security_cipher", cipher, show("encryption"), output}});
  }
}

TEST_F(Security, ATypeKeepsTheCipherAndACipherTheType) {
  const std::tuple<const char *, int32_t, const char *, const char *> settings[] = {
      {"security_authtype", 0, "psk2+ccmp", "none"},
      {"security_authtype", 2, "psk2+ccmp", "wep-shared"},
      {"security_authtype", 6, "psk2+ccmp", "wpa+ccmp"},
      {"security_authtype", 5, "wep-open", "psk-mixed"},
      {"security_authtype", 3, "wpa2+tkip+ccmp", "psk+tkip+ccmp"},
      {"security_cipher", 0, "psk-mixed+ccmp", "psk-mixed"},
      {"security_cipher", 2, "wpa2", "wpa2+tkip+ccmp"},
      {"security_cipher", 1, "wep-shared", nullptr},
      {"security_cipher", 0, "none", nullptr},
  };
  for (const auto &[object, value, before, after] : settings) {
    shell.answers(show("encryption"), line("encryption", before));
    EXPECT_EQ(set(object, value), 0);
    Commands expected{show("encryption")};
    if (after != nullptr) expected.push_back(store("encryption", after));
    EXPECT_EQ(shell.commands(), expected) << before << ' ' << value;
  }
}

TEST_F(Security, TextsAreTheFirstWordOfTheirOption) {
  const std::string longest(64, 'k');
  const std::pair<const char *, std::string> texts[] = {{"security_key1", "key1"},
                                                        {"security_key2", "key2"},
                                                        {"security_key3", "key3"},
                                                        {"security_key4", "key4"},
                                                        {"security_key", "key"},
                                                        {"security_authsecret", "auth_secret"},
                                                        {"security_acntsecret", "acct_secret"},
                                                        {"security_nasid", "nasid"}};
  for (const auto &[object, option] : texts) {
    check(std::initializer_list<Case>{
        {object, "first", show(option), "another line\n" + line(option, "first word") + line(option, "second")},
        {object, "first", show(option), ""},
        {object, "first", show(option), line(option, "")},
        {object, "a=b'", show(option), line(option, "a=b'"), {store(option, "a=b'")}},
        {object, longest, show(option), line(option, longest + "more"), {store(option, longest)}},
        {object, "two words", "", "", {store(option, "two words")}},
    });
  }
}

TEST_F(Security, ServersAreFourOctetsAndPortsStandInTheFirstLine) {
  for (const std::string side : {"auth", "acct"}) {
    const std::string server = side + "_server", port = side + "_port";
    const std::string server_object = "security_" + side + "server", port_object = "security_" + side + "port";
    check(std::initializer_list<Case>{
        {server_object.c_str(),
         address(192, 168, 1, 20),
         show(server),
         "x\n" + line(server, "192.168.1.20"),
         {store(server, "192.168.1.20")}},
        {server_object.c_str(), address(0, 0, 0, 0), show(server), line(server, "10.0.0")},
        {server_object.c_str(), address(0, 0, 0, 0), show(server), line(server, "radius.example")},
        {port_object.c_str(), 1812, show(port), line(port, "1812") + line(port, "1"), {store(port, "1812")}},
        {port_object.c_str(), 0, show(port), "another line\n" + line(port, "1812")},
        {port_object.c_str(), 0, show(port), line(port, "")},
    });
  }
}

TEST_F(Security, TheKeySlotSharesItsOptionWithThePassPhrase) {
  const Case slots[] = {
      {"security_keyslot", 3, show("key"), line("key", "3"), {store("key", "3")}},
      {"security_keyslot", 3, show("key"), ""},
      {"security_keyslot", 0, show("key"), line("key", "pass-phrase")},
      {"security_keyslot", 1, show("key"), "another line\n" + line("key", "4")},
  };
  check(slots);
}

TEST_F(Security, WithoutItsCommandAnObjectAnswersItsPresetOrWhatItHeld) {
  set("security_keyslot", 2);
  set("security_key", "held");
  const std::initializer_list<std::pair<const char *, Value>> presets = {
      {"security_authtype", 0}, {"security_cipher", 0},   {"security_authserver", 0}, {"security_acctport", 0},
      {"security_keyslot", 2},  {"security_key", "held"}, {"maclist_macaddr", ""}};
  check_without_commands(presets);
}

TEST_F(Security, TheMacFilterHasAPolicyAndAList) {
  const std::string full(1151, 'a');
  const auto policy = [](const std::string &word) { return Commands{store("macpolicy", word)}; };
  const Case cases[] = {
      {"maclist_enabled", 0, show("macpolicy"), "x.macpolicy='allow'\n", policy("''")},
      {"maclist_enabled", 1, show("macpolicy"), "x.macpolicy=allow\n", policy("allow")},
      {"maclist_enabled", 2, show("macpolicy"), "x.macpolicy=deny\n", policy("deny")},
      {"maclist_enabled", 0, show("macpolicy"), "x=allow\n"},
      {"maclist_enabled", 0, show("macpolicy"), "other\nx.macpolicy=allow\n"},
      {"maclist_macaddr", "02:11:22:33:44:55;b", show("maclist"), "x.maclist=02:11:22:33:44:55 b\nx.maclist=c\n"},
      {"maclist_macaddr", "", show("maclist"), "something else\nx.maclist=02:11:22:33:44:55\n"},
      {"maclist_macaddr", full, show("maclist"), "x.maclist=" + full + "more\n"},
  };
  check(cases);
}

TEST_F(Security, ASetReplacesTheMacListEntryByEntry) {
  const std::string full(1151, 'a');
  const std::pair<std::string, Commands> lists[] = {
      {"02:11:22:33:44:55;b;c", {"02:11:22:33:44:55", "b", "c"}},
      {full, {full}},
      {"", {""}},
      {"a;b;", {"a", "b", "b"}},
      {"a;;b", {"a", "b", "b"}},
      {";", {"", ""}},
  };
  for (const auto &[list, entries] : lists) {
    Commands expected{"uci delete wireless.@wifi-iface[1].maclist"};
    for (const std::string &entry : entries) {
      expected.push_back("uci add_list wireless.@wifi-iface[1].maclist=\"" + entry + "\"");
    }
    expected.emplace_back("uci commit wireless");
    EXPECT_EQ(set("maclist_macaddr", list), 0);
    EXPECT_EQ(shell.commands(), expected) << list;
  }
  // There is no way back.
  WriteMethod *write = row_write("maclist_macaddr");
  set("maclist_macaddr", "after");
  EXPECT_EQ(write(MODE_SET_UNDO, nullptr, ASN_OCTET_STR, 0, nullptr, nullptr, 0), 0);
  EXPECT_STREQ(maclist_macaddr, "after");
}

}  // namespace
