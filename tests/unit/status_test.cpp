#include "mib/status/status.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "core/clock.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

using namespace std::string_literals;

const std::string top = "top -b -n 1 | grep \"CPU:\"";
const std::string up_1 = "ifconfig | grep eth0.1";
const std::string up_2 = "ifconfig | grep eth0.2";
const std::string hardware = "ifconfig | grep \"eth0.2\"";
const std::string messages_1 =
    "dmesg | grep -n \"Enet:0 port:2 down\" | tail -1;dmesg | grep -n \"Enet:0 port2 up\" | tail -1";
const std::string messages_2 =
    "dmesg | grep -n \"Enet:0 port:1 down\" | tail -1;dmesg | grep -n \"Enet:0 port1 up\" | tail -1";
const std::string is_up_1 = "eth0.1    Link encap:Ethernet  HWaddr 00:03:7F:0A:B1:C2  \n";
const std::string is_up_2 = "eth0.2    Link encap:Ethernet  HWaddr 00:03:7f:0a:b1:c3  \n";

const Case objects[] = {
    {"cpu_percent_used", "14.0%", top, "CPU:   7% usr   2% sys   1% nic  86% idle   2% io   1% irq   1% sirq\n"},
    {"cpu_percent_free", "97.3%", top, "CPU:  0.5% usr  2.2% sys  0.0% nic 97.3% idle  0.0% io  0.0% irq  0.0% sirq\n"},
    {"cpu_percent_used", "100.0%", top, "CPU: 100% usr 0% sys 0% nic 0% idle 0% io 0% irq 0% sirq\n"},
    {"cpu_percent_used", "0.0%", top, "CPU:  7.0% usr  2.0% sys\n"},
    {"cpu_percent_free", "0.0%", top, ""},
    {"ld_version", "2.6.31-LSDK-9.2.0_U", "uname -a", "Linux ap 2.6.31-LSDK-9.2.0_U11.14 #1 Mon mips GNU/Linux\n"},
    {"ld_version", "2.6.31-LSDK-9.2.0_U", "uname -a", "Linux ap\n"},
    {"lan_ip", address(192, 168, 1, 20), "uci show network.lan.ipaddr", "network.lan.ipaddr=192.168.1.20\n"},
    {"wan_netmask", address(0, 0, 0, 0), "uci show network.wan.netmask", ""},
    {"eth2_rx_bytes", 0, up_2, ""},
    {"eth2_mac", "\x00\x03\x7f\x0a\xb1\xc3"s, hardware, "eth0.2:1 alias\n" + is_up_2},
    {"eth2_mac", std::string(6, '\0'), hardware, "eth0.2    Link encap:UNSPEC\n"},
    {"reboot_device", 1, "", "", {"reboot"}},
    {"reboot_device", 0, "", "", nothing},
    {"reboot_device", -1, "", "", nothing},
};

TEST(Status, ObjectsReadAndRunTheirCommands) { check(objects); }

TEST(Status, CountersAreThoseOfAPortThatIsUp) {
  const struct {
    const char *object, *output;
    int32_t value;
  } counters[] = {
      {"eth1_rx_bytes", "X\n  RX bytes:3000000000 (2.7 GiB)\n", -1294967296},
      {"eth1_tx_bytes", "  RX bytes:17 (17.0 B)  TX bytes:42 (42.0 B)\n", 42},
      {"eth1_rx_errors", "  RX bytes:17 errors:5 dropped:0\n", 5},
      {"eth1_tx_errors", "  RX bytes:17 errors:5 TX bytes:17 errors:6\n", 6},
      {"eth1_tx_errors", "  TX bytes:17 (17.0 B)\n", 0},
  };
  for (const auto &[object, output, value] : counters) {
    registered_rows();
    ScriptedShell shell;
    shell.answers(up_1, is_up_1).answers("ifconfig eth0.1", output);
    EXPECT_EQ(get(object), Value(value)) << output;
    EXPECT_EQ(shell.commands(), (Commands{up_1, "ifconfig eth0.1"}));
  }
}

TEST(Status, AddressesAreParsedByTheirKey) {
  const std::string gateway = "uci show network | grep lan.gateway=";
  const std::string dns = "uci show network | grep lan.dns=";
  const struct {
    const char *section, *key;
    std::string command, output;
    uint32_t address;
  } cases[] = {
      {"br-lan", "gateway", gateway, "network.lan.gateway=10.1.2.3\n", 0x0a010203},
      {"br-lan", "gateway", gateway, "network.lan.gateway=0.0.0.9\n", 0x09000000},
      {"br-lan", "gateway", gateway, "network.lan.other=10.1.2.3\n", 0x01010101},
      {"wan", "gateway", "uci show network | grep wan.gateway=", "", 0},
      {"neither", "gateway", "", "", 0},
      {"br-lan", "dns1", dns, "network.lan.dns=8.8.8.8 9.9.9.9\n", 0x08080808},
      {"br-lan", "dns2", dns, "network.lan.dns=8.8.8.8 9.9.9.9 7.7.7.7\n", 0x09090909},
      {"br-lan", "dns2", dns, "network.lan.dns=8.8.8.8\n", 0},
      {"lan", "ipaddr", "uci show network.lan.ipaddr", "n.ipaddr=1.2.3\n", 0x01020300},
      {"lan", "ipaddr", "uci show network.lan.ipaddr", "ip=1.2.3.4\n", 0x01020304},
      {"lan", "ipaddr", "uci show network.lan.ipaddr", "i=1.2.3.4\n", 0},
      {"lan", "ipaddr", "uci show network.lan.ipaddr", "network.lan.ipaddr\n", 0},
  };
  for (const auto &test : cases) {
    SCOPED_TRACE(test.section + (":" + test.output));
    ScriptedShell shell;
    shell.answers(test.command, test.output);
    uint32_t address = 0xffffffff;
    EXPECT_EQ(get_lan_ip_address(test.section, test.key, &address), 0);
    EXPECT_EQ(address, test.address);
    EXPECT_EQ(shell.commands(), test.command.empty() ? Commands{} : Commands{test.command});
  }
}

TEST(Status, LinkTimeIsThatOfTheLastUpMessage) {
  const auto since = static_cast<int64_t>(getSysUptime()) - 5;
  const auto message = [](int line, int64_t second, const std::string &change) {
    return std::to_string(line) + ":[" + std::to_string(second) + ".250000] Enet:0 " + change + "\n";
  };
  const struct {
    const char *story;
    std::string messages;
    bool connected;
  } cases[] = {
      {"came up", message(40, since, "port2 up"), true},
      {"went down and came up", message(30, since - 1, "port:2 down") + message(40, since, "port2 up"), true},
      {"did so within a second", message(30, since, "port:2 down") + message(40, since, "port2 up"), true},
      {"came up and went down", message(41, since, "port:2 down") + message(40, since, "port2 up"), false},
      {"later line of an earlier time", message(30, since, "port:2 down") + message(40, since - 1, "port2 up"), false},
      {"no message", "", false},
  };
  for (const auto &[story, messages, connected] : cases) {
    SCOPED_TRACE(story);
    ScriptedShell shell;
    shell.answers(up_1, is_up_1).answers(messages_1, messages);
    const std::string link_time = get("eth1_link_time")->bytes;
    EXPECT_EQ(shell.commands(), (Commands{up_1, messages_1}));
    EXPECT_EQ(link_time.substr(0, 14), "0 Days 00:00:0");
    // The clock may have moved on since the test began.
    EXPECT_EQ(link_time.back() >= '5', connected) << link_time;
    EXPECT_EQ(get("eth1_connected"), Value(connected ? 1 : 0));
  }
  // Each port is told by the messages of the other number.
  ScriptedShell shell;
  shell.answers(up_2, is_up_2).answers(messages_2, message(1, since, "port1 up"));
  EXPECT_EQ(get("eth2_connected"), Value(1));
  EXPECT_EQ(shell.commands(), (Commands{up_2, messages_2}));
}

TEST(Status, WithoutCommandsEveryObjectFallsBack) {
  registered_rows();
  strcpy(cpu_percent_used, "1.5%");
  strcpy(ld_version, "3.3.8");
  zol_rx_bytes = 7;
  const std::initializer_list<std::pair<const char *, Value>> presets = {{"cpu_percent_used", "1.5%"},
                                                                         {"ld_version", "3.3.8"},
                                                                         {"lan_ip", address(127, 0, 0, 1)},
                                                                         {"lan_gateway", address(127, 0, 0, 1)},
                                                                         {"eth1_connected", 0},
                                                                         {"eth1_rx_bytes", 0},
                                                                         {"eth1_link_time", "0 Days 00:00:00"},
                                                                         {"eth2_mac", std::string(6, '\0')}};
  check_without_commands(presets);
  ScriptedShell shell;
  shell.cannot_start();
  float busy = 1, idle = 2;
  int32_t status = 1;
  uint32_t out = 1;
  char *text = nullptr;
  EXPECT_EQ(zol_get_cpu_info(&busy, &idle), -1);
  EXPECT_EQ(busy + idle, 3);
  EXPECT_EQ(zol_get_ethernet_status("eth0.1", &status), -1);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(get_lan_ip_address("lan", "ipaddr", &out), -1);
  EXPECT_EQ(out, 0);
  EXPECT_EQ(get_mac_address("eth0.2", &text), -1);
}

TEST(Status, RatesAreTruncatedTowardsZero) {
  eth1_rx_rate = 1234.9F;
  eth2_tx_rate = -7.9F;
  EXPECT_EQ(get("eth1_rx_rate"), Value(1234));
  EXPECT_EQ(get("eth2_tx_rate"), Value(-7));
}

TEST(Status, AnswersOnlyWhileTheAgentRuns) {
  netsnmp_running = 0;
  EXPECT_FALSE(get("eth1_rx_rate"));
  netsnmp_running = 1;
}

}  // namespace
