#include "mib/status/status.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "core/clock.hpp"
#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
void zolwrt_parse_config_cpu_percent_used(const char *, char *);
void zolwrt_parse_config_current_time(const char *, char *);
void zolwrt_parse_config_if_noise(const char *, char *);
}

namespace {

using namespace std::string_literals;

using Commands = std::vector<std::string>;

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

/// The answer of the object with this magic. Where the object is registered does not matter to the find function.
std::string ask(unsigned char magic) {
  const auto answer = get(var_zolwrt, {9, 9}, magic);
  return answer ? answer->bytes : "no object";
}

std::string number(int32_t value) { return {reinterpret_cast<const char *>(&value), sizeof value}; }

TEST(Status, ObjectsAnswerWhatTheirCommandsPrint) {
  const struct {
    const char *object;
    unsigned char magic;
    std::vector<std::pair<std::string, std::string>> session;
    std::string answer;
  } readings[] = {
      {"busy", 1, {{top, "CPU:   7% usr   2% sys   1% nic  86% idle   2% io   1% irq   1% sirq\n"}}, "14.0%"},
      {"idle", 2, {{top, "CPU:  0.5% usr  2.2% sys  0.0% nic 97.3% idle  0.0% io  0.0% irq  0.0% sirq\n"}}, "97.3%"},
      {"wholly busy", 1, {{top, "CPU: 100% usr 0% sys 0% nic 0% idle 0% io 0% irq 0% sirq\n"}}, "100.0%"},
      {"load in part", 1, {{top, "CPU:  7.0% usr  2.0% sys\n"}}, "0.0%"},
      {"load not printed", 2, {{top, ""}}, "0.0%"},
      {"kernel",
       31,
       {{"uname -a", "Linux ap 2.6.31-LSDK-9.2.0_U11.14 #1 Mon mips GNU/Linux\n"}},
       "2.6.31-LSDK-9.2.0_U"},
      {"kernel, kept", 31, {{"uname -a", "Linux ap\n"}}, "2.6.31-LSDK-9.2.0_U"},
      {"LAN address", 4, {{"uci show network.lan.ipaddr", "network.lan.ipaddr=192.168.1.20\n"}}, "\xc0\xa8\x01\x14"},
      {"WAN netmask", 52, {{"uci show network.wan.netmask", ""}}, std::string(4, '\0')},
      {"received",
       55,
       {{up_1, is_up_1}, {"ifconfig eth0.1", "X\n  RX bytes:3000000000 (2.7 GiB)\n"}},
       number(-1294967296)},
      {"transmitted",
       56,
       {{up_2, is_up_2}, {"ifconfig eth0.2", "  RX bytes:17 (17.0 B)  TX bytes:42 (42.0 B)\n"}},
       number(42)},
      {"receive errors", 64, {{up_2, is_up_2}, {"ifconfig eth0.2", "  RX bytes:17 errors:5 dropped:0\n"}}, number(5)},
      {"errors that are not there", 63, {{up_1, is_up_1}, {"ifconfig eth0.1", "  TX bytes:17 (17.0 B)\n"}}, number(0)},
      {"counter of a port that is down", 57, {{up_2, ""}}, number(0)},
      {"MAC", 10, {{hardware, "eth0.2:1 alias\n" + is_up_2}}, "\x00\x03\x7f\x0a\xb1\xc3"s},
      {"MAC not shown", 10, {{hardware, "eth0.2    Link encap:UNSPEC\n"}}, std::string(6, '\0')},
  };
  for (const auto &reading : readings) {
    SCOPED_TRACE(reading.object);
    ScriptedShell shell;
    Commands expected;
    for (const auto &[command, output] : reading.session) {
      shell.answers(command, output);
      expected.push_back(command);
    }
    EXPECT_EQ(ask(reading.magic), reading.answer);
    EXPECT_EQ(shell.commands(), expected);
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
      {"came up and went down", message(41, since, "port:2 down") + message(40, since, "port2 up"), false},
      {"later line of an earlier time", message(30, since, "port:2 down") + message(40, since - 1, "port2 up"), false},
      {"no message", "", false},
  };
  for (const auto &[story, messages, connected] : cases) {
    SCOPED_TRACE(story);
    ScriptedShell shell;
    shell.answers(up_1, is_up_1).answers(messages_1, messages);
    const std::string link_time = ask(58);
    EXPECT_EQ(shell.commands(), (Commands{up_1, messages_1}));
    EXPECT_EQ(link_time.substr(0, 14), "0 Days 00:00:0");
    // The clock may have moved on since the test began.
    EXPECT_EQ(link_time.back() >= '5', connected) << link_time;
    EXPECT_EQ(ask(60), number(connected ? 1 : 0));
  }
  // Each port is told by the messages of the other number.
  ScriptedShell shell;
  shell.answers(up_2, is_up_2).answers(messages_2, message(1, since, "port1 up"));
  EXPECT_EQ(ask(61), number(1));
  EXPECT_EQ(shell.commands(), (Commands{up_2, messages_2}));
}

TEST(Status, WithoutCommandsEveryObjectFallsBack) {
  strcpy(cpu_percent_used, "1.5%");
  strcpy(ld_version, "3.3.8");
  zol_rx_bytes = 7;
  ScriptedShell shell;
  shell.cannot_start();
  const std::map<unsigned char, std::string> answers = {
      {1, "1.5%"},     {31, "3.3.8"},   {4, "\x7f\x00\x00\x01"s}, {11, "\x7f\x00\x00\x01"s},
      {60, number(0)}, {55, number(0)}, {58, "0 Days 00:00:00"},  {10, std::string(6, '\0')},
  };
  for (const auto &[magic, answer] : answers) EXPECT_EQ(ask(magic), answer) << int{magic};

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
  EXPECT_EQ(ask(66), number(1234));
  EXPECT_EQ(ask(69), number(-7));
}

TEST(Status, AnswersOnlyKnownObjectsOfARunningAgent) {
  EXPECT_EQ(ask(12), "no object");
  netsnmp_running = 0;
  EXPECT_EQ(ask(66), "no object");
  netsnmp_running = 1;
}

TEST(Status, TokensCutOnlyTextsThatDoNotFit) {
  const auto preset = [](auto *parse, std::string text) { parse("token", text.data()); };
  preset(zolwrt_parse_config_cpu_percent_used, "1234567");
  EXPECT_STREQ(cpu_percent_used, "1234567");
  preset(zolwrt_parse_config_cpu_percent_used, "12345678");
  EXPECT_STREQ(cpu_percent_used, "1234...");
  preset(zolwrt_parse_config_current_time, std::string(300, 't'));
  EXPECT_EQ(current_time, std::string(60, 't') + "...");
  preset(zolwrt_parse_config_if_noise, "-95 dBm");
  EXPECT_EQ(if_noise, -95);
}

}  // namespace
