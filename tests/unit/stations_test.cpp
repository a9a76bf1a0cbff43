// What the tools print about stations, and what a series of collections makes of it.

#include "mib/stations/stations.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "core/clock.hpp"
#include "core/dynamic_table.hpp"
#include "core/switches.hpp"
#include "mib/health/health.hpp"
#include "mib/stations/printed.hpp"
#include "tests/unit/oid_order.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

/// Milliseconds of the clock that nobody sets, and the rows of the agent that is not there: each with its full name.
int64_t now = 1000;
std::vector<std::pair<Oid, variable>> rows;
std::vector<std::string> sent;

}  // namespace

extern "C" {
int clock_gettime(clockid_t, timespec *time) {
  *time = {static_cast<time_t>(now / 1000), static_cast<long>(now % 1000 * 1'000'000)};
  return 0;
}
// By another name, for not all releases declare it alike.
int note_rows(const char *, const variable *, size_t, size_t, const oid *, size_t) __asm__("register_mib");
int note_rows(const char *, const variable *added, size_t row_size, size_t count, const oid *prefix, size_t length) {
  for (size_t i = 0; i < count; ++i) {
    variable row{};
    memcpy(&row, reinterpret_cast<const char *>(added) + i * row_size, row_size);
    Oid full(prefix, prefix + length);
    full.insert(full.end(), row.name, row.name + row.namelen);
    std::copy(full.begin(), full.end(), row.name);
    row.namelen = static_cast<unsigned char>(full.size());
    rows.emplace_back(full, row);
  }
  return MIB_REGISTERED_OK;
}
int unregister_mib(oid *, size_t) {
  rows.clear();
  return 0;
}
void snmpd_register_config_handler(const char *, void (*)(const char *, char *), void (*)(), const char *) {}
void snmpd_unregister_config_handler(const char *) {}
/// Notes "number: last arcs of what is carried".
void send_v2trap(netsnmp_variable_list *bindings) {
  std::string text = std::to_string(bindings->val.objid[bindings->val_len / sizeof(oid) - 1]) + ":";
  for (const auto *bound = bindings->next_variable; bound != nullptr; bound = bound->next_variable) {
    text += " " + std::to_string(bound->name[bound->name_length - 2]);
    if (bound->type != ASN_OCTET_STR) text += "=" + std::to_string(*bound->val.integer);
  }
  sent.push_back(text);
}
}

namespace {

using zol::Counter;
using zol::Figure;
using zol::Mac;
using zol::OctetCount;
using zol::Snapshot;
using zol::StationRecord;

constexpr Mac mac = {0x00, 0x0b, 0x6b, 0x0a, 0x01, 0x0f};
constexpr Mac other = {0xf4, 0x5c, 0x89, 0x10, 0x20, 0x30};

/// All that is known of a station, for example "signal=-48 tx_bytes=7".
std::string known(const StationRecord &station) {
  std::string text;
  const auto say = [&](const char *name, const std::string &value) {
    text += (text.empty() ? "" : " ") + std::string(name) + "=" + value;
  };
  const auto figure = [&](Figure which, const char *name, const std::string &value) {
    if (station.knows(which)) say(name, value);
  };
  figure(Figure::signal, "signal", std::to_string(station.signal));
  figure(Figure::noise, "noise", std::to_string(station.noise));
  figure(Figure::quality, "quality", std::to_string(station.quality));
  figure(Figure::chains, "chains", station.chains);
  figure(Figure::tx_rate, "tx", std::to_string(station.tx_rate));
  figure(Figure::rx_rate, "rx", std::to_string(station.rx_rate));
  figure(Figure::address, "ip", zol::DottedQuad(station.address).text());
  figure(Figure::name, "name", station.name);
  const char *names[] = {"tx_bytes", "rx_bytes", "tx_data", "rx_data", "tx_retries", "tx_discard", "crc", "mic"};
  for (size_t i = 0; i < std::size(names); ++i) {
    const auto counter = static_cast<Counter>(i);
    if (station.counts(counter)) say(names[i], std::to_string(station.count(counter)));
  }
  return text;
}

template <class Use>
void each_line(const std::string &text, Use use) {
  for (size_t start = 0; start < text.size();) {
    const size_t end = text.find('\n', start);
    use(text.substr(start, end - start).c_str());
    start = end == std::string::npos ? text.size() : end + 1;
  }
}

class PrintedStation : public testing::Test {
 protected:
  PrintedStation() {
    snapshot.begin(1000);
    for (const Mac &each : {other, mac}) snapshot.add(each, 1);
    snapshot.sort();
  }
  ~PrintedStation() override { snapshot.release(); }
  Snapshot snapshot;
};

TEST_F(PrintedStation, HasWhatStandsInItsBlock) {
  const std::string station = "[00:0B:6B:0A:01:0F]  ";
  const std::string line = station + "-48 dBm / -95 dBm (SNR 47)  TX CCQ=98% Signal Chains=-51,-52\n";
  const struct {
    const char *name;
    std::string associations, counters, leases, expected;
  } cases[] = {
      {"all of an association", line + "\tRX: 58.5 MBit/s, MCS 7\n\tTX: 65.5 MBit/s, MCS 7\n", "", "",
       "signal=-48 noise=-95 quality=98 chains=-51,-52 tx=65500 rx=58500"},
      {"a rate's parts", station + "\n\tTX: 1200 MBit/s\n\tRX: 6.25678 MBit/s\n", "", "", "tx=1200000 rx=6256"},
      {"no rate", station + "\n\tTX: unknown\n\tnoRX: 5 MBit/s\n\tTXX: 7 MBit/s\n", "", "", ""},
      {"an unknown signal", station + "unknown / -95 dBm (SNR 0)  TX CCQ=0% Signal Chains=\n", "", "", "quality=0"},
      {"chains are no quality", station + "-48 dBm  Signal Chains=51,52\n", "", "", "signal=-48 chains=51,52"},
      {"another's figures", station + "-48 dBm\n[02:00:00:00:00:01] -50 dBm / -90 dBm CCQ=5%\n\tTX: 7.0\n", "", "",
       "signal=-48"},
      {"a longer address is another's", "[00:0B:6B:0A:01:0F:01] -48 dBm\n", "", "", ""},
      {"counters", "", "0:b:6b:a:1:f:\n\ttx_bytes 18446744073709551615\n\trx_bytes: 4294967296 rx_data=0\n", "",
       "tx_bytes=18446744073709551615 rx_bytes=4294967296 rx_data=0"},
      {"whole words", "", "0:b:6b:a:1:f:\n my_tx_bytes 1\n tx_bytes_2 2\n tx_data\n tx_retries tx_discard 9\n", "",
       "tx_discard=9"},
      {"no block of its own", "", "tx_bytes 5\n0:b:6b:a:1:ff:\n\ttx_bytes 6\n10:b:6b:a:1:f:\n\ttx_bytes 7\n", "", ""},
      {"the first figure counts", "", "0:b:6b:a:1:f:\n\trx_decryptcrc 1\n\trx_decryptcrc 2\n\trx_demicfail 3\n", "",
       "crc=1 mic=3"},
      {"a lease", "", "", "1700 00:0b:6b:0a:01:0f 192.168.1.7 laptop 01:00:0b:6b:0a:01:0f\n",
       "ip=192.168.1.7 name=laptop"},
      {"the latest lease", "", "",
       "1700 00:0b:6b:0a:01:0f 10.0.0.1 new *\n1600 00:0b:6b:0a:01:0f 10.0.0.2 old *\n0 00:0b:6b:0a:01:0f 10.0.0.3 * "
       "*\n"
       "9999999999 00:0b:6b:0a:01:0f 10.0.0.4 later *\n",
       "ip=10.0.0.3"},
      {"a lease of one that differs in the last octet", "", "", "1700 00:0b:6b:0a:01:0e 10.0.0.1 a *\n", ""},
      {"no leases", "", "", "duid 00:01\n1700 00:0b:6b:0a:01:0f\n1700 00:0b:6b:0a:01:0f 10.0.0.256 a\nx 00:0b\n", ""},
      {"a name that would reach a terminal", "", "",
       "1700 00:0B:6B:0A:01:0F 10.0.0.1 a\x1b[2J\x7f" + std::string(70, 'b'),
       "ip=10.0.0.1 name=a[2J" + std::string(59, 'b')},
  };
  for (const auto &test : cases) {
    SCOPED_TRACE(test.name);
    snapshot.begin(1000);
    snapshot.add(mac, 1);
    zol::StationOutput output(snapshot, 1);
    each_line(test.associations, [&](const char *text) { output.association(text); });
    each_line(test.counters, [&](const char *text) { output.counters(text, 5000); });
    each_line(test.leases, [&](const char *text) { zol::read_lease(snapshot, text); });
    EXPECT_EQ(known(*snapshot.find(mac)), test.expected);
    // On another interface nobody is meant.
    zol::StationOutput elsewhere(snapshot, 2);
    each_line(test.associations + line, [&](const char *text) { elsewhere.association(text); });
    EXPECT_EQ(known(*snapshot.find(mac)), test.expected);
  }
}

TEST(Octets, GoOnWhereACounterOf32BitsWraps) {
  constexpr uint64_t end = uint64_t{1} << 32U;
  const struct {
    const char *name;
    OctetCount before;
    uint64_t now;
    int64_t elapsed;
    uint64_t octets;
    uint32_t kbps;
  } cases[] = {
      {"first", {}, 500, 0, 500, 0},
      {"more", {1000, 1000, 0, true}, 12000, 11000, 12000, 8},
      {"wraps", {end - 100, end - 100, 0, true}, 900, 1000, end + 900, 8},
      {"wraps again", {2 * end - 100, end - 100, 0, true}, 0, 100, 2 * end, 8},
      {"fell by 2^31: began anew", {3 * end, end / 2 + 5, 0, true}, 5, 1000, 5, 0},
      {"fell by more", {3 * end, end / 2 + 5, 0, true}, 4, 1000, 3 * end + end / 2 - 1, 17179869},
      {"64 bits do not wrap there", {2 * end, 2 * end, 0, true}, 7, 1000, 7, 0},
      {"no time has passed", {1000, 1000, 0, true}, 2000, 0, 2000, 0},
      {"beyond any rate", {0, 0, 0, true}, UINT64_MAX, 1, UINT64_MAX, UINT32_MAX},
  };
  for (const auto &test : cases) {
    const OctetCount count = OctetCount::following(test.before, test.now, test.elapsed);
    EXPECT_EQ(count.octets, test.octets) << test.name;
    EXPECT_EQ(count.kbps, test.kbps) << test.name;
  }
}

/// Collections of a device that is scripted anew for each.
class Collections : public testing::Test {
 protected:
  Collections() {
    shell.answers("brctl show", "bridge name\tinterfaces\nbr-lan\tath0\n\t\teth0.1\n\t\tath2\n");
    shell.answers(
        "uci show wireless",
        "wireless.wifi1=wifi-device\nwireless.@wifi-iface[2].device=wifi1\nwireless.@wifi-iface[2].ssid=a net\n");
  }
  ~Collections() override { zol::forget_collections(); }

  void lists(int interface, const std::string &stations) {
    shell.answers("wlanconfig ath" + std::to_string(interface) + " list sta", "ADDR               AID\n" + stations);
  }
  void counts(int interface, const std::string &output) {
    shell.answers("80211stats -i ath" + std::to_string(interface) + " -a", output);
  }
  /// The stations with their interfaces, as the agent's thread sees them after the collection.
  static std::string present() {
    zol::take_over_collection();
    std::string text;
    for (const StationRecord &station : zol::present_stations().stations()) {
      char entry[32];
      snprintf(entry, sizeof entry, "%s%02x@%d", text.empty() ? "" : " ", station.mac[5], station.interface);
      text += entry;
    }
    return text;
  }

  ScriptedShell shell;
};

const std::string first = "00:0b:6b:0a:01:0f    1    6\n";
const std::string second = "00:0b:6b:0a:01:10    2    6\n";

TEST_F(Collections, ListEveryStationOnce) {
  EXPECT_EQ(present(), "");
  lists(0, second + first);
  lists(2, "00:0b:6b:0a:01:0e    1\n" + first + " 00:0b:6b:0a:01:11  \n00:0b:6b\n");
  EXPECT_TRUE(zol::make_collection());
  EXPECT_EQ(present(), "0e@2 0f@2 10@0");
  const std::vector<std::string> expected = {"brctl show",
                                             "wlanconfig ath0 list sta",
                                             "wlanconfig ath2 list sta",
                                             "iwinfo ath0 assoclist",
                                             "80211stats -i ath0 -a",
                                             "iwinfo ath2 assoclist",
                                             "80211stats -i ath2 -a",
                                             "cat /var/dhcp.leases",
                                             "uci show wireless"};
  EXPECT_EQ(shell.commands(), expected);
  const auto &interface = zol::present_stations().interfaces[2];
  EXPECT_STREQ(interface.ssid, "a net");
  EXPECT_EQ(interface.radio, 1);
  EXPECT_FALSE(zol::present_stations().interfaces[0].has_ssid);
  EXPECT_EQ(zol::present_stations().interfaces[0].radio, -1);
}

TEST_F(Collections, AreDroppedWhenTheStationsCannotBeListed) {
  lists(0, first);
  EXPECT_TRUE(zol::make_collection());
  EXPECT_EQ(present(), "0f@0");
  lists(0, second);
  shell.cannot_start("wlanconfig ath2 list sta");
  EXPECT_FALSE(zol::make_collection());
  EXPECT_EQ(present(), "0f@0");
  shell.cannot_start("brctl show");
  EXPECT_FALSE(zol::make_collection());
  EXPECT_FALSE(zol::take_over_collection());
}

TEST_F(Collections, FollowEachOther) {
  static int hooks = 0;
  zol::after_collections([] { ++hooks; });
  lists(0, first + second);
  counts(0, "0:b:6b:a:1:f:\n tx_bytes 4294967290 rx_bytes 7\n0:b:6b:a:1:10:\n tx_bytes 5\n");
  zol::make_collection();
  EXPECT_TRUE(zol::take_over_collection());
  const int64_t found = zol::present_stations().find(mac)->found_at;
  // Two more end before the agent's thread looks again; one of them without figures.
  counts(0, "");
  zol::make_collection();
  counts(0, "0:b:6b:a:1:f:\n tx_bytes 10\n");
  lists(0, first);
  lists(2, second);
  zol::make_collection();
  EXPECT_EQ(zol::present_stations().find(mac)->tx.octets, 4294967290U);
  EXPECT_EQ(present(), "0f@0 10@2");
  EXPECT_EQ(hooks, 2);
  const StationRecord &stayed = *zol::present_stations().find(mac);
  EXPECT_EQ(stayed.tx.octets, 4294967306U);
  EXPECT_FALSE(stayed.counts(Counter::rx_bytes));
  EXPECT_EQ(stayed.found_at, found);
  // On another interface everything begins anew.
  const StationRecord &moved = zol::present_stations().stations()[1];
  EXPECT_EQ(moved.found_at, zol::present_stations().began);
  EXPECT_FALSE(moved.tx.known);
}

/// The agent's GET or GETNEXT of one name: the answered name without the extensions' root and the value's octets.
std::optional<std::pair<Oid, std::string>> ask(Oid name, bool exact) {
  for (auto &[full, row] : rows) {
    std::array<oid, MAX_OID_LEN> answered{};
    std::copy(name.begin(), name.end(), answered.begin());
    size_t length = name.size();
    size_t value_length = 0;
    WriteMethod *write = nullptr;
    const auto *value = row.findVar(&row, answered.data(), &length, exact ? 1 : 0, &value_length, &write);
    if (value == nullptr) continue;
    return {{Oid(answered.begin(), answered.begin() + static_cast<ptrdiff_t>(length)),
             {reinterpret_cast<const char *>(value), value_length}}};
  }
  return std::nullopt;
}

TEST_F(Collections, AreWalkedOverWhatIsNotThere) {
  zol::apply_extensions();
  lists(0, first + second + "f4:5c:89:10:20:30 3\n");
  shell.answers("iwinfo ath0 assoclist", "[00:0B:6B:0A:01:10] -48 dBm / -95 dBm\n[F4:5C:89:10:20:30] -61 dBm\n");
  counts(0, "0:b:6b:a:1:f:\n tx_bytes 4294967297\n");
  zol::make_collection();
  zol::take_over_collection();
  std::sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) { return OidOrder{}(a.first, b.first); });
  const Oid entry(rows.front().first.begin(), rows.front().first.end() - 1);
  std::string walked;
  Oid name = entry;
  while (const auto found = ask(name, false)) {
    ASSERT_TRUE(OidOrder{}(name, found->first));
    name = found->first;
    if (!std::equal(entry.begin(), entry.end(), name.begin())) break;
    EXPECT_EQ(ask(name, true)->second, found->second);
    walked += " " + std::to_string(name[entry.size()]) + "@" + std::to_string(name.back());
  }
  EXPECT_EQ(walked, " 2@15 2@16 2@48 5@16 5@48 6@16 13@15 13@16 13@48 14@15 21@15");
  // Between two rows, short and long names.
  const auto at = [&](Oid arcs) {
    arcs.insert(arcs.begin(), entry.begin(), entry.end());
    return arcs;
  };
  EXPECT_EQ(ask(at({2, 0, 11, 107, 10, 1, 15, 0}), false)->first, at({2, 0, 11, 107, 10, 1, 16}));
  EXPECT_EQ(ask(at({2, 1}), false)->first, at({2, 244, 92, 137, 16, 32, 48}));
  EXPECT_EQ(ask(at({2, 244, 92, 137, 16, 32, 300}), false)->first, at({5, 0, 11, 107, 10, 1, 16}));
  EXPECT_FALSE(ask(at({2, 0, 11, 107, 10, 1}), true));
  EXPECT_FALSE(ask(at({5, 0, 11, 107, 10, 1, 15}), true));
  const counter64 octets{1, 1};
  EXPECT_EQ(ask(at({14, 0, 11, 107, 10, 1, 15}), true)->second,
            std::string(reinterpret_cast<const char *>(&octets), sizeof octets));
  zol::remove_extensions();
}

TEST_F(Collections, CountOnThroughThreeDays) {
  uint64_t octets = 0;
  int64_t collections = 0;
  const int64_t start = now;
  constexpr int32_t period = 300;
  for (; now - start < 3 * 86'400'000LL; now += 1000) {
    if (!zol::collection_is_due(period)) continue;
    // Up to two gigabytes in between: a counter of 32 bits passes its end again and again.
    octets += static_cast<uint64_t>(collections % 2000) * 1'000'000;
    lists(0, first);
    counts(0, "0:b:6b:a:1:f:\n tx_bytes " + std::to_string(octets & UINT32_MAX) + "\n");
    ASSERT_TRUE(zol::make_collection());
    ASSERT_TRUE(zol::take_over_collection());
    const StationRecord &station = *zol::present_stations().find(mac);
    ASSERT_EQ(station.tx.octets, octets);
    ASSERT_EQ(station.found_at, start);
    if (collections > 0) {
      ASSERT_EQ(station.tx.kbps, static_cast<uint64_t>(collections % 2000) * 8000 / period);
    }
    ++collections;
  }
  EXPECT_EQ(collections, 3 * 86400 / period);
}

TEST_F(Collections, AnnounceWhatTheyDifferIn) {
  const auto announce = [](int32_t form) {
    for (const zol::Switch &each : zol::switches()) {
      if (strcmp(each.name, "zolarcNotifications") == 0) *each.value = form;
    }
  };
  const auto list = [](int from, int to) {
    std::string text;
    for (int octet = from; octet < to; ++octet) text += "02:00:00:00:00:" + std::to_string(10 + octet) + " 1\n";
    return text;
  };
  const auto collect = [&](const std::string &stations) {
    sent.clear();
    now += 11000;
    lists(0, stations);
    zol::make_collection();
    zol::take_over_collection();
    zol::tend_notifications();
  };
  using Sent = std::vector<std::string>;
  zol::apply_extensions();
  const zol::StationChanges before = zol::station_changes;
  announce(1);
  collect(list(0, 2));
  EXPECT_EQ(sent, Sent{});
  collect(list(1, 3));
  EXPECT_EQ(sent, (Sent{"2: 1 2 3 4=0 5=1100", "1: 1 2 3 4=0 5=0"}));
  // Twenty a second, the sum included.
  collect(list(20, 60));
  ASSERT_EQ(sent.size(), 19U);
  EXPECT_EQ(sent.back(), "6: 9=24 10=0 11=0");
  zol::tend_notifications();
  EXPECT_EQ(sent.size(), 19U);
  // The next ones have to wait for the second to pass.
  announce(0);
  collect(list(0, 1));
  EXPECT_EQ(sent, Sent{});
  EXPECT_EQ(zol::station_changes.joined - before.joined, 1U + 40 + 1);
  EXPECT_EQ(zol::station_changes.left - before.left, 1U + 2 + 40);
  EXPECT_TRUE(zol::announces_by_traps());
  zol::remove_extensions();
}

TEST(Snapshots, TellWhoLeftAndWhoJoined) {
  Snapshot before;
  Snapshot after;
  const auto station = [](int octet) { return Mac{2, 0, 0, 0, 0, static_cast<uint8_t>(octet)}; };
  for (const int octet : {1, 2, 3, 9}) before.add(station(octet), 0);
  for (const int octet : {2, 4, 8}) after.add(station(octet), 0);
  after.add(station(9), 1);
  std::string told;
  zol::compare(
      before, after, [&](const Snapshot &, const StationRecord &left) { told += " -" + std::to_string(left.mac[5]); },
      [&](const Snapshot &, const StationRecord &joined) { told += " +" + std::to_string(joined.mac[5]); });
  EXPECT_EQ(told, " -1 -3 +4 +8 -9 +9");
  before.release();
  after.release();
}

}  // namespace
