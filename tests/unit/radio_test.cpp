// The radio objects, on the third wireless interface: what each reads from a command's output, and what a SET runs.

#include "mib/radio/radio.hpp"

#include <gtest/gtest.h>

#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

class Radio : public testing::Test {
 protected:
  void SetUp() override { wlan_index = 3; }
  void TearDown() override { wlan_index = 0; }
};

const std::string mode = R"(uci show wireless | grep "wifi-iface\[3\]")";
const std::string standard = "iwinfo ath3 info";
const std::string country = R"(uci show wireless | grep "wifi3.country=")";
const std::string hidden = R"(uci show wireless | grep '\[3\].hidden')";
const std::string channel = "uci show wireless.wifi3.channel";
const std::string beacon = "uci show wireless.wifi3.bintval";
const std::string rts = "uci show wireless.@wifi-iface[3].rts";
const std::string guard = "uci show wireless.@wifi-iface[3].shortgi";
const std::string chains = "uci show wireless.wifi3.chainmask";
const std::string distance = "uci show wireless.wifi3.distance";
const std::string power = "uci show wireless.wifi3.txpower";
const std::string width = "uci show wireless | grep 'wifi3.hwmode'";
const std::string ack = "uci show wireless.wifi3.autoack";
const std::string rate = R"(uci show wireless | grep "\[3\].manrate")";
const std::string name = R"(uci show wireless | grep "iface\[3\].ssid=")";

Commands radio(const std::string &setting) { return {"uci set wireless.wifi3." + setting + ";uci commit wireless"}; }
Commands network(const std::string &setting, const std::string &second = "") {
  const std::string owner = "uci set wireless.@wifi-iface[3].";
  return {owner + setting + (second.empty() ? "" : ";" + owner + second) + ";uci commit wireless"};
}

const Case cases[] = {
    {"wlan_opmode", 0, mode, "", network("mode=ap", "wds=0")},
    {"wlan_opmode", 1, mode, "x.wds=1\nx.mode=ap\n", network("mode=ap", "wds=1")},
    {"wlan_opmode", 2, mode, "x.mode=sta", network("mode=sta", "wds=0")},
    {"wlan_opmode", 3, mode, "x.mode=sta\nx.wds=1\n", network("mode=sta", "wds=1")},
    {"wlan_opmode", 4, mode, "x.mode=adapter\nx.wds=1\n", network("mode=adapter")},
    {"wlan_opmode", 0, mode, "x.mode=sta\nx.mode=ap wds=1\n"},
    {"wlan_profilemode", 7, standard, "ESSID: \"x\"\n HW Mode(s): 802.11an\n", nothing},
    {"wlan_profilemode", 8, standard, "an: 802.11bgn\n802.11an\n"},
    {"wlan_profilemode", 8, standard, ""},
    {"wlan_ssid", "unknown", name, ""},
    {"wlan_ssid", "'a=b' ", name, "w.@wifi-iface[3].ssid='a=b' \nw.@wifi-iface[3].ssid=c\n", network("ssid=''a=b' '")},
    {"wlan_ssid", std::string(64, 's'), name, "w.@wifi-iface[3].ssid=" + std::string(70, 's') + "\n"},
    {"wlan_ssid", "", "", "", network("ssid=''")},
    {"wlan_countrycode", 840, country, "wireless.wifi3.country=840\nwireless.wifi3.country=5\n", radio("country=840")},
    {"wlan_countrycode", 0, country, ""},
    {"wlan_networkhidden", 1, hidden, "x.hidden=0\nx.hidden=1\nx.hidden='0'\n", network("hidden=1")},
    {"wlan_networkhidden", 1, hidden, "x.hidden=1\nabcd\nx.hidden=0\n"},
    {"wlan_networkhidden", 2, hidden, "x.hidden=1\nabcde\nx.hidden=0\n", network("hidden=0")},
    {"wlan_networkhidden", 2, hidden, ""},
    {"wlan_channel", 36, channel, "wireless.wifi3.channel=36\n", radio("channel=36")},
    {"wlan_channel", 11, channel, "wireless.wifi3.channel=auto\nx.channel=11\nx.channel=1\n"},
    {"wlan_channel", 0, channel, "wireless.wifi3.channel='6'\n"},
    {"wlan_channel", 0, channel, "wireless.wifi3.xchannel=6\n"},
    {"wlan_binterval", 200, beacon, "first line\nwireless.wifi3.bintval=200\n", radio("bintval=200")},
    {"wlan_binterval", 0, beacon, "", radio("bintval=0")},
    {"wlan_rtsthreshold", 2346, rts, "wireless.cfg033579.rts=2346\n", network("rts=2346")},
    {"wlan_ginterval", 0, guard, "wireless.cfg033579.shortgi=0\n", network("shortgi=0")},
    {"wlan_ginterval", 1, guard, "wireless.cfg033579.shortgi=\n"},
    {"wlan_antenna", 1, chains, "wireless.wifi3.chainmask=1\n", radio("chainmask=1")},
    {"wlan_antenna", 3, chains, ""},
    {"wlan_acktimeoutfixed", 1500, distance, "wireless.wifi3.distance=1500\n", radio("distance=1500")},
    {"wlan_txpower", 0, power, "wireless.wifi3.txpower=max\n", radio("txpower=max")},
    {"wlan_txpower", 17, power, "wireless.wifi3.txpower=17\nwireless.wifi3.txpower=1\n", radio("txpower=17")},
    {"chann_specwidth", 20, width, "wireless.wifi3.hwmode=auto\nw.hwmode=11ng20\n", radio("hwmode=11ng20")},
    {"chann_specwidth", 40, width, "wireless.wifi3.hwmode=11ng5\n", radio("hwmode=11ng")},
    {"chann_specwidth", 40, width, "wireless.wifi3.hwmode=11na\nwireless.wifi3.hwmode=11ng20\n"},
    {"chann_specwidth", 40, width, "wireless.wifi3.hwmode=11ngHT\n"},
    {"wlan_acktimeoutauto", 1, ack, "nothing\nx=0\nx=1\nx=10\n", radio("autoack=1")},
    {"wlan_acktimeoutauto", 2, ack, "", radio("autoack=0")},
    {"wlan_datarate", 0, rate, "w.manrate=auto\nwireless.@wifi-iface[3].manrate=0x0e0e0e0e\n", network("manrate=auto")},
    {"wlan_datarate", 1, rate, "wireless.@wifi-iface[3].manrate=0x0b0b0b0b\n", network("manrate=0x0b0b0b0b")},
    {"wlan_datarate", 4, rate, "wireless.@wifi-iface[3].manrate=0x0e0e0e0e\n", network("manrate=0x0e0e0e0e")},
    {"wlan_datarate", 24, rate, "wireless.@wifi-iface[3].manrate=0x8f8f8f8f\n", network("manrate=0x8f8f8f8f")},
    {"wlan_datarate", 25, "", "", nothing},
    {"wlan_datarate", 305419896, rate, "wireless.@wifi-iface[3].manrate=0x12345678\n"},
    {"wlan_datarate", -268435456, rate, "wireless.@wifi-iface[3].manrate=0xf0000000\n"},
    {"wlan_datarate", 0, rate, "wireless.@wifi-iface[3].manrate=" + std::string(200, '7') + "\n"},
    {"wlan_kickclientmaclist", std::string(64, 'k'), "", "", nothing},
};

TEST_F(Radio, ObjectsReadAndRunTheirCommands) { check(cases); }

TEST_F(Radio, WithoutCommandsObjectsAnswerTheirPresets) {
  const std::initializer_list<std::pair<const char *, Value>> presets = {
      {"wlan_opmode", 255},      {"wlan_profilemode", 255},  {"wlan_ssid", "unknown"}, {"wlan_countrycode", 0},
      {"wlan_networkhidden", 2}, {"wlan_channel", 0},        {"wlan_ginterval", 0},    {"wlan_antenna", 0},
      {"chann_specwidth", 40},   {"wlan_acktimeoutauto", 2}, {"wlan_datarate", 0}};
  check_without_commands(presets);
}

TEST_F(Radio, TheThreadsReadANameOfTheirOwn) {
  ScriptedShell shell;
  shell.answers(name, "wireless.@wifi-iface[3].ssid=" + std::string(70, 's') + "\n");
  const char *for_the_threads = get_ssid_name(3);
  EXPECT_STREQ(get_ssid(4), "unknown");
  EXPECT_EQ(for_the_threads, std::string(70, 's'));
}

TEST_F(Radio, UndoRestoresTheValueAndRunsNothing) {
  set("wlan_kickclientmaclist", "before");
  set("wlan_kickclientmaclist", "after");
  ScriptedShell shell;
  EXPECT_EQ(set_phase("wlan_kickclientmaclist", MODE_SET_UNDO, "after"), 0);
  EXPECT_EQ(get("wlan_kickclientmaclist"), Value("before"));
  EXPECT_EQ(shell.commands(), Commands{});
}

}  // namespace
