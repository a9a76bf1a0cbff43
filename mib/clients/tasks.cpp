// The three tasks that collect in the background, when each is due, and the loops that run them.

#include <net/if.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "core/clock.hpp"
#include "core/command/once.hpp"
#include "core/lock.hpp"
#include "core/text.hpp"
#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"
#include "mib/clients/stations.hpp"
#include "mib/radio/radio.hpp"
#include "mib/status/status.hpp"

using namespace zol;

pthread_mutex_t running_task = PTHREAD_MUTEX_INITIALIZER;
int32_t thread_stopped = 0;
int32_t global_client_number = 0;
int32_t task_hour[3][2];
int32_t task_minute[3][2];
int32_t task_second[3][2];
uint32_t last_rx_byte[2];
uint32_t last_tx_byte[2];

namespace {

constinit std::atomic<TrapSender *> trap_sender = nullptr;
constinit std::atomic<CollectionGuest *> collection_guest = nullptr;

void send_trap(int generic, int specific) {
  if (TrapSender *sender = trap_sender.load()) {
    sender(generic, specific);
  } else {
    send_easy_trap(generic, specific);
  }
}

/// A task and how many seconds lie between its runs at least.
struct Task {
  int index;
  int32_t period;
};
constexpr Task station_rates{0, 2};
constexpr Task station_list{1, 11};
constexpr Task port_rates{2, 3};

/// Wraps, as the counters do.
int32_t difference(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

/// Kbit/s. Computed in 32 bits, so that a counter that wraps gives a wrong rate once and nothing worse.
float kbps(uint32_t now, uint32_t before, int32_t seconds) {
  const auto bits = static_cast<int32_t>((now - before) * 8);
  return static_cast<float>(bits) / static_cast<float>(seconds * 1024);
}

/// The agent's thread reads the ports' rates at any time.
void publish(float &rate, float value) { std::atomic_ref(rate).store(value, std::memory_order_relaxed); }

void forget_port_rates() {
  memset(last_rx_byte, 0, sizeof last_rx_byte);
  memset(last_tx_byte, 0, sizeof last_tx_byte);
  for (float *rate : {&eth1_rx_rate, &eth1_tx_rate, &eth2_rx_rate, &eth2_tx_rate}) publish(*rate, 0);
}

// What is read of a station, in this order. Some counters are read twice, and a step is a command run for each
// interface searched; the sequence is meant as it stands.

struct Step {
  /// A counter and where it goes, or else what to do.
  const char *counter;
  int32_t ClientRecord::*field;
  void (*run)(ClientRecord &) = nullptr;
};

constexpr Step step(void (*run)(ClientRecord &)) { return {nullptr, nullptr, run}; }

using R = ClientRecord;

constexpr Step steps[] = {
    {"tx_bytes", &R::tx_bytes},
    {"rx_bytes", &R::rx_bytes},
    step([](R &station) {
      // The second words, which no reader fills: the first rates are taken from 0; it is meant so.
      station.last_tx_bytes = static_cast<uint32_t>(station.tx_bytes_second);
      station.last_rx_bytes = static_cast<uint32_t>(station.rx_bytes_second);
    }),
    step([](R &station) { zol_get_ac_txccq_by_macaddr(station.mac_text, &station.txccq); }),
    step([](R &station) { zol_get_ac_rssi_by_macaddr(station.mac_text, &station.rssi); }),
    step([](R &station) { zol_get_ac_noise_by_macaddr(station.mac_text, &station.noise); }),
    {"rx_data", &R::rx_data},
    {"rx_mgmt", &R::rx_mgmt},
    {"rx_mgmt", &R::rx_mgmt},
    {"rx_ctrl", &R::rx_ctrl},
    {"rx_data", &R::rx_data_copy},
    {"rx_mcast", &R::rx_mcast},
    {"rx_beacons", &R::rx_beacons},
    {"rx_proberesp", &R::rx_proberesp},
    {"rx_dup", &R::rx_dup},
    {"rx_noprivacy", &R::rx_noprivacy},
    {"rx_wepfail", &R::rx_wepfail},
    {"rx_demicfail", &R::rx_demicfail},
    {"rx_decap", &R::rx_decap},
    {"rx_defrag", &R::rx_defrag},
    {"tx_assoc", &R::tx_assoc},
    {"tx_assoc_fail", &R::tx_assoc_fail},
    {"tx_auth", &R::tx_auth},
    {"tx_discard", &R::tx_discard},
    {"tx_auth", &R::tx_auth},
    {"tx_auth_fail", &R::tx_auth_fail},
    step([](R &station) { station.auth_ok = difference(station.tx_auth, station.tx_auth_fail); }),
    {"tx_assoc", &R::tx_assoc},
    {"tx_assoc_fail", &R::tx_assoc_fail},
    step([](R &station) { station.assoc_ok = difference(station.tx_assoc, station.tx_assoc_fail); }),
    {"tx_auth_fail", &R::tx_auth_fail},
    {"tx_deauth", &R::tx_deauth},
    {"tx_deauth_code", &R::tx_deauth_code},
    {"tx_disassoc", &R::tx_disassoc},
    {"tx_disassoc_code", &R::tx_disassoc_code},
    step([](R &station) { zol_get_tx_err_packets(&station.tx_err_packets); }),
    step([](R &station) { zol_get_rx_err_packets(&station.rx_err_packets); }),
    step([](R &station) { zol_get_ac_signalchains_by_macaddr(station.mac_text, station.signal_chains); }),
    {"rx_disassoc", &R::rx_disassoc},
    {"rx_deauth", &R::rx_deauth},
    {"rx_decryptcrc", &R::rx_decryptcrc},
    {"rx_unauth", &R::rx_unauth},
    {"rx_unencrypted", &R::rx_unencrypted},
    {"tx_data", &R::tx_data},
    {"tx_mgmt", &R::tx_mgmt},
    {"tx_data", &R::tx_data_copy},
    {"tx_mcast", &R::tx_mcast},
    step([](R &station) { get_ac_ip_addr(station.mac_text, &station.ip_address); }),
    step([](R &station) { get_ac_uptime(station.mac_text, station.uptime_text); }),
};

/// Fills in all that is known of a station; what cannot be read stays 0. False when the collection was abandoned.
bool collect(const Station &station, ClientRecord &record) {
  record = {};
  snprintf(record.ifname, sizeof record.ifname, "ath%d", station.vap_index);
  record.ifindex = static_cast<int32_t>(if_nametoindex(record.ifname));
  copy_text(record.mac_text, MacText(station.mac, MacText::upper_case, '-').text());
  record.tx_rate = station.tx_rate;
  record.rx_rate = station.rx_rate;
  record.vap_index = station.vap_index;
  copy_text(record.ssid, get_ssid_name(record.vap_index));
  for (const Step &next : steps) {
    if (collections_abandoned()) return false;
    if (next.run != nullptr) {
      next.run(record);
    } else {
      zol_get_80211_by_macaddr(record.mac_text, &(record.*next.field), next.counter);
    }
  }
  client_list::make_key(record);
  return true;
}

/// Collects every station and then lists them all at once, so that managers never see half a list.
/// @return how many there are: none when they cannot be asked for, which leaves the list as it is; -1 when the
/// collection was abandoned
int collect_stations() {
  std::array<ClientRecord, most_stations> records;
  const Lock lock(running_task);
  const Collection collection;
  if (CollectionGuest *guest = collection_guest.load(); guest != nullptr && Collection::current() != nullptr) guest();
  Stations stations;
  const int count = scan_stations(stations);
  if (collections_abandoned()) return -1;
  if (count == -1) return 0;
  const auto found = static_cast<size_t>(count);
  for (size_t i = 0; i < found; ++i) {
    if (!collect(stations[i], records[i])) return -1;
  }
  client_list::update({records.data(), found});
  return count;
}

bool loops_stopped() { return std::atomic_ref(thread_stopped).load(std::memory_order_relaxed) == 1; }

/// How often the loops ask whether their task is due, in milliseconds.
constexpr int32_t tick = 300;

void run_regularly(int (*task)()) {
  do {
    msleep(tick);
    if (!agent_runs()) break;
    task();
  } while (!loops_stopped());
}

}  // namespace

void zol::send_traps_with(TrapSender *sender) { trap_sender = sender; }
void zol::collect_along(CollectionGuest *guest) { collection_guest = guest; }

int init_task(void) {
  memset(task_hour, 0, sizeof task_hour);
  memset(task_minute, 0, sizeof task_minute);
  memset(task_second, 0, sizeof task_second);
  forget_port_rates();
  return 1;
}

int do_task_if_possible(int index, int32_t *period) {
  if (index < 0 || index >= 3) return 0;
  int32_t(&hour)[2] = task_hour[index];
  int32_t(&minute)[2] = task_minute[index];
  int32_t(&second)[2] = task_second[index];
  constexpr int last = 0;
  constexpr int current = 1;
  std::array<char, 20> stamp{};
  zoel_print_time(stamp.data());
  sscanf(stamp.data(), "%*d/%*d/%*d %2d:%2d:%2d", &hour[current], &minute[current], &second[current]);
  const auto seconds = [&](int when) { return hour[when] * 3600 + minute[when] * 60 + second[when]; };
  const int32_t elapsed = seconds(current) - seconds(last);
  const bool due = elapsed >= *period;
  *period = elapsed;
  if (!due) return 0;
  hour[last] = hour[current];
  minute[last] = minute[current];
  second[last] = second[current];
  return 1;
}

int zol_process_task_1(void) {
  int32_t elapsed = station_rates.period;
  if (do_task_if_possible(station_rates.index, &elapsed) == 0) return 0;
  const Lock lock(running_task);
  const Collection collection;
  ClientRecord station{};
  while (!collections_abandoned() && client_list::next(station)) {
    int32_t tx_bytes = 0;
    int32_t rx_bytes = 0;
    zol_get_80211_by_macaddr(station.mac_text, &tx_bytes, "tx_bytes");
    zol_get_80211_by_macaddr(station.mac_text, &rx_bytes, "rx_bytes");
    station.prev_tx_bytes = station.last_tx_bytes;
    station.last_tx_bytes = static_cast<uint32_t>(tx_bytes);
    station.prev_rx_bytes = station.last_rx_bytes;
    station.last_rx_bytes = static_cast<uint32_t>(rx_bytes);
    station.tx_rate_kbps = kbps(station.last_tx_bytes, station.prev_tx_bytes, elapsed);
    station.rx_rate_kbps = kbps(station.last_rx_bytes, station.prev_rx_bytes, elapsed);
    client_list::store(station);
  }
  return 0;
}

int zol_process_task_2(void) {
  int32_t elapsed = station_list.period;
  if (do_task_if_possible(station_list.index, &elapsed) == 0) return 0;
  const int count = collect_stations();
  if (count == -1) return 0;
  constexpr int enterprise_specific = 6;
  constexpr int station_lost = 2;
  // A station that joins is told by a trap of the generic kind 0; it is meant so.
  constexpr int station_joined = 0;
  for (int lost = count; lost < global_client_number; ++lost) send_trap(enterprise_specific, station_lost);
  for (int joined = global_client_number; joined < count; ++joined) send_trap(station_joined, 0);
  global_client_number = count;
  return 0;
}

int zol_process_task_3(void) {
  int32_t elapsed = port_rates.period;
  if (do_task_if_possible(port_rates.index, &elapsed) == 0) return 0;
  struct Counter {
    const char *interface;
    const char *label;
    uint32_t &last;
    float &rate;
    uint32_t now = 0;
  };
  Counter counters[] = {
      {"eth0.1", "RX bytes:", last_rx_byte[0], eth1_rx_rate},
      {"eth0.1", "TX bytes:", last_tx_byte[0], eth1_tx_rate},
      {"eth0.2", "RX bytes:", last_rx_byte[1], eth2_rx_rate},
      {"eth0.2", "TX bytes:", last_tx_byte[1], eth2_tx_rate},
  };
  const Lock lock(running_task);
  const Collection collection;
  for (Counter &counter : counters) {
    if (collections_abandoned()) return 0;
    zol_get_statistics_transmit_bytes(counter.interface, counter.label, 0, &counter.now);
  }
  for (const Counter &counter : counters) {
    publish(counter.rate, kbps(counter.now, counter.last, elapsed));
    counter.last = counter.now;
  }
  return 0;
}

int zol_process_one_thread(void) {
  zol_process_task_1();
  zol_process_task_2();
  zol_process_task_3();
  return 0;
}

void *zol_realtime_thread_1(void *) {
  run_regularly(zol_process_task_1);
  return nullptr;
}

void *zol_realtime_thread_2(void *) {
  run_regularly(zol_process_task_2);
  return nullptr;
}

void *zol_realtime_thread_3(void *) {
  forget_port_rates();
  run_regularly(zol_process_task_3);
  return nullptr;
}
