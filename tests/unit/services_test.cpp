// The objects of the network services: what each reads from a command's output, and what a SET runs.

#include "mib/services/services.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "core/address.hpp"
#include "core/value_store.hpp"
#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

using Commands = std::vector<std::string>;

std::string number(int32_t value) { return {reinterpret_cast<const char *>(&value), sizeof value}; }
std::string address(std::initializer_list<int> octets) { return {octets.begin(), octets.end()}; }
std::string repeated(const std::string &piece, int count) {
  std::string text;
  while (count-- > 0) text += piece;
  return text;
}

std::string joined(std::initializer_list<std::string> pieces) {
  std::string text;
  for (const std::string &piece : pieces) text += piece;
  return text;
}

int registrations = 0;

}  // namespace

extern "C" {

// The agent is not there: what would be registered with it is counted.
int register_mib(const char *, const variable *, size_t, size_t, const oid *, size_t) { return ++registrations, 0; }
int unregister_mib(oid *, size_t) { return 0; }
void snmpd_register_config_handler(const char *, void (*)(const char *, char *), void (*)(), const char *) {}
void snmpd_unregister_config_handler(const char *) {}

zol::FindMethod var_dhcp_server, var_dhcp_ipstart, var_dhcp_ipend, var_dhcp_netmaskip, var_dhcp_gatewayip,
    var_dhcp_pridns, var_dhcp_secdns, var_dhcp_leaseperiod, var_lan_proto, var_wan_proto, var_dns_servers,
    var_wan_dnsservers, var_eth1_mac, var_time_zone, var_provide_ntpserver, var_ntpserver_candidates, var_syslog_size,
    var_syslog_srvip, var_syslog_srvport, var_snmp_server, var_ro_community, var_rw_community, var_trap_enable,
    var_trap_srvip, var_trap_port, var_autoreb_enable, var_autoreb_param;
WriteMethod write_dhcp_pridns, write_dns_servers, write_time_zone, write_ntpserver_candidates, write_snmp_restart,
    write_autoreb_enable, write_autoreb_param;
extern uint32_t dhcp_pridns;
int set_dhcp_pridns(uint32_t);
int get_dhcp_server(int32_t *), get_time_zone(int32_t *), get_provide_ntpserver(int32_t *), get_syslog_size(int32_t *),
    get_snmp_server(int32_t *), get_trap_enable(int32_t *), get_trap_port(int32_t *), get_lan_proto(int32_t *);
int get_dhcp_ipstart(uint32_t *), get_dhcp_ipend(uint32_t *), get_syslog_srvip(uint32_t *), get_trap_srvip(uint32_t *);
int get_eth1_mac(char *), get_dns_servers(char *), get_ntpserver_candidates(char *), get_ro_community(char *);
void init_dhcp_netmaskip(), init_dhcp_gatewayip(), init_dhcp_pridns(), init_dhcp_secdns(), init_wan_dnsservers();
void dhcp_gatewayip_parse_config(const char *, char *), autoreb_param_parse_config(const char *, char *);
}

namespace {

const std::string lan_ip = "uci show network | grep \"lan.ipaddr\"";
const std::string start = "uci show dhcp | grep 'start'";
const std::string limit = "uci show dhcp | grep \"limit\"";
const std::string ignore = "uci show dhcp | grep \"lan.ignore\"";
const std::string lease = "uci show dhcp | grep \"lan.leasetime\"";
const std::string dns = "uci show network | grep \"lan.dns\"";
const std::string netmask = "uci show network | grep \"lan.netmask\"";
const std::string dhcp_netmask = "uci show dhcp | grep \"lan.netmask\"";
const std::string gateway = "uci show network | grep \"lan.gateway\"";
const std::string zone = "uci show system.@system[0].timezone;uci show system.@system[0].zonename";
const std::string log_address = "uci show system | grep log_ip";
const std::string lan_protocol = "uci show network.lan.proto";
const std::string wan_protocol = "uci show network.wan.proto";
const std::string lan_dns = "uci show network.lan.dns";
const std::string wan_dns = "uci show network.wan.dns";
const std::string port = "ifconfig | grep eth0.1";
const std::string ntp_servers = "uci show system.ntp.server";
const std::string reads = "uci show snmpd.main.v2read";
const std::string serves = "uci show system | grep \"system.ntp.enable_server\"";

TEST(Services, AnswerWhatTheirCommandsPrint) {
  const struct {
    zol::FindMethod *find;
    std::string command, output, answer;
  } readings[] = {
      {var_dhcp_server, ignore, "", number(1)},
      {var_dhcp_server, ignore, "dhcp.lan.ignore=1\n", number(2)},
      {var_dhcp_server, ignore, "dhcp.lan.ignore=1\ndhcp.wlan.ignore=0\ndhcp.vlan.ignore=yes\n", number(1)},
      {var_dhcp_server, ignore, "x=1\ndhcp.lan.ignore=1\n", number(1)},
      {var_dhcp_leaseperiod, lease, "", number(720)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=6h\n", number(360)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=1d2h3m\n", number(1563)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=2h30m\n", number(150)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=1d30m\n", number(1)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=2d5h\n", number(120)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=3600\n", number(720)},
      {var_dhcp_leaseperiod, lease, "dhcp.lan.leasetime=30m\ndhcp.vlan.leasetime=1d\n", number(30)},
      {var_lan_proto, lan_protocol, "uci: warning\nnetwork.lan.proto=dhcp\n", number(1)},
      {var_lan_proto, lan_protocol, "network.lan.proto=pppoe\n", number(1)},
      {var_lan_proto, lan_protocol, "network.lan.proto=static\n", number(0)},
      {var_wan_proto, wan_protocol, "network.wan.proto=pptp\n", number(2)},
      {var_wan_proto, wan_protocol, "network.wan.proto=pppoe\n", number(3)},
      {var_wan_proto, wan_protocol, "network.wan.proto=l2tp\n", number(4)},
      {var_wan_proto, wan_protocol, "network.wan.proto=none\n", number(4)},
      {var_dns_servers, lan_dns, "x=1\nnetwork.lan.dns=8.8.8.8 8.8.4.4\nnetwork.lan.dns=1\n", "8.8.8.8;8.8.4.4"},
      {var_dns_servers, lan_dns, "", "8.8.8.8;8.8.4.4"},
      // A line is read up to its 255th character, which is dropped.
      {var_wan_dnsservers, wan_dns, "network.wan.dns=" + repeated("1 ", 128) + "\n", repeated("1;", 119)},
      {var_eth1_mac, port, "HWaddr\nx: HWaddr 00:0a:1B:2c:3d:4e  \n", address({0, 0x0a, 0x1b, 0x2c, 0x3d, 0x4e})},
      {var_eth1_mac, port, "eth0.1 Link encap:UNSPEC\n", std::string(6, '\0')},
      {var_eth1_mac, port, "eth0.1: HWaddr\n", address({0, '0', '0', '0', '0', '0'})},
      {var_provide_ntpserver, serves, "", number(2)},
      {var_provide_ntpserver, serves, "system.ntp.enable_server=0\na=1\nb=10\n", number(1)},
      {var_ntpserver_candidates, ntp_servers, "system.ntp.server=a b c\n", "a;b;c"},
      {var_ntpserver_candidates, ntp_servers, "s=a\ns=b c\n\ns=d\n", "b;c"},
      {var_ntpserver_candidates, ntp_servers, "", "b;c"},
      {var_syslog_size, "uci show system | grep log_size", "s.log_size=64\nx.log_size=1\n", number(64)},
      {var_syslog_size, "uci show system | grep log_size", "", number(0)},
      {var_syslog_srvport, "uci show system | grep log_port", "s.log_port=514\n", number(514)},
      {var_syslog_srvip, log_address, "log_ip=1.1.1.1\nlog_ip=10.2.3.4\n\nlog_ip=9.9.9.9\n", address({10, 2, 3, 4})},
      {var_syslog_srvip, log_address, "s.log_ip=loghost\n", address({10, 2, 3, 4})},
      {var_snmp_server, "uci show snmpd.main.enabled", "", number(2)},
      {var_snmp_server, "uci show snmpd.main.enabled", "x\nsnmpd.main.enabled=1\n", number(1)},
      {var_ro_community, reads, "snmpd.main.v2read=see all\n", "see"},
      {var_ro_community, reads, "snmpd.main.v2readers=all\nsnmpd.main.v2read=more\n", "see"},
      {var_ro_community, reads, "snmpd.main.v2read=" + std::string(90, 'r') + "\n", std::string(64, 'r')},
      {var_rw_community, "uci show snmpd.main.v2write", "snmpd.main.v2write=change\n", "change"},
      {var_trap_enable, "uci show snmpd.main.trapen", "snmpd.main.trapen=1\n", number(1)},
      {var_trap_enable, "uci show snmpd.main.trapen", "snmpd.main.trapen=0\n", number(2)},
      {var_trap_srvip, "uci show snmpd.main.trapip", "snmpd.main.trapip=10.0.0.9\n", address({10, 0, 0, 9})},
      {var_trap_srvip, "uci show snmpd.main.trapip", "", address({0, 0, 0, 0})},
      {var_trap_port, "uci show snmpd.main.trapport", "snmpd.main.trapport=1162\n", number(1162)},
      {var_trap_port, "uci show snmpd.main.trapport", "", number(0)},
  };
  for (const auto &[find, command, output, answer] : readings) {
    SCOPED_TRACE(testing::Message() << command << ": " << output);
    ScriptedShell shell;
    shell.answers(command, output);
    EXPECT_EQ(get(find, {10, 1})->bytes, answer);
    EXPECT_EQ(shell.commands(), Commands{command});
  }
}

TEST(Services, ThePoolLiesInTheNetworkOfTheLan) {
  const struct {
    std::string lan_ip, start, limit;
    std::string first, last;
  } pools[] = {
      {"l.ipaddr=10.1.2.3\n", "x\ns.start=20\ns.start=7\n", "s.limit=50\n", address({10, 1, 2, 20}),
       address({10, 1, 2, 69})},
      {"", "", "", address({0, 0, 0, 100}), address({0, 0, 0, 249})},
      {"ip=10.1.2.3\n", "start=106\n", "", address({10, 1, 2, 106}), address({10, 1, 2, 254})},
      {"ip=10.1.2.3\n", "start=300\n", "", address({10, 1, 3, 44}), address({10, 1, 2, 254})},
      {"ip=10.1.2.3\n", "s=0\n", "l=0\n", address({10, 1, 2, 0}), address({255, 255, 255, 255})},
  };
  for (const auto &pool : pools) {
    SCOPED_TRACE(pool.lan_ip + pool.start + pool.limit);
    ScriptedShell shell;
    shell.answers(lan_ip, pool.lan_ip).answers(start, pool.start).answers(limit, pool.limit);
    EXPECT_EQ(get(var_dhcp_ipstart, {10, 2})->bytes, pool.first);
    EXPECT_EQ(shell.commands(), (Commands{lan_ip, start}));
    EXPECT_EQ(get(var_dhcp_ipend, {10, 3})->bytes, pool.last);
    EXPECT_EQ(shell.commands(), (Commands{start, limit, lan_ip}));
  }
}

TEST(Services, TheLongestListsAreWrittenWhole) {
  const std::string list = repeated("1;", 128);
  const std::string stored = "uci set network.lan.dns='" + repeated("1 ", 128) + "'";
  ScriptedShell shell;
  EXPECT_EQ(set(write_dns_servers, ASN_OCTET_STR, list), 0);
  EXPECT_EQ(shell.commands(), (Commands{"uci delete network.lan.dns", stored, stored + "uci commit network"}));
  EXPECT_EQ(set(write_ntpserver_candidates, ASN_OCTET_STR, list), 0);
  EXPECT_EQ(shell.commands(), Commands{"uci set system.ntp.server=\"\";" +
                                       repeated("uci add_list system.ntp.server=\"1\";", 129) + "uci commit system"});
}

TEST(Services, WithoutCommandsReadersSaySoAndKeepTheirPresets) {
  ScriptedShell shell;
  shell.cannot_start();
  const std::tuple<int (*)(int32_t *), int32_t> numbers[] = {
      {get_dhcp_server, 1}, {get_dhcp_leaseperiod, 720}, {get_lan_proto, 99},
      {get_time_zone, -1},  {get_provide_ntpserver, 2},  {get_syslog_size, 0},
      {get_snmp_server, 2}, {get_trap_enable, 2},        {get_trap_port, 0}};
  for (const auto &[read, preset] : numbers) {
    int32_t value = 99;
    EXPECT_EQ(read(&value), -1);
    EXPECT_EQ(value, preset);
  }
  const std::tuple<int (*)(uint32_t *), uint32_t> addresses[] = {
      {get_lan_ip, 99},     {get_ipstart_number, 100}, {get_released_ip_number, 150}, {get_dhcp_ipstart, 99},
      {get_dhcp_ipend, 99}, {get_syslog_srvip, 99},    {get_trap_srvip, 99}};
  for (const auto &[read, preset] : addresses) {
    uint32_t value = 99;
    EXPECT_EQ(read(&value), -1);
    EXPECT_EQ(value, preset);
  }
  for (auto *read : {get_dns_servers, get_ntpserver_candidates, get_ro_community, get_eth1_mac}) {
    char text[257] = "kept";
    EXPECT_EQ(read(text), -1);
    EXPECT_STREQ(text, read == get_eth1_mac ? "" : "kept");
  }
  // The setter fails, but the manager is not told, and the value is taken.
  EXPECT_EQ(set_dhcp_pridns(1), -1);
  EXPECT_EQ(set(write_dhcp_pridns, ASN_IPADDRESS, address({10, 1, 2, 3})), 0);
  EXPECT_EQ(dhcp_pridns, 0x0A010203U);
}

TEST(Services, WhatTheClientsAreToldIsReadWhenTheModuleStarts) {
  const struct {
    void (*init)();
    zol::FindMethod *find;
    Commands commands;
    std::string answer;
  } modules[] = {
      {init_dhcp_netmaskip, var_dhcp_netmaskip, {netmask, dhcp_netmask}, address({255, 255, 0, 0})},
      {init_dhcp_gatewayip, var_dhcp_gatewayip, {gateway}, address({10, 1, 2, 254})},
      {init_dhcp_pridns, var_dhcp_pridns, {dns}, address({9, 9, 9, 9})},
      {init_dhcp_secdns, var_dhcp_secdns, {dns}, address({8, 8, 8, 8})},
  };
  for (const auto &[init, find, commands, answer] : modules) {
    registrations = 0;
    ScriptedShell shell;
    shell.answers(netmask, "network.lan.netmask=255.255.255.0\n")
        .answers(dhcp_netmask, "dhcp.lan.netmask=255.255.0.0\n");
    shell.answers(gateway, "network.lan.gateway=10.1.2.254\n").answers(dns, "network.lan.dns=9.9.9.9 8.8.8.8\n");
    init();
    EXPECT_EQ(shell.commands(), commands);
    EXPECT_EQ(get(find, {10, 4})->bytes, answer);
    EXPECT_EQ(shell.commands(), Commands{});
    EXPECT_EQ(registrations, 1);
    shell.cannot_start();
    init();
    EXPECT_EQ(registrations, 1);
  }
  // Others register whether they can be read or not.
  ScriptedShell shell;
  shell.cannot_start();
  init_wan_dnsservers();
  EXPECT_EQ(registrations, 2);
}

TEST(Services, TheGatewaysTokenPrintsItsText) {
  char text[] = "10.1.2.3";
  testing::internal::CaptureStdout();
  dhcp_gatewayip_parse_config("dhcp_gatewayip", text);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "val=[10.1.2.3]\n");
}

TEST(TimeZones, HaveTheirRows) {
  const auto name = [](const Timezone &row) { return std::string(row.name); };
  EXPECT_TRUE(std::is_sorted(std::begin(gTimezone), std::end(gTimezone),
                             [&](const Timezone &a, const Timezone &b) { return name(a) < name(b); }));
  std::map<std::string, int> regions;
  for (const Timezone &row : gTimezone) ++regions[name(row).substr(0, name(row).find('/'))];
  EXPECT_EQ(regions, (std::map<std::string, int>{{"Africa", 51},
                                                 {"America", 144},
                                                 {"Antarctica", 10},
                                                 {"Arctic", 1},
                                                 {"Asia", 74},
                                                 {"Atlantic", 10},
                                                 {"Australia", 12},
                                                 {"Europe", 55},
                                                 {"Indian", 11},
                                                 {"Pacific", 37}}));
  EXPECT_STREQ(gTimezone[100].name, "America/Glace Bay");
  EXPECT_STREQ(gTimezone[100].rule, "AST4ADT,M3.2.0,M11.1.0");
  EXPECT_STREQ(gTimezone[404].rule, "WFT-12");
  // This one has no terminator.
  EXPECT_EQ(std::string(gTimezone[370].rule, 40), "CHAST-12:45CHADT,M9.5.0/2:45,M4.1.0/3:45");
}

TEST(TimeZones, EveryRowComesBackAsItWasSet) {
  for (int32_t row = 0; row < 405; ++row) {
    ScriptedShell shell;
    ASSERT_EQ(set(write_time_zone, row), 0);
    std::string rule(gTimezone[row].rule, strnlen(gTimezone[row].rule, 40));
    if (row == 370) rule += "Pacific/Chuuk";
    const std::string name = gTimezone[row].name;
    EXPECT_EQ(shell.commands(),
              Commands{joined({"uci set system.@system[0].timezone='", rule, "';uci set system.@system[0].zonename='",
                               name, "';uci commit system"})});
    shell.answers(zone, joined({"s.timezone=", rule, "\ns.zonename=", name, "\n"}));
    EXPECT_EQ(get(var_time_zone, {14, 2})->integer(), row) << name;
  }
}

TEST(TimeZones, PartsOfTextsMatch) {
  const std::pair<std::string, int32_t> cases[] = {
      {"", 0},
      {"s.timezone=UTC\n", -1},
      {"s.timezone=CET-1CEST,M3.5.0,M10.5.0/3\n", 13},
      {"s.zonename=Europe/Berlin\ns.timezone=UTC\n", 306},
      {"uci: x\ns.timezone=WST\ns.zonename=Perth\n", 300},
      {"s.timezone=GMT0\ns.zonename=Europe/Berlin\n", -1},
  };
  for (const auto &[output, row] : cases) {
    ScriptedShell shell;
    shell.answers(zone, output);
    EXPECT_EQ(get(var_time_zone, {14, 2})->integer(), row) << output;
    EXPECT_EQ(shell.commands(), Commands{zone});
  }
  ScriptedShell shell;
  EXPECT_EQ(set(write_time_zone, -1), 0);
  EXPECT_EQ(
      shell.commands(),
      Commands{"uci set system.@system[0].timezone='UTC';uci delete system.@system[0].zonename;uci commit system"});
}

TEST(SnmpService, ARestartIsAskedForOnlyByOne) {
  EXPECT_EQ(set(write_snmp_restart, 0), 0);
  EXPECT_EQ(netsnmp_running, 1);
  EXPECT_EQ(set(write_snmp_restart, 1), 0);
  EXPECT_EQ(netsnmp_running, 0);
  EXPECT_EQ(is_reset, 1);
  netsnmp_running = 1;
}

TEST(AutomaticReboot, RunsTheWatchdogWithTheScheduleThatIsKept) {
  std::string folder = testing::TempDir() + "services-XXXXXX";
  setenv("ZOLARC_VALUE_STORE", (mkdtemp(folder.data()) + std::string("/values")).c_str(), 1);
  ScriptedShell shell;
  const auto schedule = [](const std::string &text) { return set(write_autoreb_param, ASN_OCTET_STR, text); };

  EXPECT_EQ(get(var_autoreb_enable, {18, 1})->integer(), 0);
  EXPECT_EQ(set(write_autoreb_enable, 1), 0);
  EXPECT_EQ(get(var_autoreb_enable, {18, 1})->integer(), 1);
  EXPECT_EQ(shell.commands(), Commands{});
  EXPECT_EQ(schedule("--by-time=03:30"), 0);
  EXPECT_EQ(schedule("--by-hour=9"), 0);
  EXPECT_EQ(shell.commands(), (Commands{"kill `pidof wdog`;/etc/autoreboot_by_time 03:30",
                                        "kill `pidof wdog`;/etc/autoreboot_by_hour 9"}));
  EXPECT_EQ(set(write_autoreb_enable, 2), 0);
  EXPECT_EQ(shell.commands(), (Commands{"wdog --test=1 \"~;1;6:n;~;2;1:0;s;e\" path=/etc", "kill `pidof wdog`"}));
  EXPECT_EQ(schedule("--by-time=99:99"), 0);
  EXPECT_EQ(schedule("--by-hour=xx"), 0);
  EXPECT_EQ(schedule("--by-hour=23"), 0);
  for (const char *text :
       {"--by-time=3:30", "--by-time=3:300", "--by-time=03-30", "--by-time=0:300", "--by-time=03::5", "--by-hour=24",
        "--by-hour=123", "--by-hour==9=", "--by-hour9==", "--by-days=12", "x--by-time=", ""}) {
    EXPECT_EQ(schedule(text), SNMP_ERR_WRONGLENGTH) << text;
  }
  EXPECT_EQ(set(write_autoreb_param, ASN_INTEGER, number(1)), SNMP_ERR_WRONGTYPE);
  EXPECT_EQ(get(var_autoreb_param, {18, 2})->bytes, "--by-hour=23");
  char half[] = "--by-hour";
  autoreb_param_parse_config("autoreb_param", half);
  EXPECT_EQ(set(write_autoreb_enable, 1), 0);
  EXPECT_EQ(shell.commands(), Commands{});
  std::filesystem::remove_all(folder);
}

}  // namespace
