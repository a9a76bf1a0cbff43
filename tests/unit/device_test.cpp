#include <gtest/gtest.h>

#include "core/value_store.hpp"
#include "mib/device/device.hpp"
#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
zol::FindMethod var_wlan_status0, var_ap_model, var_fw_version, var_ram_used;
extern int32_t stats_latitude;
WriteMethod write_stats_latitude, write_wlan_status0;
}

namespace {

using Commands = std::vector<std::string>;

struct Reading {
  const char *object;
  zol::FindMethod *find;
  std::string command;
  std::string output;
  std::string answer;
};

TEST(Device, TextsAreReadFromTheCommandsOutput) {
  const std::string model = "uci show system.led_sig1.sysfs";
  const std::string version = "cat /etc/openwrt_release | grep DISTRIB_DESCRIPTION";
  const std::string memory = "top -b -n 1 | grep \"Mem:\"";
  const Reading readings[] = {
      {"model with a colour", var_ap_model, model, "system.led_sig1.sysfs=abc:green:status\n", "ABC"},
      {"model without a colour", var_ap_model, model, "system.led_sig1.sysfs=led1\n", "ZOL QRB71"},
      {"quoted version", var_fw_version, version, "DISTRIB_DESCRIPTION=\"Kelv 1.2\"\n", "Kelv 1.2"},
      {"bare version", var_fw_version, version, "DISTRIB_DESCRIPTION=Kelv\n", "Kelv"},
      {"no version", var_fw_version, version, "", "KelvAP ZOL"},
      {"a version longer than its buffer", var_fw_version, version, "X=" + std::string(60, 'v') + "\n",
       std::string(32, 'v')},
      {"memory", var_ram_used, memory, "Mem: 29744K used, 1234K free\n", "29744 KB"},
      {"memory without an answer", var_ram_used, memory, "", "29744 KB"},
  };
  for (const Reading &reading : readings) {
    SCOPED_TRACE(reading.object);
    ScriptedShell shell;
    shell.answers(reading.command, reading.output);
    const auto answer = get(reading.find, {2, 2});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->bytes, reading.answer);
    EXPECT_EQ(shell.commands(), Commands{reading.command});
  }
}

TEST(Device, CoordinatesAcceptTheirRangeAndUndoRestores) {
  ScriptedShell shell;
  EXPECT_EQ(set(write_stats_latitude, 1001), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_stats_latitude, -1000), 0);
  EXPECT_EQ(set(write_stats_latitude, 7), 0);
  EXPECT_EQ(set_phase(write_stats_latitude, MODE_SET_UNDO, 7), 0);
  EXPECT_EQ(stats_latitude, -1000);
  EXPECT_EQ(shell.commands(), Commands{});
}

TEST(Device, ARefusedSetRunsNothing) {
  ScriptedShell shell;
  const int32_t one = 1;
  const std::string four(reinterpret_cast<const char *>(&one), sizeof one);
  EXPECT_EQ(set(write_wlan_status0, ASN_OCTET_STR, four), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(set(write_wlan_status0, ASN_INTEGER, four + four), SNMP_ERR_WRONGLENGTH);
  EXPECT_EQ(set(write_wlan_status0, 0), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_wlan_status0, 3), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(shell.commands(), Commands{});
}

}  // namespace
