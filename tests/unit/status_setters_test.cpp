#include <gtest/gtest.h>

#include "mib/status/status.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"
#include "tests/unit/switched.hpp"

namespace {

using namespace std::string_literals;

const Value ten = address(10, 0, 200, 255);

int phase(WriteMethod *write, int which, const Value &value) {
  std::string bytes = value.bytes;
  return write(which, reinterpret_cast<unsigned char *>(bytes.data()), value.type, bytes.size(), nullptr, nullptr, 0);
}

/// RESERVE1 and ACTION, which nothing follows that it lets through. @return the refusal, or 0
int set(WriteMethod *write, const Value &value) {
  const int refusal = phase(write, MODE_SET_RESERVE1, value);
  return refusal != 0 ? refusal : phase(write, MODE_SET_ACTION, value);
}

TEST(StatusSetters, IntegersRunTheirCommands) {
  const std::string first = "uci set wireless.@wifi-iface[0].";
  const std::string second = "uci set wireless.@wifi-iface[1].";
  const std::string commit = ";uci commit wireless";
  const struct {
    const char *setter;
    WriteMethod *write;
    int32_t value;
    /// Empty for a value that is refused or only stored.
    std::string command;
    int error = SNMP_ERR_NOERROR;
  } cases[] = {
      {"reboot", write_reboot_device, 1, "reboot"},
      {"reboot", write_reboot_device, 0, ""},
      {"reboot", write_reboot_device, -1, ""},
      {"reboot", write_reboot_device, 2, "", SNMP_ERR_WRONGVALUE},
      {"status", write_snmp_status, 1, ""},
      {"trap", write_snmp_trap, 2, "", SNMP_ERR_WRONGVALUE},
      {"channel", write_channel, 0, "uci set wireless.wifi0.channel=auto" + commit},
      {"channel", write_channel, -3, "uci set wireless.wifi0.channel=-3" + commit},
      {"channel", write_channel, 166, "", SNMP_ERR_WRONGVALUE},
      {"channel2", write_channel2, 165, "uci set wireless.wifi1.channel=165" + commit},
      {"mode", write_operation_mode, 0, first + "mode=ap;" + first + "wds=0" + commit},
      {"mode2", write_operation2_mode, 3, second + "mode=sta;" + second + "wds=1" + commit},
      {"mode2", write_operation2_mode, 4, second + "mode=adapter" + commit},
      {"mode", write_operation_mode, 5, "", SNMP_ERR_WRONGVALUE},
      {"mode", write_operation_mode, -1, "", SNMP_ERR_WRONGVALUE},
  };
  for (const auto &test : cases) {
    SCOPED_TRACE(test.setter + (" " + std::to_string(test.value)));
    ScriptedShell shell;
    EXPECT_EQ(set(test.write, test.value), test.error);
    EXPECT_EQ(shell.commands(), test.command.empty() ? Commands{} : Commands{test.command});
  }
}

TEST(StatusSetters, ReservedValuesAreStoredAndUndoneInTheirPhases) {
  ScriptedShell shell;
  reboot_device = 1;
  EXPECT_EQ(phase(write_reboot_device, MODE_SET_RESERVE1, 0), 0);
  EXPECT_EQ(reboot_device, 1);
  EXPECT_EQ(phase(write_reboot_device, MODE_SET_ACTION, 0), 0);
  EXPECT_EQ(reboot_device, 0);
  EXPECT_EQ(phase(write_reboot_device, MODE_SET_UNDO, 0), 0);
  EXPECT_EQ(reboot_device, 1);
  EXPECT_EQ(phase(write_channel, MODE_SET_UNDO, 0), 0);
  EXPECT_EQ(shell.commands(), Commands{});
}

TEST(StatusSetters, AddressesAreWrittenDotted) {
  const struct {
    WriteMethod *write;
    const char *option;
  } cases[] = {
      {write_lan_ip, "lan.ipaddr"}, {write_netmask_ip, "lan.netmask"},  {write_gateway_ip, "lan.gateway"},
      {write_wan_ip, "wan.ipaddr"}, {write_netmask2_ip, "wan.netmask"}, {write_gateway2_ip, "wan.gateway"},
  };
  for (const auto &[write, option] : cases) {
    ScriptedShell shell;
    EXPECT_EQ(set(write, ten), 0);
    EXPECT_EQ(shell.commands(), Commands{"uci set network."s + option + "=10.0.200.255;uci commit network"});
  }
}

TEST(StatusSetters, ADnsServerKeepsTheOther) {
  const std::string read = "uci show network | grep lan.dns=";
  const struct {
    WriteMethod *write;
    std::string present;
    std::string written;
  } cases[] = {
      {write_pri_dns, "network.lan.dns=8.8.8.8 9.9.9.9\n", "\"10.0.200.255 9.9.9.9\""},
      {write_pri_dns, "network.lan.dns=8.8.8.8\n", "10.0.200.255"},
      {write_sec_dns, "network.lan.dns=8.8.8.8 9.9.9.9\n", "\"8.8.8.8 10.0.200.255\""},
      {write_sec_dns, "", "10.0.200.255"},
  };
  for (const auto &[write, present, written] : cases) {
    ScriptedShell shell;
    shell.answers(read, present);
    EXPECT_EQ(set(write, ten), 0);
    EXPECT_EQ(shell.commands(), (Commands{read, "uci set network.lan.dns=" + written + ";uci commit network"}));
  }
}

TEST(StatusSetters, TextsAreChecked) {
  const std::string longest(100, 's');
  const struct {
    WriteMethod *write;
    std::string value;
    int error;
    Commands commands;
  } cases[] = {
      {write_ssid, "my net", 0, {"uci set wireless.@wifi-iface[0].ssid='my net';uci commit wireless"}},
      {write_ssid, "", 0, {"uci set wireless.@wifi-iface[0].ssid='';uci commit wireless"}},
      {write_ssid2_name, longest, 0, {"uci set wireless.@wifi-iface[1].ssid='" + longest + "';uci commit wireless"}},
      {write_ssid, longest + "s", SNMP_ERR_WRONGLENGTH, {}},
      {write_current_time, "2024/01/31 10:20:30", 0, {"date --set='2024-01-31 10:20:30'"}},
      {write_current_time, "2024/1/31  10:20:301", SNMP_ERR_WRONGLENGTH, {}},
      {write_current_time, "2024-01-31 10:20:30", SNMP_ERR_WRONGVALUE, {}},
      {write_current_time, "2024/01-31 10:20:30", SNMP_ERR_WRONGVALUE, {}},
      {write_current_time, "2024/01/31 10:20", SNMP_ERR_WRONGVALUE, {}},
  };
  for (const auto &test : cases) {
    SCOPED_TRACE(test.value);
    ScriptedShell shell;
    EXPECT_EQ(set(test.write, test.value), test.error);
    EXPECT_EQ(shell.commands(), test.commands);
  }
}

TEST(StatusSetters, TextsObeyTheGuard) {
  const Switched guard("zolarcGuard", 1);
  ScriptedShell shell;
  EXPECT_EQ(set(write_ssid, "it's $x"), 0);
  EXPECT_EQ(set(write_ssid2_name, "two\nlines"), SNMP_ERR_WRONGVALUE);
  EXPECT_EQ(set(write_current_time, "//::';reboot;'"), 0);
  EXPECT_EQ(shell.commands(), (Commands{"uci set wireless.@wifi-iface[0].ssid='it'\\''s $x';uci commit wireless",
                                        "date --set='--::'\\'';reboot;'\\'''"}));
}

TEST(StatusSetters, AnotherTypeIsRefusedFirst) {
  ScriptedShell shell;
  const std::string five(5, '\0');
  EXPECT_EQ(set(write_reboot_device, {ASN_UNSIGNED, five}), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(set(write_reboot_device, {ASN_INTEGER, five}), SNMP_ERR_WRONGLENGTH);
  EXPECT_EQ(set(write_lan_ip, ten.bytes), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(set(write_sec_dns, {ASN_INTEGER, ten.bytes}), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(set(write_current_time, {ASN_IPADDRESS, std::string(20, '/')}), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(shell.commands(), Commands{});
}

/// A GET hands out the setters of what is settable, and those of the addresses and the clock though they are read-only.
TEST(StatusSetters, AreHandedOutWithTheirObjects) {
  const std::pair<const char *, WriteMethod *> cases[] = {{"lan_ip", write_lan_ip},
                                                          {"lan_netmask", write_netmask_ip},
                                                          {"lan_gateway", write_gateway_ip},
                                                          {"wan_ip", write_wan_ip},
                                                          {"wan_netmask", write_netmask2_ip},
                                                          {"wan_gateway", write_gateway2_ip},
                                                          {"current_time", write_current_time},
                                                          {"ld_version", nullptr}};
  for (const auto &[object, write] : cases) EXPECT_EQ(row_write(object), write) << object;
  EXPECT_EQ(row_write("reboot_device"), zol::handed_out<write_reboot_device>());
}

}  // namespace
