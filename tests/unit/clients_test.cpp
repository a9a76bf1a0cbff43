// What is read of a station, the list of stations, and the table that shows it.

#include "mib/clients/clients.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>

#include "core/text.hpp"
#include "mib/clients/client_list.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

using namespace std::string_literals;
using zol::ClientRecord;

time_t present = 0;

constexpr const char *mac = "00-0B-6b-0a-01-0F";
const std::string bridges = "bridge name\tinterfaces\nbr-lan\tath0\n\t\tath1\n";

/// What a reader answers, followed by "!" when it says that a command could not be started.
using Reader = std::function<std::string()>;

std::string answer(const std::string &output, int result) { return output + (result == 0 ? "" : "!"); }

template <class Read>
Reader number_of(Read read) {
  return [=] {
    int32_t number = 77;
    const int result = read(&number);
    return answer(std::to_string(number), result);
  };
}

Reader text_of(int (*read)(const char *, char *)) {
  return [=] {
    char text[44] = "old";
    const int result = read(mac, text);
    return answer(text, result);
  };
}

/// `command` for an interface.
std::string of(std::string command, char interface) { return command.replace(command.find('#'), 1, 1, interface); }

TEST(StationReaders, AskOneInterfaceAfterTheOther) {
  const std::string stats = "80211stats -i ath# -a";
  const std::string associations = "iwinfo ath# assoclist";
  const Reader rx_data = number_of([](auto *out) { return zol_get_80211_by_macaddr(mac, out, "rx_data"); });
  const Reader quality = number_of([](auto *out) { return zol_get_ac_txccq_by_macaddr(mac, out); });
  const Reader signal = number_of([](auto *out) { return zol_get_ac_rssi_by_macaddr(mac, out); });
  const Reader noise = number_of([](auto *out) { return zol_get_ac_noise_by_macaddr(mac, out); });
  const Reader chains = text_of(zol_get_ac_signalchains_by_macaddr);
  const std::string block = "0:b:6b:a:1:f:\n\trx_data ";
  const std::string station = "[00:0B:6B:0A:01:0F]  ";
  const std::string line = station + "-48 dBm / -95 dBm (SNR 47)  TX CCQ=98% Signal Chains=-51,-52\n";
  const struct {
    const char *name;
    Reader ask;
    std::string command, output, answer;
    bool known = true;
  } cases[] = {
      {"counter", rx_data, stats, block + "105\n", "105"},
      {"counter that ends in 0", rx_data, stats, block + "10 packets\n", "10"},
      {"counter of 0", rx_data, stats, block + "0 rx_mgmt 5\n", "0"},
      {"counter behind zeros", rx_data, stats, block + "007\n", "7"},
      {"counter beyond 31 bits", rx_data, stats, block + "3000000000\n", "-1294967296"},
      {"counter on the station's own line", rx_data, stats, "0:b:6b:a:1:f: rx_data 12\n", "12"},
      {"counter of the second station", rx_data, stats, "2:b:6b:a:1:f:\n\trx_data 9\n" + block + "8\n", "8"},
      {"an address that ends like this one", rx_data, stats, "10:b:6b:a:1:f:\n\trx_data 9\n", "0", false},
      {"a counter that is not there", rx_data, stats, "0:b:6b:a:1:f:\n\trx_mgmt 9\n", "0", false},
      {"quality", quality, associations, line, "98"},
      {"quality on a later line", quality, associations, station + "up\n\tCCQ=7\n", "7"},
      {"quality of another one", quality, associations, "[00:0B:6B:0A:01:0E] CCQ=7\n", "0", false},
      {"signal", signal, associations, line, "-48"},
      {"unknown signal", signal, associations, station + "unknown / -95 dBm (SNR 0)\n", "0", false},
      {"noise", noise, associations, line, "-95"},
      {"noise beside an unknown signal", noise, associations, station + "unknown dBm / -90 dBm\n", "-90"},
      {"no noise", noise, associations, station + "-48 dBm\n", "0", false},
      {"chains", chains, associations, line, "-51,-52"},
      {"chains beyond their field", chains, associations, station + "Signal Chains=-51,-52,-53,-54,-55,-56,-57\n",
       "-51,-52,-53,-54,-55"},
      {"no chains", chains, associations, station + "\n", "", false},
  };
  for (const auto &reading : cases) {
    SCOPED_TRACE(reading.name);
    ScriptedShell shell;
    const std::string first = of(reading.command, '0');
    const std::string second = of(reading.command, '1');
    const Commands both{"brctl show", first, second};
    shell.answers("brctl show", bridges).answers(first, reading.output);
    EXPECT_EQ(reading.ask(), reading.answer);
    EXPECT_EQ(shell.commands(), reading.known ? Commands({"brctl show", first}) : both);

    shell.answers(first, "").answers(second, reading.output);
    EXPECT_EQ(reading.ask(), reading.answer);
    EXPECT_EQ(shell.commands(), both);

    const std::string preset = strstr(reading.name, "chains") != nullptr ? "" : "0";
    shell.cannot_start(second);
    EXPECT_EQ(reading.ask(), preset + "!");
    shell.cannot_start();
    EXPECT_EQ(reading.ask(), preset) << "no interface that could be asked";
  }
  ScriptedShell shell;
  int32_t number = 77;
  EXPECT_EQ(zol_get_80211_by_macaddr("00:0b:6b:0a:01:0f", &number, "rx_data"), 0) << "no address in the dash form";
  EXPECT_EQ(number, 0);
  EXPECT_EQ(shell.commands(), Commands{});
}

TEST(StationReaders, TakeTheLeaseOfAllButTheLastOctet) {
  const Reader address = [] {
    uint32_t number = 77;
    const int result = get_ac_ip_addr(mac, &number);
    char text[16];
    snprintf(text, sizeof text, "%08x", number);
    return answer(text, result);
  };
  const Reader uptime = text_of(get_ac_uptime);
  const std::string lease_time = "uci show dhcp | grep \"lan.leasetime\"";
  const std::string leases = "cat /var/dhcp.leases";
  const struct {
    const char *name;
    std::string output, address, uptime;
  } cases[] = {
      {"its own", "1000 00:0b:6b:0a:01:0f 192.168.1.101 laptop 01:00:0b:6b:0a:01:0f\n", "c0a80165", "0 Days 01:00:00"},
      {"a neighbour's", "1090 00:0b:6b:0a:01:ff 10.0.0.1 * *\n", "0a000001", "0 Days 00:58:30"},
      {"the first of two", "1000 00:0b:6b:0a:01:01 10.0.0.1 a *\n900 00:0b:6b:0a:01:0f 10.0.0.2 b *\n", "0a000001",
       "0 Days 01:00:00"},
      {"renewed for longer", "90000 00:0b:6b:0a:01:0f 10.0.0.1 a *\n", "0a000001", "0 Days -23:-43:-20"},
      {"somebody else's", "1000 00:0b:6b:0a:02:0f 10.0.0.1 a *\n", "00000000", "0 Days 00:00:00"},
      {"broken", ":\n0:\n1 00:0b:6b:0a:01:0f\n", "00000000", "0 Days 01:16:39"},
      {"none", "", "00000000", "0 Days 00:00:00"},
  };
  present = 1000;
  for (const auto &lease : cases) {
    SCOPED_TRACE(lease.name);
    ScriptedShell shell;
    shell.answers(lease_time, "dhcp.lan.leasetime=1h\n").answers(leases, lease.output);
    EXPECT_EQ(address(), lease.address);
    EXPECT_EQ(shell.commands(), Commands{leases});
    EXPECT_EQ(uptime(), lease.uptime);
    EXPECT_EQ(shell.commands(), (Commands{lease_time, leases}));
  }
  ScriptedShell shell;
  shell.cannot_start();
  EXPECT_EQ(address(), "00000000!");
  EXPECT_EQ(uptime(), "old!");
}

TEST(StationReaders, TakeARateFromTheTwoLinesBehindTheStation) {
  const struct {
    const char *name;
    std::string output;
    int32_t tx, rx;
  } cases[] = {
      {"both", "[00:0B:6B:0A:01:0F] -48 dBm\n\tRX: 58.5 MBit/s, MCS 6\n\tTX: 130.0 MBit/s, MCS 15\n", 130, 58},
      {"only the first", "[00:0B:6B:0A:01:0F] -48 dBm\n\tTX: 6.5 MBit/s\n\n", 6, 77},
      {"too far behind", "[00:0B:6B:0A:01:0F] -48 dBm\n\n\n\tRX: 58.5 MBit/s\n", 77, 77},
      {"no number", "[00:0B:6B:0A:01:0F] -48 dBm\n\tRX: unknown\n\tTX: unknown\n", 77, 77},
      {"another one's", "[00:0B:6B:0A:01:0E] -48 dBm\n\tRX: 58.5 MBit/s\n\tTX: 130.0 MBit/s\n", 77, 77},
  };
  for (const auto &rates : cases) {
    SCOPED_TRACE(rates.name);
    ScriptedShell shell;
    shell.answers("iwinfo ath1 assoclist", rates.output);
    int32_t tx = 77;
    int32_t rx = 77;
    EXPECT_EQ(zol_get_assoc_client_rate("00:0b:6b:0a:01:0f", "ath1", "TX:", &tx), 0);
    EXPECT_EQ(zol_get_assoc_client_rate("00:0b:6b:0a:01:0f", "ath1", "RX:", &rx), 0);
    EXPECT_EQ(tx, rates.tx);
    EXPECT_EQ(rx, rates.rx);
    shell.cannot_start();
    EXPECT_EQ(zol_get_assoc_client_rate("00:0b:6b:0a:01:0f", "ath1", "RX:", &rx), 0);
    EXPECT_EQ(rx, rates.rx);
  }
}

TEST(InterfaceFigures, AreThoseOfTheFirstInterface) {
  const Reader counter = number_of([](auto *out) { return zol_get_80211(out, "tx_bytes"); });
  const Reader tx_errors = number_of(zol_get_tx_err_packets);
  const Reader tx_bytes = number_of(zol_get_tx_bytes);
  const std::string bytes = "          RX bytes:9218440 (8.7 MiB)  TX bytes:4000000000 (3.7 GiB)\n";
  const struct {
    const char *name;
    Reader ask;
    std::string command, output, answer;
  } cases[] = {
      {"TX errors", tx_errors, "ifconfig ath0 | grep \"TX packets\"",
       "          TX packets:61277 errors:3 dropped:0 overruns:0 carrier:0\n", "3"},
      {"RX errors", number_of(zol_get_rx_err_packets), "ifconfig ath0 | grep \"RX packets\"",
       "          RX packets:48211 errors:12 dropped:1 overruns:0 frame:0\n", "12"},
      {"no errors said", tx_errors, "ifconfig ath0 | grep \"TX packets\"", "  TX packets:61277 dropped:5\n", "77"},
      {"no interface", tx_errors, "ifconfig ath0 | grep \"TX packets\"", "", "77"},
      {"TX bytes", tx_bytes, "ifconfig ath0 | grep \"TX bytes\"", bytes, "-294967296"},
      {"RX bytes", number_of(zol_get_rx_bytes), "ifconfig ath0 | grep \"RX bytes\"", bytes, "9218440"},
      {"no TX bytes", tx_bytes, "ifconfig ath0 | grep \"TX bytes\"", "  RX bytes:1\n", "77"},
      {"a driver's counter", counter, "80211stats -i ath0 -a", "tx_data 4\ntx_bytes 1050\n", "1050"},
      {"a driver's counter that is not there", counter, "80211stats -i ath0 -a", "tx_data 4\n", "0"},
  };
  for (const auto &figure : cases) {
    SCOPED_TRACE(figure.name);
    ScriptedShell shell;
    shell.answers(figure.command, figure.output);
    EXPECT_EQ(figure.ask(), figure.answer);
    EXPECT_EQ(shell.commands(), Commands{figure.command});
    shell.cannot_start();
    EXPECT_EQ(figure.ask(), figure.command.starts_with("ifconfig") ? "77!" : "0!");
  }
}

ClientRecord record_of(int32_t ifindex, const char *mac_text) {
  ClientRecord record{};
  record.ifindex = ifindex;
  zol::copy_text(record.mac_text, mac_text);
  zol::client_list::make_key(record);
  return record;
}

/// The beginnings of the keys in the list.
std::string listed() {
  std::string keys;
  ClientRecord record{};
  while (zol::client_list::next(record)) keys += (keys.empty() ? "" : ", ") + std::string(record.key, 7);
  return keys;
}

TEST(ClientList, IsSortedAndShrinksOnlyAsAWhole) {
  const ClientRecord a7 = record_of(7, "AA-00-00-00-00-00");
  const ClientRecord b7 = record_of(7, "BB-00-00-00-00-00");
  const ClientRecord a12 = record_of(12, "AA-00-00-00-00-00");
  const ClientRecord c12 = record_of(12, "CC-00-00-00-00-00");
  releaseList();
  using Collected = std::vector<ClientRecord>;
  zol::client_list::update(Collected{c12, a7, b7});
  EXPECT_EQ(listed(), "0007 AA, 0007 BB, 0012 CC");
  // One left and one joined: nobody is missed until the next collection finds fewer than were seen.
  zol::client_list::update(Collected{a12, a7, b7});
  EXPECT_EQ(listed(), "0007 AA, 0007 BB, 0012 AA, 0012 CC");
  zol::client_list::update(Collected{a12, a7, b7});
  EXPECT_EQ(listed(), "0007 AA, 0007 BB, 0012 AA");
  zol::client_list::update(Collected{a12});
  EXPECT_EQ(listed(), "0012 AA");
  zol::client_list::update(Collected{});
  EXPECT_EQ(listed(), "");

  // What was counted outlives the stations themselves.
  zol::client_list::update(Collected{a7, b7});
  shutdown_zol_AssociatedClients();
  EXPECT_EQ(listed(), "");
  zol::client_list::insert(c12);
  zol::client_list::update(Collected{a7});
  EXPECT_EQ(listed(), "0007 AA");
  releaseList();
  zol::client_list::insert(c12);
  zol::client_list::update(Collected{});
  EXPECT_EQ(listed(), "0012 CC");
  releaseList();
}

TEST(ClientList, ATakenRecordIsStoredOnlyWhileItsStationIsListed) {
  releaseList();
  zol::client_list::insert(record_of(1, "AA-00-00-00-00-00"));
  ClientRecord record{};
  ASSERT_TRUE(zol::client_list::next(record));
  record.rssi = -50;
  zol::client_list::store(record);
  ClientRecord again{};
  ASSERT_TRUE(zol::client_list::copy(0, again));
  EXPECT_EQ(again.rssi, -50);
  EXPECT_FALSE(zol::client_list::copy(1, again));
  releaseList();
  zol::client_list::store(record);
  EXPECT_EQ(listed(), "");
}

TEST(ClientTable, ShowsARecordOfTheList) {
  registered_rows();
  releaseList();
  ClientRecord record = record_of(3, "00-0B-6B-FA-01-9F");
  zol::copy_text(record.ssid, "my net");
  zol::copy_text(record.signal_chains, "-51,-52");
  zol::copy_text(record.uptime_text, "0 Days 00:03:21");
  record.ip_address = 0xC0A80165;
  record.rx_data = 1;
  record.rx_data_copy = -2;
  zol::client_list::insert(record_of(1, "00-00-00-00-00-01"));
  zol::client_list::insert(record);

  EXPECT_EQ(get("client_rx_data", 2), Value(-2));
  EXPECT_EQ(get("client_mac", 2), "\x00\x0B\x6B\xFA\x01\x9F"s);
  EXPECT_EQ(get("client_ssid", 2), "my net"s);
  EXPECT_EQ(get("client_signal_chains", 2), "-51,-52"s);
  EXPECT_EQ(get("client_ip", 2), address(192, 168, 1, 101));
  EXPECT_EQ(get("client_uptime", 2), "0 Days 00:03:21"s);
  EXPECT_FALSE(get("client_rssi", 3)) << "two stations are listed";
  EXPECT_TRUE(get("client_rssi", 1));
  netsnmp_running = 0;
  EXPECT_FALSE(get("client_rssi", 1)) << "the agent ends";
  netsnmp_running = 1;
  releaseList();
  EXPECT_FALSE(get("client_rssi", 1));
}

}  // namespace

extern "C" time_t time(time_t *timer) noexcept {
  if (timer != nullptr) *timer = present;
  return present;
}
