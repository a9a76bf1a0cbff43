// The provisioning settings, the reader that other areas share, and what is told from a firmware image.

#include "mib/provisioning/provisioning.hpp"
#include "core/option.hpp"

#include <gtest/gtest.h>

#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

TEST(Provisioning, OneOptionIsReadFromItsLine) {
  const std::string name = "vlan.cfg0a1f2c.priority=";
  const struct {
    std::string output;
    int result;
    std::string text;
  } cases[] = {
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

std::string show(const std::string &option) { return "uci show -q apc.setting." + option; }
Commands store(const std::string &setting) { return {"uci set apc.setting." + setting + ";uci commit apc"}; }

TEST(Provisioning, SettingsAreKeptInTheirOptions) {
  const std::pair<const char *, std::string> numbers[] = {
      {"apc_loadflag", "apcLoadFlag"},     {"apc_filetype", "apcTypeOfFile"},   {"apc_port", "apcSrvPort"},
      {"apc_status", "apcTransferStatus"}, {"apc_tx_amap", "transmit_antenna"}, {"apc_rx_amap", "received_antenna"},
  };
  for (const auto &[object, option] : numbers) {
    const Case number{object, 2, show(option), "apc.setting." + option + "=2\n", store(option + "=2")};
    check({&number, 1});
  }
  const std::pair<const char *, std::string> texts[] = {
      {"apc_filename", "apcFileName"},     {"apc_username", "apcSrvUserName"},
      {"apc_password", "apcSrvPasswd"},    {"apc_failreason", "apcTransferFailReason"},
      {"apc_filecsum", "apcFileChecksum"}, {"apc_fwversion", "apcFileVersion"},
  };
  for (const auto &[object, option] : texts) {
    const Case text{object, "a b", show(option), "apc.setting." + option + "=a b\n", store(option + "='a b'")};
    check({&text, 1});
  }
  const std::string server = "uci show apc | grep \"apc.setting.apcSrvIpAddress\"";
  const Case servers[] = {
      {"apc_ipaddr", address(192, 168, 1, 250), server, "noise\napc.setting.apcSrvIpAddress=192.168.1.250\n",
       store("apcSrvIpAddress=192.168.1.250")},
      {"apc_ipaddr", address(0, 0, 0, 0), server, "apc.setting.apcSrvIpAddress=10.1\n"},
      {"apc_ipaddr", address(0, 0, 0, 0), server, ""},
  };
  check(servers);
}

TEST(Provisioning, ScriptsGetTheirTexts) {
  const std::string longest(4096, 't');
  const std::string value = longest.substr(18);
  const Case cases[] = {
      {"apc_text", "", "", "", {"/lib/bramo/apc_set_ap  "}},
      {"apc_text", longest, "", "", {"/lib/bramo/apc_set_ap " + longest + " "}},
      {"apc_discovery", " name   value ", "", "", store("name=value")},
      {"apc_discovery", "name value script", "", "", nothing},
      {"apc_discovery", "n " + value + " /etc/x.sh start", "", "", {store("n=" + value)[0], "/bin/sh /etc/x.sh start"}},
      {"apc_discovery", "1 2 3 4 5", "", "", nothing},
  };
  check(cases);
}

TEST(Firmware, AnImagesVersionStandsInItsDump) {
  const std::string hex = "000000f8  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |";
  const std::tuple<std::string, int, std::string> cases[] = {
      {hex + "ZOL v1.2.34_b140|\n00000108  ...  |other v9........|\n", 1, "ZOL v1.2"},
      {hex + "v1.2.34_b1401021|\n", 1, "v1.2.34_b1401021"},
      {hex + "KelvAP v12.3_b14|\n", 1, "KelvAP v12.3_b14"},
      {hex + "with a | in it..|\n", 1, "with a | in it.."},
      {hex + "end|\n", 1, "end|"},
      {"000000f8\n", 0, ""},
  };
  for (const auto &[output, result, version] : cases) {
    ScriptedShell shell;
    shell.answers("hexdump -s 0xf8 -n 32 -C /tmp/x.img", output);
    char text[17] = "old";
    EXPECT_EQ(get_file_version_from_img("/tmp/x.img", text), result) << output;
    EXPECT_EQ(text, version) << output;
  }
}

TEST(Firmware, AVersionsDateAndItsDays) {
  const std::tuple<const char *, const char *, int> cases[] = {{"ZOL v1.2_b140102", "2014-01-02", 16072},
                                                               {"_b120229_b991231", "2012-02-29", 15399},
                                                               {"cut short_b1401", "2011-11-11", 15289},
                                                               {"_b700101", "2070-01-01", 36525}};
  for (const auto &[version, date, days] : cases) {
    char text[11] = "";
    EXPECT_EQ(version_date(version, text), 0);
    EXPECT_STREQ(text, date) << version;
    EXPECT_EQ(num_days(text), days) << date;
  }
  EXPECT_EQ(num_days("20xy-zz-00"), 0);
}

TEST(Firmware, AChecksumIsTheDigestOfTheLine) {
  ScriptedShell shell;
  char text[128] = "old";
  shell.answers("md5sum /tmp/x.img", "9e107d9d372bb6826bd81d3542a419d6  /tmp/x.img\n");
  EXPECT_EQ(get_file_checksum("/tmp/x.img", text), 0);
  EXPECT_STREQ(text, "9e107d9d372bb6826bd81d3542a419d6");
  shell.answers("md5sum /tmp/x.img", "9e107d9d372bb6826bd81d3542a419d6  -\n");
  EXPECT_EQ(get_file_checksum("/tmp/x.img", text), -1);
  EXPECT_STREQ(text, "");
}

}  // namespace
