#include "mib/security/security.hpp"

#include <gtest/gtest.h>

#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
zol::FindMethod var_security_authtype, var_security_keyslot, var_security_key1, var_security_key2, var_security_key3,
    var_security_key4, var_security_cipher, var_security_key, var_security_authserver, var_security_authport,
    var_security_authsecret, var_security_acctserver, var_security_acctport, var_security_acntsecret,
    var_security_nasid;
WriteMethod write_security_index, write_security_authtype, write_security_keyslot, write_security_key1,
    write_security_key2, write_security_key3, write_security_key4, write_security_cipher, write_security_key,
    write_security_authserver, write_security_authport, write_security_authsecret, write_security_acctserver,
    write_security_acctport, write_security_acntsecret, write_security_nasid;
}

namespace {

using Commands = std::vector<std::string>;

std::string show(const std::string &option) { return "uci show wireless.@wifi-iface[1]." + option; }

/// The device prints the section's own name.
std::string line(const std::string &option, const std::string &value) {
  return "wireless.cfg033579." + option + "=" + value + "\n";
}

std::string store(const std::string &option, const std::string &value) {
  return "uci set wireless.@wifi-iface[1]." + option + "=" + value + ";uci commit wireless";
}

/// One object and the option it stands for.
struct Object {
  std::string option;
  zol::FindMethod *find;
  WriteMethod *write;
};

class Security : public testing::Test {
 protected:
  void SetUp() override { security_index = 1; }
  void TearDown() override { security_index = 0; }

  /// What the object answers when its command prints `output`.
  std::string read(const Object &object, const std::string &output) {
    shell.answers(show(object.option), output);
    const auto answer = get(object.find, {6});
    EXPECT_EQ(shell.commands(), Commands{show(object.option)});
    return answer ? answer->bytes : "no such instance";
  }
  int32_t read_number(const Object &object, const std::string &output) {
    return Answer{read(object, output), {}}.integer();
  }

  ScriptedShell shell;
};

const Object type{"encryption", var_security_authtype, write_security_authtype};
const Object cipher{"encryption", var_security_cipher, write_security_cipher};
const Object slot{"key", var_security_keyslot, write_security_keyslot};
const Object texts[] = {
    {"key1", var_security_key1, write_security_key1},
    {"key2", var_security_key2, write_security_key2},
    {"key3", var_security_key3, write_security_key3},
    {"key4", var_security_key4, write_security_key4},
    {"key", var_security_key, write_security_key},
    {"auth_secret", var_security_authsecret, write_security_authsecret},
    {"acct_secret", var_security_acntsecret, write_security_acntsecret},
    {"nasid", var_security_nasid, write_security_nasid},
};
const Object servers[] = {
    {"auth_server", var_security_authserver, write_security_authserver},
    {"acct_server", var_security_acctserver, write_security_acctserver},
};
const Object ports[] = {
    {"auth_port", var_security_authport, write_security_authport},
    {"acct_port", var_security_acctport, write_security_acctport},
};

TEST_F(Security, EncryptionTellsTypeAndCipher) {
  const std::tuple<const char *, int32_t, int32_t> cases[] = {
      {"none", 0, 0},           {"wep-open", 1, 0},       {"wep-shared", 2, 0}, {"psk", 3, 0},
      {"psk2+tkip+ccmp", 4, 2}, {"psk-mixed+ccmp", 5, 1}, {"psk-mixed", 5, 0},  {"wpa+ccmp", 6, 1},
      {"wpa2", 7, 0},           {"psk2+tkip", 4, 0},      {"sae+ccmp", 0, 1},   {"wep-open+ccmp", 0, 1},
      {"'psk2+ccmp'", 4, 1},    {"'psk2'", 0, 0},         {"", 0, 0},
  };
  for (const auto &[value, expected_type, expected_cipher] : cases) {
    EXPECT_EQ(read_number(type, line("encryption", value)), expected_type) << value;
    EXPECT_EQ(read_number(cipher, line("encryption", value)), expected_cipher) << value;
  }
  for (const char *output : {"", "another line\nx.encryption=psk2+ccmp\n"}) {
    EXPECT_EQ(read_number(type, output), 0) << output;
    EXPECT_EQ(read_number(cipher, output), 0) << output;
  }
}

TEST_F(Security, ATypeKeepsTheCipherAndACipherTheType) {
  const std::tuple<const Object &, int32_t, const char *, const char *> settings[] = {
      {type, 0, "psk2+ccmp", "none"},
      {type, 2, "psk2+ccmp", "wep-shared"},
      {type, 6, "psk2+ccmp", "wpa+ccmp"},
      {type, 5, "wep-open", "psk-mixed"},
      {type, 3, "wpa2+tkip+ccmp", "psk+tkip+ccmp"},
      {cipher, 0, "psk-mixed+ccmp", "psk-mixed"},
      {cipher, 2, "wpa2", "wpa2+tkip+ccmp"},
      {cipher, 1, "wep-shared", nullptr},
      {cipher, 0, "none", nullptr},
  };
  for (const auto &[object, value, before, after] : settings) {
    shell.answers(show("encryption"), line("encryption", before));
    EXPECT_EQ(set(object.write, value), 0);
    Commands expected{show("encryption")};
    if (after != nullptr) expected.push_back(store("encryption", after));
    EXPECT_EQ(shell.commands(), expected) << before << ' ' << value;
  }
}

TEST_F(Security, TextsAreTheFirstWordOfTheirOption) {
  const std::string longest(64, 'k');
  for (const Object &text : texts) {
    const std::string &option = text.option;
    EXPECT_EQ(read(text, "another line\n" + line(option, "first word") + line(option, "second")), "first");
    EXPECT_EQ(read(text, ""), "first");
    EXPECT_EQ(read(text, line(option, "")), "first");
    EXPECT_EQ(read(text, line(option, "a=b'")), "a=b'");
    EXPECT_EQ(read(text, line(option, longest + "more")), longest);
    for (const std::string &value : {longest, std::string(), std::string("two words")}) {
      EXPECT_EQ(set(text.write, ASN_OCTET_STR, value), 0);
      EXPECT_EQ(shell.commands(), Commands{store(option, value)});
    }
    EXPECT_EQ(set(text.write, ASN_OCTET_STR, longest + "k"), SNMP_ERR_WRONGLENGTH);
    EXPECT_EQ(shell.commands(), Commands{});
  }
}

TEST_F(Security, ServersAreFourOctets) {
  const std::string none(4, '\0');
  for (const Object &server : servers) {
    EXPECT_EQ(read(server, "another line\n" + line(server.option, "192.168.1.20")), "\xc0\xa8\x01\x14");
    EXPECT_EQ(read(server, line(server.option, "10.0.0")), none);
    EXPECT_EQ(read(server, line(server.option, "radius.example")), none);
    EXPECT_EQ(read(server, ""), none);
    EXPECT_EQ(set(server.write, ASN_IPADDRESS, "\xfe\x01\x02\x80"), 0);
    EXPECT_EQ(shell.commands(), Commands{store(server.option, "254.1.2.128")});
  }
}

TEST_F(Security, PortsStandInTheFirstLine) {
  for (const Object &port : ports) {
    EXPECT_EQ(read_number(port, line(port.option, "1812") + line(port.option, "1")), 1812);
    EXPECT_EQ(read_number(port, "another line\n" + line(port.option, "1812")), 0);
    EXPECT_EQ(read_number(port, line(port.option, "")), 0);
    EXPECT_EQ(set(port.write, 65535), 0);
    EXPECT_EQ(set(port.write, 65536), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(shell.commands(), Commands{store(port.option, "65535")});
  }
}

TEST_F(Security, TheKeySlotSharesItsOptionWithThePassPhrase) {
  EXPECT_EQ(read_number(slot, ""), 1) << "to begin with";
  EXPECT_EQ(read_number(slot, line("key", "3")), 3);
  EXPECT_EQ(read_number(slot, ""), 3);
  EXPECT_EQ(read_number(slot, line("key", "pass-phrase")), 0);
  EXPECT_EQ(read_number(slot, "another line\n" + line("key", "4")), 1);
  EXPECT_EQ(set(write_security_keyslot, 4), 0);
  EXPECT_EQ(shell.commands(), Commands{store("key", "4")});
}

TEST_F(Security, WithoutItsCommandAnObjectAnswersItsPresetOrWhatItHeld) {
  set(write_security_keyslot, 2);
  set(write_security_key, ASN_OCTET_STR, "held");
  shell.cannot_start();
  for (const Object &object : {type, cipher, servers[0], servers[1], ports[0], ports[1]}) {
    EXPECT_EQ(get(object.find, {6})->integer(), 0) << object.option;
  }
  EXPECT_EQ(get(var_security_keyslot, {6})->integer(), 2);
  EXPECT_EQ(get(var_security_key, {6})->bytes, "held");
}

}  // namespace
