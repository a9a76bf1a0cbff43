// The statistics of the wireless interfaces, the site survey and the DHCP leases, on what the device's tools print.

#include "mib/tables/tables.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>

#include "core/address.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

extern "C" {
extern char zol_wlan_mac[64];
extern zol::Ipv4 zol_ip_active;
}

namespace {

using namespace std::string_literals;

constexpr time_t now = 1'700'000'000;

const std::string bridges =
    "bridge name\tbridge id\t\tSTP enabled\tinterfaces\n"
    "br-lan\t\t8000.000a521b2c2e\tno\t\tath0\n\t\t\t\t\t\t\tath1\n\t\t\t\t\t\t\teth0.1\n";

const std::string iwconfig =
    "ath1      IEEE 802.11bgn  ESSID:\"warehouse\"\n"
    "          Mode:Master  Frequency:2.437 GHz  Access Point: 06:0a:52:1B:2C:30\n"
    "          Bit Rate:65 Mb/s   Tx-Power:20 dBm\n"
    "          Link Quality=50/94  Signal level=-60 dBm  Noise level=-95 dBm\n"
    "          Rx invalid nwid:77  Rx invalid crypt:2  Rx invalid frag:1\n"
    "          Tx excessive retries:418  Invalid misc:0   Missed beacon:5\n\n";

const std::string iwinfo =
    "ath1      ESSID: \"warehouse\"\n"
    "          ACK timeout  : 64 us\n"
    "          DFS status   : 2 (1: idle, 2: scanning, 3: detected)\n";

const std::string ifconfig =
    "ath1      Link encap:Ethernet  HWaddr 06:0A:52:1B:2C:30\n"
    "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1\n"
    "          RX packets:48211 errors:12 dropped:0 overruns:0 frame:0\n"
    "          TX packets:61277 errors:3 dropped:0 overruns:0 carrier:0\n"
    "          RX bytes:9218440 (8.7 MiB)  TX bytes:3000000000 (2.7 GiB)\n\n";

const std::string wlanconfig =
    "ADDR               AID CHAN RATE RSSI IDLE  TXSEQ  RXSEQ  CAPS        ACAPS ERP    STATE HTCAPS\n"
    "00:0b:6b:0a:01:02    1    6  130M   47    0      0      0 EPSs          0   0      f Q\n"
    "f4:5c:89:10:20:30    2    6   65M   34    0      0      0 EPSs          0   0      f Q\n";

std::optional<Value> cell(oid table, oid column, oid row) {
  const Oid place = {table, 1, column, row, 0};
  for (const RegisteredRow &registered : registered_rows()) {
    Oid name = registered.full;
    name.push_back(0);
    if (name.size() < place.size() || !std::equal(place.rbegin(), place.rend(), name.rbegin())) continue;
    const auto found = ask(registered, name, true);
    return found ? std::optional(found->value) : std::nullopt;
  }
  return std::nullopt;
}

class InterfaceStatistics : public testing::Test {
 protected:
  /// Two interfaces are there, and the table knows.
  void SetUp() override {
    registered_rows();
    shell.answers("brctl show", bridges);
    cell(4, 1, 1);
    shell.commands();
  }
  /// What a column of the second interface answers when `command` prints `output`.
  Value read(oid column, const std::string &command, const std::string &output) {
    shell.answers(command, output);
    const auto answer = cell(4, column, 2);
    EXPECT_EQ(shell.commands(), Commands{command}) << "column " << column;
    return answer.value_or("no answer");
  }
  ScriptedShell shell;
};

struct Figure {
  oid column;
  const char *command;
  const std::string &output;
  int32_t value;
};
const Figure figures[] = {
    {2, "iwinfo ath1 info", iwinfo, 64},      {3, "iwinfo ath1 info", iwinfo, 2},
    {4, "iwconfig ath1", iwconfig, 65},       {5, "wlanconfig ath1 list sta", wlanconfig, 2},
    {7, "ifconfig ath1", ifconfig, 61277},    {8, "ifconfig ath1", ifconfig, -1294967296},
    {9, "ifconfig ath1", ifconfig, 3},        {10, "iwconfig ath1", iwconfig, 418},
    {11, "iwconfig ath1", iwconfig, 5},       {12, "ifconfig ath1", ifconfig, 48211},
    {13, "ifconfig ath1", ifconfig, 9218440}, {14, "ifconfig ath1", ifconfig, 12},
    {15, "iwconfig ath1", iwconfig, 77},      {16, "iwconfig ath1", iwconfig, 2},
    {17, "iwconfig ath1", iwconfig, 1},
};

TEST_F(InterfaceStatistics, EveryFigureIsFoundInWhatItsToolPrints) {
  for (const Figure &figure : figures) {
    EXPECT_EQ(read(figure.column, figure.command, figure.output).integer(), figure.value) << figure.column;
    EXPECT_EQ(read(figure.column, figure.command, "").integer(), 0) << figure.column << ": nothing printed";
  }
  for (const oid column : {1U, 6U}) {
    EXPECT_EQ(read(column, "iwconfig ath1", iwconfig).bytes, "\x06\x0A\x52\x1B\x2C\x30") << column;
    EXPECT_EQ(read(column, "iwconfig ath1", "").bytes, "\0\0\0\0\0\0"s) << column;
  }
}

TEST_F(InterfaceStatistics, ACommandThatCannotBeStartedLeavesWhatWasReadBefore) {
  for (const Figure &figure : figures) read(figure.column, figure.command, figure.output);
  for (const oid column : {1U, 6U}) read(column, "iwconfig ath1", iwconfig);
  shell.cannot_start();
  for (const Figure &figure : figures) {
    const int32_t expected = figure.column == 3 ? 1 : figure.column == 5 ? 0 : figure.value;
    EXPECT_EQ(cell(4, figure.column, 2)->integer(), expected) << figure.column;
  }
  EXPECT_EQ(cell(4, 6, 2)->bytes, "\x06\x0A\x52\x1B\x2C\x30");
  int32_t value = 7;
  EXPECT_EQ(get_zol_bit_rate("ath0", &value), -1);
  EXPECT_EQ(get_zol_assoc_count("ath0", &value), 0);
  EXPECT_EQ(get_zol_wlan_mac("ath0", zol_wlan_mac), -1);
}

TEST_F(InterfaceStatistics, OddLines) {
  const std::tuple<oid, std::string, int32_t> cases[] = {
      {4, "Bit Rate=54 Mb/s\n", 0},
      {4, "Bit Rate:auto\nBit Rate:54\n", 0},
      {4, "Bit Rate:54", 5},
      // Lines are read in pieces of 127 characters, and every piece loses its last one.
      {4, std::string(116, '.') + "Bit Rate:1234\n", 1},
      {4, std::string(10'000, '.') + "\nBit Rate:54\n", 54},
      // One character of this tool's label is passed over, whatever it is.
      {2, "ACK timeout  :64\n", 4},
      {9, "TX packets:7 errors:8\nTX packets:7 errors:9\n", 8},
      {9, "TX packets: errors:8 \n", 0},
      {5, "00:0b:6\n00:\n", 1},
      {5, "00:0b\n00:0b:\n00:0b:6\n::::::\nab-cd-ef\n", 3},
  };
  for (const auto &[column, output, value] : cases) {
    const char *command = column == 2   ? "iwinfo ath1 info"
                          : column == 5 ? "wlanconfig ath1 list sta"
                          : column == 9 ? "ifconfig ath1"
                                        : "iwconfig ath1";
    EXPECT_EQ(read(column, command, output).integer(), value) << output;
  }
}

TEST_F(InterfaceStatistics, AnAddressIsTakenByPositionAndNotChecked) {
  const std::pair<std::string, std::string> cases[] = {
      {"Access Point: 06-0a 52.1b_2c:3f and more\n", "\x06\x0A\x52\x1B\x2C\x3F"},
      // 'N' 'O', '-' 'A', 'S' 'O', 'I' 'A', 'E' 'D': each letter counts from 'A' as ten, even beyond 'F'.
      {"Access Point: Not-Associated\n", "\x88\xDA\xD8\x2A\xED\0"s},
      {"Access Point: 06:0\n", "\x06\0\0\x30\x30\x30"s},
      {"Access Point:\n", "\0\x30\x30\x30\x30\x30"s},
      {"Access point: 06:0a:52:1b:2c:3f\n", "\0\0\0\0\0\0"s},
  };
  for (const auto &[output, octets] : cases) EXPECT_EQ(read(1, "iwconfig ath1", output).bytes, octets) << output;
}

TEST_F(InterfaceStatistics, RowsAreTheInterfacesOfTheLastRefresh) {
  std::string many;
  for (int i = 0; i < 20; ++i) many += "\tath" + std::to_string(i) + "\n";
  shell.answers("brctl show", many);
  EXPECT_TRUE(cell(4, 1, 1));
  EXPECT_EQ(shell.commands(), (Commands{"brctl show", "iwconfig ath0"}));
  EXPECT_TRUE(cell(4, 4, 16));
  EXPECT_EQ(shell.commands(), Commands{"iwconfig ath15"});
  EXPECT_FALSE(cell(4, 4, 17));
  shell.cannot_start("brctl show");
  EXPECT_FALSE(cell(4, 1, 1));
  EXPECT_FALSE(cell(4, 4, 2));
}

TEST(BridgeMembers, AreTheLinesWithANumberedInterface) {
  const std::pair<std::string, uint32_t> cases[] = {
      {bridges, 2},
      {"", 0},
      {"ath\nathx\nath\n", 0},
      {"ath0 ath1\n", 1},
      {"athx ath1\n", 0},
      {"path0:\n", 1},
      {"ath1", 0},
      {std::string(10'000, 'a') + "\nath2\n", 1},
  };
  for (const auto &[output, expected] : cases) {
    ScriptedShell shell;
    shell.answers("brctl show", output);
    uint32_t count = 77;
    EXPECT_EQ(get_virtual_ap_num(&count), static_cast<int>(expected)) << output;
    EXPECT_EQ(count, expected) << output;
  }
  ScriptedShell shell;
  std::string many;
  for (int i = 0; i < 200; ++i) many += "ath0\n";
  shell.answers("brctl show", many);
  uint32_t count = 0;
  EXPECT_EQ(get_virtual_ap_num(&count), -56) << "the answer has eight bits";
  EXPECT_EQ(count, 200U);
  std::string endless;
  for (int line = 0; line < 60'000; ++line) endless += "ath1\n";
  shell.answers("brctl show", endless);
  EXPECT_EQ(get_virtual_ap_num(&count), 0) << "a list without an end";
  EXPECT_EQ(count, 0);
  shell.cannot_start();
  EXPECT_EQ(get_virtual_ap_num(&count), -1);
  EXPECT_EQ(count, 0U);
}

std::string found(const std::string &name, const std::string &channel = "6", const std::string &signal = "-70 dBm") {
  return "Cell 01 - Address: 00:1D:7E:A1:B2:C3\n          ESSID: " + name +
         "\n          Mode: Master  Channel: " + channel + "\n          Signal: " + signal +
         "  Quality: 30/70\n          Encryption: none\n\n";
}

class SiteSurvey : public testing::Test {
 protected:
  SiteSurvey() { shell.answers("brctl show", bridges); }
  /// How many networks the table lists after the first interface found `first` and the second one `second`.
  uint32_t survey(const std::string &first, const std::string &second = "") {
    shell.answers("iwinfo ath0 scan ", first).answers("iwinfo ath1 scan ", second);
    shell.commands();
    const bool has_rows = cell(19, 1, 1).has_value();
    EXPECT_EQ(shell.commands(), (Commands{"brctl show", "iwinfo ath0 scan ", "iwinfo ath1 scan "}));
    EXPECT_EQ(has_rows, ssid_number > 0);
    EXPECT_FALSE(cell(19, 2, ssid_number + 1));
    return ssid_number;
  }
  static std::string text(oid column, oid row) {
    const auto answer = cell(19, column, row);
    return answer ? answer->bytes : "no answer";
  }
  static int32_t number(oid column, oid row) { return cell(19, column, row).value().integer(); }
  ScriptedShell shell;
};

TEST_F(SiteSurvey, EveryInterfaceAddsWhatItHears) {
  EXPECT_EQ(survey(found("\"north\"", "1") + found("unknown", "149", "-85 dBm"), found("\"north\"", "1")), 3U);
  EXPECT_EQ(text(1, 2), "unknown");
  EXPECT_EQ(number(2, 2), 149);
  EXPECT_EQ(text(3, 2), "\0\x1D\x7E\xA1\xB2\xC3"s);
  EXPECT_EQ(number(4, 2), -85);
  EXPECT_EQ(text(1, 3), "north");
  EXPECT_EQ(shell.commands(), Commands{}) << "only the first cell surveys";
  EXPECT_EQ(survey("", "No scan results\n\n"), 0U);
  std::string crowd;
  for (size_t i = 0; i <= zol::most_scan_records; ++i) crowd += found("\"north\"");
  EXPECT_EQ(survey(crowd), zol::most_scan_records);
}

TEST_F(SiteSurvey, TextsAreCutToTheirFields) {
  struct Case {
    std::string name, channel, signal, shown;
    int32_t channel_shown, signal_shown;
  };
  const Case cases[] = {
      {"\"my net\"", "6", "-70", "m", 6, -70},
      {"\"" + std::string(32, 'n') + "\"", "153", "-100", std::string(29, 'n'), 153, -100},
      {"\"Hafencaf\xC3\xA9\"", "12345", "-1000 dBm", "Hafencaf\xC3\xA9", 1234, -100},
      {"bare", "x", "dBm", "bare", 0, 0},
      {"\"", "99999999999999999999", "2147483648", "", 9999, 2147},
      {"\"\"", "6", "-70", "", 6, -70},
      {"\"a\x01\x1b[2J\x7f\"", "\t6", "\v-7", "a\x01\x1b[2J\x7f", 6, -7},
      {"\"" + std::string(10'000, 'n') + "\"", "6", "-70", std::string(29, 'n'), 6, -70},
      {"   ", "   ", "   ", "", 0, 0},
      {"\"Signal: -1\"", "6", "-70", "Signal", 6, -70},
  };
  for (const Case &network : cases) {
    // The network that was there before must not show through.
    ASSERT_EQ(survey(found("\"a-network-with-a-long-name\"", "1234", "1234")), 1U);
    EXPECT_EQ(survey(found(network.name, network.channel, network.signal)), 1U) << network.name;
    EXPECT_EQ(text(1, 1), network.shown) << network.name;
    EXPECT_EQ(number(2, 1), network.channel_shown) << network.name;
    EXPECT_EQ(number(4, 1), network.signal_shown) << network.name;
  }
}

TEST_F(SiteSurvey, ACellWithoutASignalMergesWithTheNext) {
  const std::string open = "Cell 01 - Address: 00:1D:7E:A1:B2:FF\nESSID: \"open\"\nMode: Master  Channel: 149\n";
  EXPECT_EQ(survey(open, "Cell 01 - Address: 02:00:00:00:00:01\nESSID: \n Channel: 6\nSignal: -50 dBm\nSignal: -2\n"),
            2U);
  EXPECT_EQ(text(1, 1), "open");
  EXPECT_EQ(text(3, 1), "\x02\0\0\0\0\x01"s);
  EXPECT_EQ(number(2, 1), 6);
  EXPECT_EQ(number(4, 1), -50);
  EXPECT_EQ(text(3, 2), "\0\0\0\0\0\0"s) << "a record begins empty";
}

TEST_F(SiteSurvey, AScanThatCannotBeStartedEndsTheSurvey) {
  EXPECT_EQ(survey(found("\"north\""), found("\"south\"") + found("\"east\"")), 3U);
  shell.cannot_start("iwinfo ath1 scan ");
  cell(19, 1, 1);
  EXPECT_EQ(ssid_number, 1U);
  uint32_t count = 77;
  EXPECT_EQ(get_zol_mac_scan(2, zol_mac_scan_all, &count), -1);
  EXPECT_EQ(count, 1U);
  shell.cannot_start();
  EXPECT_EQ(get_zol_mac_scan(2, zol_mac_scan_all, &count), -1);
  EXPECT_EQ(count, 0U);
}

class DhcpLeases : public testing::Test {
 protected:
  /// The rows that the table has for a lease file: MAC address, host, remaining time, address.
  std::vector<std::vector<std::string>> list(const std::string &file) {
    shell.answers("cat /var/dhcp.leases", file);
    std::vector<std::vector<std::string>> rows;
    for (oid row = 1; const auto mac = cell(11, 1, row); ++row) {
      rows.push_back({mac->bytes, cell(11, 2, row)->bytes, cell(11, 3, row)->bytes, cell(11, 4, row)->bytes});
    }
    EXPECT_EQ(shell.commands(), Commands{"cat /var/dhcp.leases"});
    return rows;
  }
  ScriptedShell shell;
};

using Rows = std::vector<std::vector<std::string>>;

std::string lease(time_t expiry, const std::string &host = "laptop", const std::string &ip = "192.168.1.101") {
  return std::to_string(expiry) + " 02:aa:bB:cc:dd:0e " + ip + " " + host + " 01:02:aa:bb:cc:dd:0e\n";
}
const std::string mac = "\x02\xAA\xBB\xCC\xDD\x0E";
const std::string ip = "\xC0\xA8\x01\x65";

TEST_F(DhcpLeases, AreListedAsTheFileHasThem) {
  EXPECT_EQ(list(lease(now + 90061) + lease(now - 1, "*", "10.0.0.1")),
            (Rows{{mac, "laptop", "1 Days 01:01:01", ip}, {mac, "*", "0 Days 00:00:-1", "\x0A\0\0\x01"s}}));
  EXPECT_EQ(zol_ip_active, 0x0A000001U);
  EXPECT_EQ(list(""), Rows{});
  EXPECT_FALSE(cell(11, 2, 1)) << "what was there before is gone";
}

TEST_F(DhcpLeases, OddLines) {
  const std::string thirty(30, 'h');
  const std::pair<std::string, Rows> cases[] = {
      {lease(now, thirty), {{mac, thirty, "0 Days 00:00:00", ip}}},
      {lease(now, thirty + "more"), {{mac, thirty, "0 Days 00:00:00", ip}}},
      {lease(now - 90061), {{mac, "laptop", "4294967295 Days -1:-1:-1", ip}}},
      {lease(now, "h", "1.2.3.260"), {{mac, "h", "0 Days 00:00:00", "\x01\x02\x03\x04"}}},
      {lease(now, "h", "1.2.3.-1"), {{mac, "h", "0 Days 00:00:00", "\x01\x02\x03\xFF"}}},
      {lease(now, "h\xC3\xA9\x01"), {{mac, "h\xC3\xA9\x01", "0 Days 00:00:00", ip}}},
      {std::to_string(now) + " 02:aa:bb:cc:dd:0e 192.168.1.101\n", {{mac, "", "0 Days 00:00:00", ip}}},
      {lease(now) + std::string(10'000, 'x') + " : \n" + lease(now, "b"),
       {{mac, "laptop", "0 Days 00:00:00", ip}, {mac, "b", "0 Days 00:00:00", ip}}},
      // No leases: no expiry, no address, an address of the other family, no MAC address, no colon or blank.
      {"duid 00:01:00:01:1c:8a\n", {}},
      {std::to_string(now) + " 02:aa:bb:cc:dd:0e host\n", {}},
      {std::to_string(now) + " 02:aa:bb:cc:dd:0e 192.168.1 host *\n", {}},
      {std::to_string(now) + " 02:aa:bb:cc:dd:0e fd00::1 host *\n", {}},
      {std::to_string(now) + " 02:aa:bb:cc:dd 192.168.1.101 host *\n", {}},
      {"none\n\n : \n:\n 1\n", {}},
  };
  for (const auto &[file, rows] : cases) EXPECT_EQ(list(file), rows) << file;
}

TEST_F(DhcpLeases, AFileThatCannotBeReadLeavesNoLease) {
  ASSERT_EQ(list(lease(now)).size(), 1U);
  shell.cannot_start();
  uint32_t count = 77;
  EXPECT_EQ(get_zol_mac_active(zol_mac_active_all, &count), -1);
  EXPECT_EQ(count, 0U);
  EXPECT_FALSE(cell(11, 1, 1));
  EXPECT_FALSE(cell(11, 4, 1));
}

}  // namespace

// The clock of this program stands.
extern "C" time_t time(time_t *timer) noexcept {
  if (timer != nullptr) *timer = now;
  return now;
}
