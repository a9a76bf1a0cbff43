// The provisioning settings and the reader that other areas share.

#include "mib/provisioning/provisioning.hpp"
#include "core/option.hpp"

#include <gtest/gtest.h>

#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
zol::FindMethod var_apc_ipaddr;
WriteMethod write_apc_text, write_apc_discovery;
void apc_text_parse_config(const char *token, char *value);
extern char apc_text[4097];
}

namespace {

using Commands = std::vector<std::string>;

TEST(Provisioning, OneOptionIsReadFromItsLine) {
  struct Case {
    std::string output;
    int result;
    std::string text;
  };
  const std::string name = "vlan.cfg0a1f2c.priority=";
  const Case cases[] = {
      {name + "two words \n", 0, "two words "},
      {name + "5", 0, "5"},
      {name + "a=b\n", 0, "a"},
      {name + "\n", 0, ""},
      {"vlan.cfg0a1f2c.xpriority=5\n", -1, ""},
      {"other\n" + name + "5\n", -1, ""},
      {"", -1, ""},
      {name + std::string(10000, 'x') + "\n", 0, std::string(4095 - name.size(), 'x')},
  };
  for (const auto &[output, result, text] : cases) {
    ScriptedShell shell;
    shell.answers("uci show -q vlan.@vlan[2].priority", output);
    char read[4096] = "old";
    EXPECT_EQ(services_get_string("vlan.@vlan[2].priority", read), result) << output.substr(0, 60);
    EXPECT_EQ(read, text) << output.substr(0, 60);
  }
}

TEST(Provisioning, TheServersAddressIsReadWhole) {
  const std::pair<std::string, std::string> cases[] = {
      {"noise\napc.setting.apcSrvIpAddress=192.168.1.250\n", "\xC0\xA8\x01\xFA"},
      {"apc.setting.apcSrvIpAddress=10.1\n", {0, 0, 0, 0}},
      {"", {0, 0, 0, 0}}};
  for (const auto &[output, bytes] : cases) {
    ScriptedShell shell;
    shell.answers("uci show apc | grep \"apc.setting.apcSrvIpAddress\"", output);
    EXPECT_EQ(get(var_apc_ipaddr, {21, 4})->bytes, bytes) << output;
  }
}

TEST(Provisioning, ScriptsGetTheirTexts) {
  const std::string longest(4096, 't');
  struct Case {
    WriteMethod *write;
    std::string text;
    int result;
    Commands commands;
  };
  const Case cases[] = {
      {write_apc_text, "", 0, {"/lib/bramo/apc_set_ap  "}},
      {write_apc_text, longest, 0, {"/lib/bramo/apc_set_ap " + longest + " "}},
      {write_apc_text, longest + "t", SNMP_ERR_WRONGLENGTH, {}},
      {write_apc_discovery, "", SNMP_ERR_WRONGLENGTH, {}},
      {write_apc_discovery, " name   value ", 0, {"uci set apc.setting.name=value;uci commit apc"}},
      {write_apc_discovery, "name value script", 0, {}},
      {write_apc_discovery,
       "n " + longest.substr(18) + " /etc/x.sh start",
       0,
       {"uci set apc.setting.n=" + longest.substr(18) + ";uci commit apc", "/bin/sh /etc/x.sh start"}},
      {write_apc_discovery, "1 2 3 4 5", 0, {}},
  };
  for (const auto &[write, text, result, commands] : cases) {
    ScriptedShell shell;
    EXPECT_EQ(set(write, ASN_OCTET_STR, text), result) << text.substr(0, 40);
    EXPECT_EQ(shell.commands(), commands);
  }
  std::string token(5000, 'k');
  apc_text_parse_config("apc_text", token.data());
  EXPECT_EQ(std::string(apc_text), std::string(4093, 'k') + "...");
}

}  // namespace
