// The device and maintenance objects: what each reads from a command's output, and what a SET runs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "mib/device/device.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

const std::string model = "uci show system.led_sig1.sysfs";
const std::string version = "cat /etc/openwrt_release | grep DISTRIB_DESCRIPTION";
const std::string memory = "top -b -n 1 | grep \"Mem:\"";
const std::string host_name = "uci show system.@system[0].hostname";

std::string disabled(int radio) { return "uci show wireless | grep \"wifi" + std::to_string(radio) + ".disabled=\""; }
std::string set_disabled(int radio, int flag) {
  const std::string option = "wireless.wifi" + std::to_string(radio) + ".disabled=" + std::to_string(flag);
  return "uci set " + option + ";uci commit wireless";
}

const Case cases[] = {
    {"wlan_status0", 2, disabled(0), "wireless.wifi0.disabled=1\n", {set_disabled(0, 1)}},
    {"wlan_status0", 1, disabled(0), "", {set_disabled(0, 0)}},
    {"wlan_status1", 1, disabled(1), "wireless.wifi1.disabled=0\n", {set_disabled(1, 0)}},
    {"eth_status0", 1, "ifconfig | grep 'eth0.1'", "eth0.1    Link\n", {"ifconfig eth0.1 up"}},
    {"eth_status1", 2, "ifconfig | grep 'eth0.2'", "", {"ifconfig eth0.2 down"}},
    {"eth_status1", 1, "ifconfig | grep 'eth0.2'", "eth0.2    Link\n"},
    {"reset_ap", 1, "", "", {"mtd -r erase rootfs_data"}},
    {"reset_ap", 0, "", "", nothing},
    {"apply_change", 0, "", "", nothing},
    {"web_mngt", 1, "", "", nothing},
    {"ap_name",
     "hall two",
     host_name,
     "system.cfg02e48a.hostname=hall two\n",
     {"uci set system.@system[0].hostname=\"hall two\";uci commit system",
      "uci set snmpd.cfg10e48a.sysName=\"hall two\";uci commit snmpd"}},
    {"admin_pwd", "s3cret $x", "", "", {"echo -e 's3cret $x\ns3cret $x' | passwd admin"}},
    {"ap_model", "ABC", model, "system.led_sig1.sysfs=abc:green:status\n"},
    {"ap_model", "ZOL QRB71", model, "system.led_sig1.sysfs=led1\n"},
    {"fw_version", "Kelv 1.2", version, "DISTRIB_DESCRIPTION=\"Kelv 1.2\"\n"},
    {"fw_version", "Kelv", version, "DISTRIB_DESCRIPTION=Kelv\n"},
    {"fw_version", "KelvAP ZOL", version, ""},
    {"fw_version", std::string(32, 'v'), version, "X=" + std::string(60, 'v') + "\n"},
    {"ram_used", "29744 KB", memory, "Mem: 29744K used, 1234K free\n"},
    {"ram_used", "29744 KB", memory, ""},
};

TEST(Device, ObjectsReadAndRunTheirCommands) { check(cases); }

TEST(Device, UndoBringsTheCoordinatesBack) {
  EXPECT_EQ(set("stats_latitude", -1000), 0);
  EXPECT_EQ(set("stats_latitude", 7), 0);
  EXPECT_EQ(set_phase("stats_latitude", MODE_SET_UNDO, 7), 0);
  EXPECT_EQ(get("stats_latitude"), Value(-1000));
}

TEST(Device, AHostNameIsAppliedAgainOnlyIfItIsWhole) {
  const std::string show = "uci show system.@system[0].hostname";
  const std::string option = "system.cfg02e48a.hostname=";
  const std::string longest(32, 'x');
  struct Name {
    const char *what;
    std::string output;
    /// The name that is applied; empty for none.
    std::string applied;
    int lines;
  };
  const Name names[] = {
      {"usual", option + "ap-lobby\n", "ap-lobby", 0},
      {"odd", option + "a'b c;d&e|f\t#\n", "a'b c;d&e|f\t#", 0},
      {"longest", option + longest + "\n", longest, 0},
      {"too long", option + longest + "x\n", "", 1},
      {"again too long", option + longest + "xx\n", "", 0},
      {"good again", option + "ap\n", "ap", 0},
      {"no name", "", "", 0},
      {"empty", option + "\n", "", 0},
      {"the whole section", "system.cfg02e48a=system\nsystem.cfg02e48a.log_size=514\n", "", 0},
      {"another option", "system.cfg02e48a.xhostname=ap\n", "", 0},
      {"back-quotes", option + "AP `touch /x`\n", "", 1},
      {"a dollar", option + "AP $(touch /x)\n", "", 0},
      {"good again", option + "ap\n", "ap", 0},
      {"a double quote", option + "a\";touch /x;\"\n", "", 1},
      {"a backslash", option + "a\\\n", "", 0},
      {"quoted", option + "'ap'\n", "", 0},
      {"two lines", option + "ap\n" + option + "ap\n", "", 0},
      {"a short second line", option + "ap\nx\n", "", 0},
      {"not to the end", option + "ap", "", 0},
      {"with an equals sign", option + "a=b\n", "", 0},
  };
  const std::string store = testing::TempDir() + "zolarc-host-name";
  setenv("ZOLARC_VALUE_STORE", store.c_str(), 1);
  for (const auto &[what, output, applied, lines] : names) {
    SCOPED_TRACE(what);
    ScriptedShell shell;
    shell.answers(show, output);
    testing::internal::CaptureStderr();
    zol::apply_host_name();
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(logged.begin(), logged.end(), '\n'), lines) << logged;
    Commands expected{show};
    if (!applied.empty()) {
      expected.push_back("uci set system.@system[0].hostname=\"" + applied + "\";uci commit system");
      expected.push_back("uci set snmpd.cfg10e48a.sysName=\"" + applied + "\";uci commit snmpd");
    }
    EXPECT_EQ(shell.commands(), expected);
  }
  for (const char *ending : {"", ".lock"}) remove((store + ending).c_str());
  unsetenv("ZOLARC_VALUE_STORE");
}

}  // namespace
