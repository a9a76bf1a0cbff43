#include "mib/radio/radio.hpp"

#include <gtest/gtest.h>

#include "tests/unit/request.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
zol::FindMethod var_wlan_opmode, var_wlan_profilemode, var_wlan_ssid, var_wlan_countrycode, var_wlan_networkhidden,
    var_wlan_kickclientmaclist, var_wlan_channel, var_wlan_datarate, var_wlan_binterval, var_wlan_rtsthreshold,
    var_wlan_ginterval, var_wlan_txpower, var_wlan_antenna, var_chann_specwidth, var_wlan_acktimeoutauto,
    var_wlan_acktimeoutfixed;
WriteMethod write_wlan_index, write_wlan_opmode, write_wlan_profilemode, write_wlan_ssid, write_wlan_countrycode,
    write_wlan_networkhidden, write_wlan_kickclientmaclist, write_wlan_channel, write_wlan_datarate,
    write_wlan_binterval, write_wlan_rtsthreshold, write_wlan_ginterval, write_wlan_txpower, write_wlan_antenna,
    write_chann_specwidth, write_wlan_acktimeoutauto, write_wlan_acktimeoutfixed;
extern int32_t wlan_channel;
int set_wlan_channel(int32_t channel);
}

namespace {

using Commands = std::vector<std::string>;

class Radio : public testing::Test {
 protected:
  void SetUp() override { wlan_index = 3; }
  void TearDown() override { wlan_index = 0; }
  ScriptedShell shell;
};

struct Reader {
  zol::FindMethod *find;
  std::string command;
  int32_t without_output;
  int32_t when_not_started;
};

const Reader opmode{var_wlan_opmode, R"(uci show wireless | grep "wifi-iface\[3\]")", 0, 255};
const Reader standard{var_wlan_profilemode, "iwinfo ath3 info", 8, 255};
const Reader country{var_wlan_countrycode, R"(uci show wireless | grep "wifi3.country=")", 0, 0};
const Reader hidden{var_wlan_networkhidden, R"(uci show wireless | grep '\[3\].hidden')", 2, 2};
const Reader channel{var_wlan_channel, "uci show wireless.wifi3.channel", 0, 0};
const Reader beacon{var_wlan_binterval, "uci show wireless.wifi3.bintval", 0, 0};
const Reader rts{var_wlan_rtsthreshold, "uci show wireless.@wifi-iface[3].rts", 0, 0};
const Reader guard{var_wlan_ginterval, "uci show wireless.@wifi-iface[3].shortgi", 1, 0};
const Reader antenna{var_wlan_antenna, "uci show wireless.wifi3.chainmask", 3, 0};
const Reader distance{var_wlan_acktimeoutfixed, "uci show wireless.wifi3.distance", 0, 0};
const Reader power{var_wlan_txpower, "uci show wireless.wifi3.txpower", 0, 0};
const Reader width{var_chann_specwidth, "uci show wireless | grep 'wifi3.hwmode'", 40, 40};
const Reader ack{var_wlan_acktimeoutauto, "uci show wireless.wifi3.autoack", 2, 2};
const Reader rate{var_wlan_datarate, R"(uci show wireless | grep "\[3\].manrate")", 0, 0};

struct Reading {
  const Reader &reader;
  std::string output;
  int32_t answer;
};

const Reading readings[] = {
    {opmode, "x.wds=1\nx.mode=ap\n", 1},
    {opmode, "x.mode=sta", 2},
    {opmode, "x.mode=sta\nx.wds=1\n", 3},
    {opmode, "x.mode=adapter\nx.wds=1\n", 4},
    {opmode, "x.mode=sta\nx.mode=ap wds=1\n", 0},
    {standard, "ESSID: \"x\"\n HW Mode(s): 802.11an\n", 7},
    {standard, "an: 802.11bgn\n802.11an\n", 8},
    {country, "wireless.wifi3.country=840\nwireless.wifi3.country=5\n", 840},
    {hidden, "x.hidden=0\nx.hidden=1\nx.hidden='0'\n", 1},
    {hidden, "x.hidden=1\nabcd\nx.hidden=0\n", 1},
    {hidden, "x.hidden=1\nabcde\nx.hidden=0\n", 2},
    {channel, "wireless.wifi3.channel=36\n", 36},
    {channel, "wireless.wifi3.channel=auto\nx.channel=11\nx.channel=1\n", 11},
    {channel, "wireless.wifi3.channel='6'\n", 0},
    {beacon, "first line\nwireless.wifi3.bintval=200\n", 200},
    {rts, "wireless.cfg033579.rts=2346\n", 2346},
    {guard, "wireless.cfg033579.shortgi=0\n", 0},
    {guard, "wireless.cfg033579.shortgi=\n", 1},
    {antenna, "wireless.wifi3.chainmask=1\n", 1},
    {distance, "wireless.wifi3.distance=1500\n", 1500},
    {power, "wireless.wifi3.txpower=max\n", 0},
    {power, "wireless.wifi3.txpower=17\nwireless.wifi3.txpower=1\n", 17},
    {width, "wireless.wifi3.hwmode=auto\nwireless.wifi3.hwmode=11ng20\n", 20},
    {width, "wireless.wifi3.hwmode=11ng5\n", 40},
    {width, "wireless.wifi3.hwmode=11na\nwireless.wifi3.hwmode=11ng20\n", 40},
    {width, "wireless.wifi3.hwmode=11ngHT\n", 40},
    {ack, "nothing\nx=0\nx=1\nx=10\n", 1},
    {rate, "wireless.@wifi-iface[3].manrate=auto\nwireless.@wifi-iface[3].manrate=0x0e0e0e0e\n", 0},
    {rate, "wireless.@wifi-iface[3].manrate=0x12345678\n", 305419896},
    {rate, "wireless.@wifi-iface[3].manrate=0xf0000000\n", -268435456},
    {rate, "wireless.@wifi-iface[3].manrate=" + std::string(200, '7') + "\n", 0},
};

TEST_F(Radio, ANumberIsWhatItsCommandPrints) {
  for (const auto &[reader, output, expected] : readings) {
    shell.answers(reader.command, output);
    EXPECT_EQ(get(reader.find, {3, 1})->integer(), expected) << reader.command << ": " << output;
    EXPECT_EQ(shell.commands(), Commands{reader.command});
    shell.answers(reader.command, "");
    EXPECT_EQ(get(reader.find, {3, 1})->integer(), reader.without_output) << reader.command;
    shell.commands();
  }
  shell.cannot_start();
  for (const Reading &reading : readings) {
    EXPECT_EQ(get(reading.reader.find, {3, 1})->integer(), reading.reader.when_not_started) << reading.reader.command;
  }
}

TEST_F(Radio, TheNetworksNameIsTheTextAsPrinted) {
  const std::string command = R"(uci show wireless | grep "iface\[3\].ssid=")";
  const std::pair<std::string, std::string> names[] = {
      {"", "unknown"},
      {"wireless.@wifi-iface[3].ssid='a=b' \nwireless.@wifi-iface[3].ssid=c\n", "'a=b' "},
      {"wireless.@wifi-iface[3].ssid=" + std::string(70, 's') + "\n", std::string(64, 's')},
  };
  for (const auto &[output, expected] : names) {
    shell.answers(command, output);
    EXPECT_EQ(get(var_wlan_ssid, {3, 1})->bytes, expected);
    EXPECT_EQ(shell.commands(), Commands{command});
  }
  const char *for_the_threads = get_ssid_name(3);
  EXPECT_STREQ(get_ssid(4), "unknown");
  EXPECT_EQ(for_the_threads, std::string(70, 's'));
  shell.cannot_start();
  EXPECT_EQ(get(var_wlan_ssid, {3, 1})->bytes, "unknown");
}

struct Setting {
  WriteMethod *write;
  int32_t value;
  /// What runs, without the commit behind it.
  std::string command;
};

const std::string network = "uci set wireless.@wifi-iface[3].";
const std::string radio = "uci set wireless.wifi3.";

const Setting settings[] = {
    {write_wlan_index, 3, ""},
    {write_wlan_opmode, 0, network + "mode=ap;" + network + "wds=0"},
    {write_wlan_opmode, 1, network + "mode=ap;" + network + "wds=1"},
    {write_wlan_opmode, 2, network + "mode=sta;" + network + "wds=0"},
    {write_wlan_opmode, 3, network + "mode=sta;" + network + "wds=1"},
    {write_wlan_opmode, 4, network + "mode=adapter"},
    {write_wlan_profilemode, 7, ""},
    {write_wlan_countrycode, 840, radio + "country=840"},
    {write_wlan_networkhidden, 1, network + "hidden=1"},
    {write_wlan_networkhidden, 2, network + "hidden=0"},
    {write_wlan_channel, 36, radio + "channel=36"},
    {write_wlan_datarate, 0, network + "manrate=auto"},
    {write_wlan_datarate, 1, network + "manrate=0x0b0b0b0b"},
    {write_wlan_datarate, 24, network + "manrate=0x8f8f8f8f"},
    {write_wlan_datarate, 25, ""},
    {write_wlan_binterval, 0, radio + "bintval=0"},
    {write_wlan_rtsthreshold, 2346, network + "rts=2346"},
    {write_wlan_ginterval, 0, network + "shortgi=0"},
    {write_wlan_txpower, 0, radio + "txpower=max"},
    {write_wlan_txpower, 26, radio + "txpower=26"},
    {write_wlan_antenna, 1, radio + "chainmask=1"},
    {write_chann_specwidth, 20, radio + "hwmode=11ng20"},
    {write_chann_specwidth, 40, radio + "hwmode=11ng"},
    {write_wlan_acktimeoutauto, 1, radio + "autoack=1"},
    {write_wlan_acktimeoutauto, 2, radio + "autoack=0"},
    {write_wlan_acktimeoutfixed, 300, radio + "distance=300"},
};

Commands committed(const std::string &command) { return {command + ";uci commit wireless"}; }

TEST_F(Radio, ASetRunsItsCommand) {
  for (const auto &[write, value, command] : settings) {
    EXPECT_EQ(set(write, value), 0) << command;
    EXPECT_EQ(shell.commands(), command.empty() ? Commands{} : committed(command));
  }
  // No SET lets it through; whoever calls the setter itself can.
  set_wlan_channel(0);
  EXPECT_EQ(shell.commands(), committed(radio + "channel=auto"));
}

TEST_F(Radio, TextsMayBeEmptyAndHave64Characters) {
  std::string text(64, 'x');
  for (const std::string &name : {std::string(), text}) {
    EXPECT_EQ(set(write_wlan_ssid, ASN_OCTET_STR, name), 0);
    EXPECT_EQ(shell.commands(), committed(std::string(network).append("ssid='").append(name).append("'")));
    EXPECT_EQ(set(write_wlan_kickclientmaclist, ASN_OCTET_STR, name), 0);
    EXPECT_EQ(get(var_wlan_kickclientmaclist, {3, 1})->bytes, name);
  }
  text += 'x';
  EXPECT_EQ(set(write_wlan_ssid, ASN_OCTET_STR, text), SNMP_ERR_WRONGLENGTH);
  EXPECT_EQ(set(write_wlan_kickclientmaclist, ASN_OCTET_STR, text), SNMP_ERR_WRONGLENGTH);
  EXPECT_EQ(shell.commands(), Commands{});
}

TEST_F(Radio, UndoRestoresTheValueAndRunsNothing) {
  set(write_wlan_channel, 6);
  set(write_wlan_channel, 11);
  shell.commands();
  EXPECT_EQ(set_phase(write_wlan_channel, MODE_SET_UNDO, 11), 0);
  EXPECT_EQ(wlan_channel, 6);
  EXPECT_EQ(shell.commands(), Commands{});
}

}  // namespace
