// The objects of the network services: what each reads from a command's output, and what a SET runs.

#include "mib/services/services.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "core/address.hpp"
#include "core/value_store.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
extern uint32_t dhcp_pridns;
int set_dhcp_pridns(uint32_t);
void dhcp_gatewayip_parse_config(const char *, char *), autoreb_param_parse_config(const char *, char *);
}

namespace {

using namespace std::string_literals;

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

/// What a SET of UCI options runs.
Commands store(const std::string &package, const std::string &setting) {
  return {joined({"uci set ", package, ".", setting, ";uci commit ", package})};
}

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

const std::string log = "uci show system | grep log_";
const std::string protocol_warning = "uci: warning\n";
const Commands dhcp_on = {start,
                          "uci set dhcp.lan.ignore=0;uci commit dhcp;/etc/init.d/dnsmasq enable;killall dnsmasq;"
                          "/etc/init.d/dnsmasq start"};
const Commands dhcp_off = {
    "uci set dhcp.lan.ignore=1;uci commit dhcp;/etc/init.d/dnsmasq disable;/etc/init.d/dnsmasq stop"};
const Commands ntp_on = {"/etc/init.d/sysntpd enable;/etc/init.d/sysntpd start"};
const Commands ntp_off = {"/etc/init.d/sysntpd disable;/etc/init.d/sysntpd stop"};
const Commands snmp_on = {"/etc/init.d/snmpd enable;uci set snmpd.main.enabled=1;uci commit snmpd"};
const Commands snmp_off = {"/etc/init.d/snmpd disable;uci set snmpd.main.enabled=0;uci commit snmpd"};
Commands dns_list(const std::string &side, const std::string &list) {
  const std::string set = joined({"uci set network.", side, ".dns='", list, "'"});
  // The commit is joined to the list, and it is meant so.
  return {joined({"uci delete network.", side, ".dns"}), set, set + "uci commit network"};
}
Commands ntp_list(std::initializer_list<std::string> servers) {
  std::string line = "uci set system.ntp.server=\"\";";
  for (const std::string &server : servers) line += joined({"uci add_list system.ntp.server=\"", server, "\";"});
  return {line + "uci commit system"};
}

// clang-format off
const Case objects[] = {
    {"dhcp_server", 1, ignore, "", dhcp_on},
    {"dhcp_server", 2, ignore, "dhcp.lan.ignore=1\n", dhcp_off},
    {"dhcp_server", 1, ignore, "dhcp.lan.ignore=1\ndhcp.wlan.ignore=0\ndhcp.vlan.ignore=yes\n"},
    {"dhcp_server", 1, ignore, "x=1\ndhcp.lan.ignore=1\n"},
    {"dhcp_ipstart", address(10, 1, 2, 77), "", "", store("dhcp", "lan.start=77")},
    {"dhcp_ipend", address(10, 1, 2, 180), "", "", {start, store("dhcp", "lan.limit=81")[0]}},
    {"dhcp_ipend", address(10, 1, 2, 75), "", "", {start, store("dhcp", "lan.limit=0")[0]}},
    {"dhcp_netmaskip", address(255, 0, 0, 0), "", "", store("dhcp", "lan.netmask=255.0.0.0")},
    {"dhcp_gatewayip", address(10, 1, 2, 3), "", "", store("network", "lan.gateway=10.1.2.3")},
    {"dhcp_leaseperiod", 720, lease, ""},
    {"dhcp_leaseperiod", 360, lease, "dhcp.lan.leasetime=6h\n", store("dhcp", "lan.leasetime=360m")},
    {"dhcp_leaseperiod", 1563, lease, "dhcp.lan.leasetime=1d2h3m\n"},
    {"dhcp_leaseperiod", 150, lease, "dhcp.lan.leasetime=2h30m\n"},
    {"dhcp_leaseperiod", 1, lease, "dhcp.lan.leasetime=1d30m\n"},
    {"dhcp_leaseperiod", 120, lease, "dhcp.lan.leasetime=2d5h\n"},
    {"dhcp_leaseperiod", 720, lease, "dhcp.lan.leasetime=3600\n"},
    {"dhcp_leaseperiod", 30, lease, "dhcp.lan.leasetime=30m\ndhcp.vlan.leasetime=1d\n"},
    {"lan_proto", 1, lan_protocol, "uci: warning\nnetwork.lan.proto=dhcp\n", {"uci set network.lan.proto=dhcp"}},
    {"lan_proto", 1, lan_protocol, "network.lan.proto=pppoe\n"},
    {"lan_proto", 0, lan_protocol, "network.lan.proto=static\n", {"uci set network.lan.proto=static"}},
    {"wan_proto", 2, wan_protocol, "network.wan.proto=pptp\n", store("network", "wan.proto=pptp")},
    {"wan_proto", 3, wan_protocol, "network.wan.proto=pppoe\n", store("network", "wan.proto=pppoe")},
    {"wan_proto", 4, wan_protocol, "network.wan.proto=l2tp\n", store("network", "wan.proto=l2tp")},
    {"wan_proto", 4, wan_protocol, "network.wan.proto=none\n"},
    {"dns_servers", "8.8.8.8;8.8.4.4", lan_dns, "x=1\nnetwork.lan.dns=8.8.8.8 8.8.4.4\nnetwork.lan.dns=1\n",
     dns_list("lan", "8.8.8.8 8.8.4.4")},
    {"dns_servers", repeated("1;", 128), "", "", dns_list("lan", repeated("1 ", 128))},
    // A line is read up to its 255th character, which is dropped.
    {"wan_dnsservers", repeated("1;", 119), wan_dns, "network.wan.dns=" + repeated("1 ", 128) + "\n"},
    {"wan_dnsservers", "1.1.1.1;9.9.9.9", "", "", dns_list("wan", "1.1.1.1 9.9.9.9")},
    {"eth1_mac", "\x00\x0a\x1b\x2c\x3d\x4e"s, port, "HWaddr\nx: HWaddr 00:0a:1B:2c:3d:4e  \n"},
    {"eth1_mac", "\0\0\0\0\0\0"s, port, "eth0.1 Link encap:UNSPEC\n"},
    {"eth1_mac", "\0\x30\x30\x30\x30\x30"s, port, "eth0.1: HWaddr\n"},
    {"ntp_client", 2, "", "", ntp_off},
    {"ntp_client", 1, "", "", ntp_on},
    {"provide_ntpserver", 2, serves, "", store("system", "ntp.enable_server=0")},
    {"provide_ntpserver", 1, serves, "system.ntp.enable_server=0\na=1\nb=10\n", store("system", "ntp.enable_server=1")},
    {"ntpserver_candidates", "a;b;c", ntp_servers, "system.ntp.server=a b c\n", ntp_list({"a", "b", "c"})},
    {"ntpserver_candidates", "b;c", ntp_servers, "s=a\ns=b c\n\ns=d\n"},
    // Empty fields are counted but not taken: a server behind one is added again.
    {"ntpserver_candidates", "a;;b", "", "", ntp_list({"a", "b", "b"})},
    {"ntpserver_candidates", ";a", "", "", ntp_list({"a", "a"})},
    {"ntpserver_candidates", ";", "", "", ntp_list({"", ""})},
    {"ntpserver_candidates", repeated("1;", 128), "", "", {joined({"uci set system.ntp.server=\"\";",
     repeated("uci add_list system.ntp.server=\"1\";", 129), "uci commit system"})}},
    {"syslog_size", 64, log + "size", "s.log_size=64\nx.log_size=1\n", store("system", "@system[0].log_size=64")},
    {"syslog_size", 0, log + "size", ""},
    {"syslog_srvport", 514, log + "port", "s.log_port=514\n", store("system", "@system[0].log_port=514")},
    {"syslog_srvip", address(10, 2, 3, 4), log + "ip", "log_ip=1.1.1.1\nlog_ip=10.2.3.4\n\nlog_ip=9.9.9.9\n",
     store("system", "@system[0].log_ip=10.2.3.4")},
    {"syslog_srvip", address(10, 2, 3, 4), log + "ip", "s.log_ip=loghost\n"},
    {"snmp_server", 2, "uci show snmpd.main.enabled", "", snmp_off},
    {"snmp_server", 1, "uci show snmpd.main.enabled", "x\nsnmpd.main.enabled=1\n", snmp_on},
    {"ro_community", "see", reads, "snmpd.main.v2read=see all\n", store("snmpd", "main.v2read='see'")},
    {"ro_community", "see", reads, "snmpd.main.v2readers=all\nsnmpd.main.v2read=more\n"},
    {"ro_community", std::string(64, 'r'), reads, "snmpd.main.v2read=" + std::string(90, 'r') + "\n"},
    {"rw_community", "change", "uci show snmpd.main.v2write", "snmpd.main.v2write=change\n", store("snmpd",
     "main.v2write='change'")},
    {"trap_enable", 1, "uci show snmpd.main.trapen", "snmpd.main.trapen=1\n", store("snmpd", "main.trapen=1")},
    {"trap_enable", 2, "uci show snmpd.main.trapen", "snmpd.main.trapen=0\n", store("snmpd", "main.trapen=0")},
    {"trap_srvip", address(10, 0, 0, 9), "uci show snmpd.main.trapip", "snmpd.main.trapip=10.0.0.9\n", store("snmpd",
     "main.trapip=10.0.0.9")},
    {"trap_srvip", address(0, 0, 0, 0), "uci show snmpd.main.trapip", ""},
    {"trap_port", 1162, "uci show snmpd.main.trapport", "snmpd.main.trapport=1162\n", store("snmpd",
     "main.trapport=1162")},
    {"trap_port", 0, "uci show snmpd.main.trapport", ""},
};
// clang-format on

TEST(Services, ObjectsReadAndRunTheirCommands) { check(objects); }

TEST(Services, ThePoolLiesInTheNetworkOfTheLan) {
  const struct {
    std::string lan_ip, start, limit;
    Value first, last;
  } pools[] = {
      {"l.ipaddr=10.1.2.3\n", "x\ns.start=20\ns.start=7\n", "s.limit=50\n", address(10, 1, 2, 20),
       address(10, 1, 2, 69)},
      {"", "", "", address(0, 0, 0, 100), address(0, 0, 0, 249)},
      {"ip=10.1.2.3\n", "start=106\n", "", address(10, 1, 2, 106), address(10, 1, 2, 254)},
      {"ip=10.1.2.3\n", "start=300\n", "", address(10, 1, 3, 44), address(10, 1, 2, 254)},
      {"ip=10.1.2.3\n", "s=0\n", "l=0\n", address(10, 1, 2, 0), address(255, 255, 255, 255)},
  };
  for (const auto &pool : pools) {
    SCOPED_TRACE(pool.lan_ip + pool.start + pool.limit);
    ScriptedShell shell;
    shell.answers(lan_ip, pool.lan_ip).answers(start, pool.start).answers(limit, pool.limit);
    EXPECT_EQ(get("dhcp_ipstart"), pool.first);
    EXPECT_EQ(shell.commands(), (Commands{lan_ip, start}));
    EXPECT_EQ(get("dhcp_ipend"), pool.last);
    EXPECT_EQ(shell.commands(), (Commands{start, limit, lan_ip}));
  }
}

TEST(Services, APoolThatStartsAtNothingIsReplaced) {
  ScriptedShell shell;
  // It still prints the old one when it is asked again.
  shell.answers(start, "dhcp.lan.start=0\n");
  EXPECT_EQ(set("dhcp_server", 1), 0);
  EXPECT_EQ(shell.commands(), (Commands{start, "uci set dhcp.lan.start=100;uci commit dhcp", start,
                                        "uci set dhcp.lan.limit=250;uci commit dhcp", dhcp_on[1]}));
}

TEST(Services, WithoutCommandsReadersKeepTheirPresets) {
  ScriptedShell shell;
  set("ntpserver_candidates", "held");
  const std::initializer_list<std::pair<const char *, Value>> presets = {
      {"dhcp_server", 1},           {"dhcp_leaseperiod", 720}, {"time_zone", -1},
      {"provide_ntpserver", 2},     {"syslog_size", 0},        {"snmp_server", 2},
      {"trap_enable", 2},           {"trap_port", 0},          {"ntpserver_candidates", "held"},
      {"eth1_mac", "\0\0\0\0\0\0"s}};
  check_without_commands(presets);
  shell.cannot_start();
  // The setter fails, but the manager is not told, and the value is taken.
  EXPECT_EQ(set_dhcp_pridns(1), -1);
  EXPECT_EQ(set("dhcp_pridns", address(10, 1, 2, 3)), 0);
  EXPECT_EQ(dhcp_pridns, 0x0A010203U);
}

TEST(Services, WhatTheClientsAreToldIsReadWhenTheModuleStarts) {
  const std::tuple<const char *, Commands, Value> modules[] = {
      {"dhcp_netmaskip", {netmask, dhcp_netmask}, address(255, 255, 0, 0)},
      {"dhcp_gatewayip", {gateway}, address(10, 1, 2, 254)},
      {"dhcp_pridns", {dns}, address(9, 9, 9, 9)},
      {"dhcp_secdns", {dns}, address(8, 8, 8, 8)},
      {"wan_dnsservers", {wan_dns}, ""},
  };
  for (const auto &[object, commands, answer] : modules) {
    const zol::Module &module = *row_of(object).module;
    ScriptedShell shell;
    shell.answers(netmask, "network.lan.netmask=255.255.255.0\n").answers(gateway, "lan.gateway=10.1.2.254\n");
    shell.answers(dhcp_netmask, "dhcp.lan.netmask=255.255.0.0\n").answers(dns, "network.lan.dns=9.9.9.9 8.8.8.8\n");
    EXPECT_EQ(registrations_of(module), 1);
    EXPECT_EQ(shell.commands(), commands);
    shell.cannot_start();
    // The last one registers whether it can be read or not.
    EXPECT_EQ(registrations_of(module), object == std::string("wan_dnsservers") ? 1 : 0) << object;
    if (answer.type == ASN_IPADDRESS) {
      EXPECT_EQ(get(object), answer);
    }
  }
}

TEST(Services, ADnsServerKeepsTheOther) {
  const std::tuple<const char *, std::string, std::string> servers[] = {
      {"dhcp_pridns", "network.lan.dns=8.8.8.8 9.9.9.9\n", "\"10.0.200.255 9.9.9.9\""},
      {"dhcp_pridns", "network.lan.dns=8.8.8.8\n", "10.0.200.255"},
      {"dhcp_secdns", "network.lan.dns=8.8.8.8\n", "\"8.8.8.8 10.0.200.255\""},
      {"dhcp_secdns", "", "\"0.0.0.0 10.0.200.255\""},
  };
  for (const auto &[object, present, written] : servers) {
    ScriptedShell shell;
    shell.answers(dns, present);
    EXPECT_EQ(set(object, address(10, 0, 200, 255)), 0);
    EXPECT_EQ(shell.commands(), (Commands{dns, store("network", "lan.dns=" + written)[0]})) << present;
  }
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
  for (const Timezone &row : gTimezone) ++regions[name(row).substr(0, 3)];
  EXPECT_EQ(testing::PrintToString(regions),
            R"({ ("Afr", 51), ("Ame", 144), ("Ant", 10), ("Arc", 1), ("Asi", 74), ("Atl", 10), ("Aus", 12), )"
            R"(("Eur", 55), ("Ind", 11), ("Pac", 37) })");
  EXPECT_STREQ(gTimezone[100].name, "America/Glace Bay");
  EXPECT_STREQ(gTimezone[100].rule, "AST4ADT,M3.2.0,M11.1.0");
  EXPECT_STREQ(gTimezone[404].rule, "WFT-12");
  // This one has no terminator.
  EXPECT_EQ(std::string(gTimezone[370].rule, 40), "CHAST-12:45CHADT,M9.5.0/2:45,M4.1.0/3:45");
}

TEST(TimeZones, EveryRowComesBackAsItWasSet) {
  for (int32_t row = 0; row < 405; ++row) {
    ScriptedShell shell;
    ASSERT_EQ(set("time_zone", row), 0);
    std::string rule(gTimezone[row].rule, strnlen(gTimezone[row].rule, 40));
    if (row == 370) rule += "Pacific/Chuuk";
    const std::string name = gTimezone[row].name;
    EXPECT_EQ(shell.commands(),
              Commands{joined({"uci set system.@system[0].timezone='", rule, "';uci set system.@system[0].zonename='",
                               name, "';uci commit system"})});
    shell.answers(zone, joined({"s.timezone=", rule, "\ns.zonename=", name, "\n"}));
    EXPECT_EQ(get("time_zone")->integer(), row) << name;
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
    EXPECT_EQ(get("time_zone")->integer(), row) << output;
    EXPECT_EQ(shell.commands(), Commands{zone});
  }
  ScriptedShell shell;
  EXPECT_EQ(set("time_zone", -1), 0);
  EXPECT_EQ(
      shell.commands(),
      Commands{"uci set system.@system[0].timezone='UTC';uci delete system.@system[0].zonename;uci commit system"});
}

TEST(SnmpService, ARestartIsAskedForOnlyByOne) {
  EXPECT_EQ(set("snmp_restart", 0), 0);
  EXPECT_EQ(netsnmp_running, 1);
  EXPECT_EQ(set("snmp_restart", 1), 0);
  EXPECT_EQ(netsnmp_running, 0);
  EXPECT_EQ(is_reset, 1);
  netsnmp_running = 1;
}

TEST(AutomaticReboot, RunsTheWatchdogWithTheScheduleThatIsKept) {
  std::string folder = testing::TempDir() + "services-XXXXXX";
  setenv("ZOLARC_VALUE_STORE", (mkdtemp(folder.data()) + std::string("/values")).c_str(), 1);
  ScriptedShell shell;
  const auto schedule = [](const std::string &text) { return set("autoreb_param", text); };

  EXPECT_EQ(get("autoreb_enable")->integer(), 0);
  EXPECT_EQ(set("autoreb_enable", 1), 0);
  EXPECT_EQ(get("autoreb_enable")->integer(), 1);
  EXPECT_EQ(shell.commands(), Commands{});
  EXPECT_EQ(schedule("--by-time=03:30"), 0);
  EXPECT_EQ(schedule("--by-hour=9"), 0);
  EXPECT_EQ(shell.commands(), (Commands{"kill `pidof wdog`;/etc/autoreboot_by_time 03:30",
                                        "kill `pidof wdog`;/etc/autoreboot_by_hour 9"}));
  EXPECT_EQ(set("autoreb_enable", 2), 0);
  EXPECT_EQ(shell.commands(), (Commands{"wdog --test=1 \"~;1;6:n;~;2;1:0;s;e\" path=/etc", "kill `pidof wdog`"}));
  EXPECT_EQ(schedule("--by-time=99:99"), 0);
  EXPECT_EQ(schedule("--by-hour=xx"), 0);
  EXPECT_EQ(schedule("--by-hour=23"), 0);
  for (const char *text :
       {"--by-time=3:30", "--by-time=3:300", "--by-time=03-30", "--by-time=0:300", "--by-time=03::5", "--by-hour=24",
        "--by-hour=123", "--by-hour==9=", "--by-hour9==", "--by-days=12", "x--by-time=", ""}) {
    EXPECT_EQ(schedule(text), SNMP_ERR_WRONGLENGTH) << text;
  }
  EXPECT_EQ(get("autoreb_param")->bytes, "--by-hour=23");
  char half[] = "--by-hour";
  autoreb_param_parse_config("autoreb_param", half);
  EXPECT_EQ(set("autoreb_enable", 1), 0);
  EXPECT_EQ(shell.commands(), Commands{});
  std::filesystem::remove_all(folder);
}

}  // namespace
