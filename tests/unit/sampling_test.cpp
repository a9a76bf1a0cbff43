// The tasks, their schedule and their traps, and the threads that the bundle runs them in.

#include "agent/sampling.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "core/switches.hpp"
#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"
#include "mib/status/status.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

using namespace std::literals;
using zol::ClientRecord;

/// The time of day, in seconds. Every sleep of the library takes a tenth of what it asks for and moves it on by one.
std::atomic<time_t> present = 0;
std::atomic<bool> moves_on = false;
/// What happens while the library sleeps, in no time then.
std::function<void()> asleep;

/// A pause of the test's own.
void pause_for(std::chrono::nanoseconds length) {
  const timespec wanted{static_cast<time_t>(length / 1s), static_cast<long>(length % 1s / 1ns)};
  clock_nanosleep(CLOCK_MONOTONIC, 0, &wanted, nullptr);
}

struct SentTrap {
  std::string kind;
  std::thread::id thread;
};
/// Which of the next attempts to start a thread of the library fail, the lowest bit first.
std::atomic<unsigned> failing_starts = 0;

std::mutex trap_guard;
std::vector<SentTrap> sent_traps;

/// The traps since the last call, for example "6.2 6.2 0.0".
std::string traps() {
  const std::lock_guard lock(trap_guard);
  std::string text;
  for (const SentTrap &trap : sent_traps) {
    text += (text.empty() ? "" : " ") + trap.kind;
  }
  sent_traps.clear();
  return text;
}

constexpr int at(int hour, int minute, int second) { return hour * 3600 + minute * 60 + second; }

/// Scripts a device with the interfaces ath0 and ath1 and the stations given as {interface, last octet}.
void script(ScriptedShell &shell, const std::vector<std::pair<int, int>> &stations) {
  shell.answers("brctl show", "br-lan\tath0\n\tath1\n");
  for (int interface = 0; interface < 2; ++interface) {
    std::string list = "ADDR AID\n";
    std::string associations;
    std::string stats;
    for (const auto &[on, octet] : stations) {
      if (on != interface) continue;
      char text[128];
      snprintf(text, sizeof text, "00:0b:6b:0a:01:%02x    1    6\n", octet);
      list += text;
      snprintf(text, sizeof text, "[00:0B:6B:0A:01:%02X]  -48 dBm / -95 dBm  CCQ=98%% Signal Chains=-51,-52\n", octet);
      associations += std::string(text) + "\tRX: 117.0 MBit/s\n\tTX: 130.0 MBit/s\n\n";
      snprintf(text, sizeof text, "0:b:6b:a:1:%x:\n\ttx_bytes %d\n\trx_bytes 5\n", octet, 1000 * octet);
      stats += text;
    }
    const std::string name = "ath" + std::to_string(interface);
    shell.answers("wlanconfig " + name + " list sta", list);
    shell.answers("iwinfo " + name + " assoclist", associations);
    shell.answers("80211stats -i " + name + " -a", stats);
  }
}

std::string listed() {
  std::string keys;
  ClientRecord record{};
  while (zol::client_list::next(record)) keys += (keys.empty() ? "" : " ") + std::string(record.mac_text + 15);
  return keys;
}

class Sampling : public testing::Test {
 protected:
  void SetUp() override {
    netsnmp_running = 1;
    thread_stopped = 0;
    global_client_number = 0;
    present = at(12, 0, 0);
    moves_on = false;
    init_task();
    releaseList();
    traps();
  }
  /// Runs a task, which is due.
  static void run(int (*task)()) {
    present += 60;
    EXPECT_EQ(task(), 0);
  }
};

TEST_F(Sampling, ATaskIsDueByTheTimeOfDay) {
  const struct {
    const char *name;
    int time, index, period;
    int due, elapsed;
  } checks[] = {
      {"before its period after midnight", at(0, 0, 10), 1, 11, 0, 10},
      {"at its period", at(0, 0, 11), 1, 11, 1, 11},
      {"another task is not affected", at(0, 0, 12), 0, 2, 1, 12},
      {"late: what has really passed", at(0, 1, 0), 1, 11, 1, 49},
      {"at the end of the day", at(23, 59, 59), 0, 2, 1, at(23, 59, 47)},
      {"after midnight", at(0, 0, 1), 0, 2, 0, at(0, 0, 1) - at(23, 59, 59)},
      {"no such task", at(12, 0, 0), 3, 2, 0, 2},
      {"no such task either", at(12, 0, 0), -1, 2, 0, 2},
  };
  for (const auto &check : checks) {
    SCOPED_TRACE(check.name);
    present = check.time;
    int32_t period = check.period;
    EXPECT_EQ(do_task_if_possible(check.index, &period), check.due);
    EXPECT_EQ(period, check.elapsed);
  }
  EXPECT_EQ(init_task(), 1);
  int32_t period = 2;
  EXPECT_EQ(do_task_if_possible(0, &period), 1) << "forgotten";
}

TEST_F(Sampling, EachTaskHasItsPeriod) {
  ScriptedShell shell;
  script(shell, {{0, 1}});
  const std::pair<int (*)(), int> tasks[] = {
      {zol_process_task_2, 11}, {zol_process_task_1, 2}, {zol_process_task_3, 3}};
  for (const auto &[task, period] : tasks) {
    run(task);
    const time_t start = present;
    for (const int passed : {period - 1, period}) {
      shell.commands();
      present = start + passed;
      task();
      EXPECT_EQ(shell.commands().empty(), passed < period) << period;
    }
  }
}

TEST_F(Sampling, PortRatesAreTakenFromTheCounters) {
  ScriptedShell shell;
  const Commands commands = {"ifconfig | grep eth0.1", "ifconfig eth0.1", "ifconfig | grep eth0.1", "ifconfig eth0.1",
                             "ifconfig | grep eth0.2", "ifconfig eth0.2", "ifconfig | grep eth0.2", "ifconfig eth0.2"};
  const auto counters = [&](const char *port, uint32_t rx, uint32_t tx) {
    const std::string name = std::string("eth0.") + port;
    shell.answers("ifconfig | grep " + name, name + "  Link encap:Ethernet\n");
    shell.answers("ifconfig " + name,
                  "  RX bytes:" + std::to_string(rx) + " (x)  TX bytes:" + std::to_string(tx) + "\n");
  };
  const auto rates = [] { return std::vector{eth1_rx_rate, eth1_tx_rate, eth2_rx_rate, eth2_tx_rate}; };
  using Rates = std::vector<float>;
  counters("1", 4096, 8192);
  counters("2", 0, 0xFFFFFF00U);
  thread_stopped = 1;
  present = 4;
  zol_realtime_thread_3(nullptr);
  EXPECT_EQ(shell.commands(), commands) << "one run, though it was told to stop before";
  // (-256 * 8) / (4 * 1024): a counter beyond 31 bits looks negative at first.
  EXPECT_EQ(rates(), (Rates{8, 16, 0, -0.5}));
  counters("1", 4096 + 5 * 128, 8192);
  counters("2", 640, 0x100);
  present = 9;
  zol_process_task_3();
  EXPECT_EQ(rates(), (Rates{1, 0, 1, 0.8F})) << "over five seconds, and across the counter's end";
  EXPECT_EQ(shell.commands(), commands);
  netsnmp_running = 0;
  present = 60;
  zol_realtime_thread_3(nullptr);
  EXPECT_EQ(rates(), (Rates{0, 0, 0, 0})) << "a loop that starts forgets";
  EXPECT_EQ(last_rx_byte[0], 0U);
  EXPECT_EQ(shell.commands(), Commands{}) << "the agent ends";
}

TEST_F(Sampling, StationRatesAreKeptInTheList) {
  ScriptedShell shell;
  script(shell, {{0, 0x10}, {1, 0x20}});
  run(zol_process_task_2);
  shell.commands();
  present += 4;
  zol_process_task_1();
  present += 2;
  script(shell, {{0, 0x11}, {1, 0x20}});
  zol_process_task_1();
  // Two counters of each station; the first one has left before the second run.
  Commands expected;
  for (const int interfaces : {1, 1, 2, 2, 2, 2, 2, 2}) {
    expected.emplace_back("brctl show");
    for (int i = 0; i < interfaces; ++i) expected.push_back("80211stats -i ath" + std::to_string(i) + " -a");
  }
  EXPECT_EQ(shell.commands(), expected);
  ClientRecord record{};
  ASSERT_TRUE(zol::client_list::copy(0, record));
  EXPECT_EQ(record.prev_tx_bytes, 16000U);
  EXPECT_EQ(record.last_tx_bytes, 0U);
  EXPECT_EQ(record.tx_rate_kbps, -16000.0F * 8 / 2048);
  ASSERT_TRUE(zol::client_list::copy(1, record));
  EXPECT_EQ(record.prev_tx_bytes, 32000U);
  EXPECT_EQ(record.last_tx_bytes, 32000U);
  EXPECT_EQ(record.tx_rate_kbps, 0);
}

TEST_F(Sampling, ACollectionRunsItsSequenceAndFillsARecord) {
  ScriptedShell shell;
  script(shell, {{1, 0xEF}});
  // The counters as they stand in a record; "-" is what no counter fills. Each has a value of its own.
  std::istringstream text(
      "rx_data rx_mgmt rx_ctrl rx_data rx_mcast - rx_bytes - rx_beacons rx_proberesp rx_dup rx_noprivacy rx_wepfail "
      "rx_demicfail rx_decap rx_defrag rx_disassoc rx_deauth rx_decryptcrc rx_unauth rx_unencrypted tx_data tx_mgmt "
      "tx_data tx_mcast - tx_bytes - tx_assoc tx_assoc_fail - tx_auth tx_auth_fail - tx_deauth tx_deauth_code "
      "tx_disassoc tx_disassoc_code");
  const std::vector<std::string> counters{std::istream_iterator<std::string>(text), {}};
  const auto value_of = [](const std::string &name) {
    return name == "-" ? 0 : static_cast<int32_t>(std::hash<std::string>{}(name) % 100000 + 1);
  };
  std::string stats = "0:b:6b:a:1:ef:\ntx_discard 105\n";
  for (const std::string &name : counters) stats += name + " " + std::to_string(value_of(name)) + "\n";
  const std::string ssid = "uci show wireless | grep \"iface\\[1\\].ssid=\"";
  const std::string lease_time = "uci show dhcp | grep \"lan.leasetime\"";
  const std::string leases = "cat /var/dhcp.leases";
  shell.answers("80211stats -i ath1 -a", stats)
      .answers(ssid, "wireless.@wifi-iface[1].ssid=" + std::string(60, 's') + "\n")
      .answers("ifconfig ath0 | grep \"TX packets\"", "  TX packets:1 errors:3 dropped:0 overruns:0 carrier:0\n")
      .answers("ifconfig ath0 | grep \"RX packets\"", "  RX packets:1 errors:12 dropped:0 overruns:0 frame:0\n")
      .answers(lease_time, "dhcp.lan.leasetime=1h\n")
      .answers(leases, std::to_string(at(12, 1, 0)) + " 00:0b:6b:0a:01:ef 192.168.1.101 * *\n");
  run(zol_process_task_2);

  std::map<char, Commands> steps = {{'S', {"brctl show", "80211stats -i ath0 -a", "80211stats -i ath1 -a"}},
                                    {'A', {"brctl show", "iwinfo ath0 assoclist", "iwinfo ath1 assoclist"}},
                                    {'T', {"ifconfig ath0 | grep \"TX packets\""}},
                                    {'R', {"ifconfig ath0 | grep \"RX packets\""}},
                                    {'D', {lease_time}},
                                    {'L', {leases}}};
  Commands expected = {"brctl show", "wlanconfig ath0 list sta", "wlanconfig ath1 list sta"};
  for (const std::string &more : {"iwinfo ath1 assoclist"s, "iwinfo ath1 assoclist"s, ssid}) expected.push_back(more);
  for (const char step : "SSAAA" + std::string(27, 'S') + "TRA" + std::string(9, 'S') + "LDL") {
    expected.insert(expected.end(), steps[step].begin(), steps[step].end());
  }
  EXPECT_EQ(shell.commands(), expected);

  ClientRecord record{};
  ASSERT_TRUE(zol::client_list::copy(0, record));
  EXPECT_FALSE(zol::client_list::copy(1, record));
  EXPECT_STREQ(record.key, "0007 00-0B-6B-0A-01-EF");
  EXPECT_STREQ(record.ifname, "ath1");
  EXPECT_STREQ(record.ssid, std::string(39, 's').c_str());
  EXPECT_STREQ(record.signal_chains, "-51,-52");
  EXPECT_STREQ(record.uptime_text, "0 Days 01:00:00");
  EXPECT_EQ(record.ip_address, 0xC0A80165U);
  const std::vector<int32_t> others = {record.tx_rate,        record.rx_rate,        record.rssi,
                                       record.noise,          record.txccq,          record.vap_index,
                                       record.tx_err_packets, record.rx_err_packets, record.tx_discard};
  EXPECT_EQ(others, (std::vector<int32_t>{130, 117, -48, -95, 98, 1, 3, 12, 105}));
  EXPECT_EQ(record.auth_ok, value_of("tx_auth") - value_of("tx_auth_fail"));
  EXPECT_EQ(record.assoc_ok, value_of("tx_assoc") - value_of("tx_assoc_fail"));
  EXPECT_EQ(record.last_tx_bytes, 0U);
  record.auth_ok = record.assoc_ok = 0;
  std::vector<int32_t> words(counters.size());
  memcpy(words.data(), reinterpret_cast<const char *>(&record) + offsetof(ClientRecord, rx_data),
         words.size() * sizeof(int32_t));
  for (size_t i = 0; i < words.size(); ++i) EXPECT_EQ(words[i], value_of(counters[i])) << i << " " << counters[i];
}

TEST_F(Sampling, AScanFindsAtMostEightStations) {
  ScriptedShell shell;
  script(shell, {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}, {1, 6}, {1, 7}, {1, 8}, {1, 9}});
  // A station without a receive rate shows the other one again.
  shell.answers("iwinfo ath1 assoclist", "[00:0B:6B:0A:01:06]\n\tTX: 54.0 MBit/s\n\n");
  run(zol_process_task_2);
  EXPECT_EQ(listed(), "01 02 03 04 05 06 07 08");
  ClientRecord record{};
  zol::client_list::copy(5, record);
  EXPECT_EQ(record.rx_rate, 54);
  zol::client_list::copy(6, record);
  EXPECT_EQ(record.rx_rate, 0);

  // Lines that only look like stations, and one with half an address.
  shell.answers("wlanconfig ath0 list sta", "00:0b\n12:34\nab-cd:ef:gh\n00:0b:6b:zz\n")
      .answers("wlanconfig ath1 list sta", "");
  run(zol_process_task_2);
  EXPECT_EQ(listed(), "00");
}

TEST_F(Sampling, TrapsTellHowManyCameAndWent) {
  ScriptedShell shell;
  const struct {
    const char *name;
    std::vector<std::pair<int, int>> stations;
    std::string traps, listed;
  } collections[] = {
      {"two at first", {{0, 1}, {1, 2}}, "0.0 0.0", "01 02"},
      {"one for another", {{0, 1}, {1, 3}}, "", "01 02 03"},
      {"three more", {{0, 1}, {0, 4}, {0, 5}, {0, 6}, {1, 3}}, "0.0 0.0 0.0", "01 04 05 06 02 03"},
      {"four less", {{1, 3}}, "6.2 6.2 6.2 6.2", "03"},
      {"none", {}, "6.2", ""},
  };
  for (const auto &collection : collections) {
    SCOPED_TRACE(collection.name);
    script(shell, collection.stations);
    run(zol_process_task_2);
    EXPECT_EQ(traps(), collection.traps);
    EXPECT_EQ(listed(), collection.listed);
  }
  // What cannot be asked for counts as gone, and stays listed.
  script(shell, {{0, 1}, {0, 2}});
  run(zol_process_task_2);
  traps();
  shell.cannot_start("wlanconfig ath1 list sta");
  run(zol_process_task_2);
  EXPECT_EQ(traps(), "6.2 6.2");
  EXPECT_EQ(listed(), "01 02");
  EXPECT_EQ(global_client_number, 0);
}

TEST_F(Sampling, ProbesMeasureOneSecond) {
  ScriptedShell shell;
  const struct {
    int (*probe)(float *);
    std::string command, before, after;
  } probes[] = {
      {zol_get_tx_realtime, "ifconfig ath0 | grep \"TX bytes\"", " RX bytes:1 (x)  TX bytes:1000 (x)\n",
       " RX bytes:9 (x)  TX bytes:2280 (x)\n"},
      {zol_get_rx_realtime, "ifconfig ath0 | grep \"RX bytes\"", " RX bytes:4294967040 (x)\n", " RX bytes:1024 (x)\n"},
      {zol_get_80211_tx_realtime, "80211stats -i ath0 -a", "tx_bytes 20\n", "tx_bytes 1300\n"},
      {zol_get_80211_rx_realtime, "80211stats -i ath0 -a", "rx_bytes 0\n", "rx_bytes 1280\n"},
  };
  for (const auto &asked : probes) {
    shell.answers(asked.command, asked.before);
    asleep = [&] { shell.answers(asked.command, asked.after); };
    float rate = -1;
    EXPECT_EQ(asked.probe(&rate), 0);
    EXPECT_EQ(rate, 10) << asked.command << ": 1280 bytes are 10 Kbit";
    EXPECT_EQ(shell.commands(), (Commands{asked.command, asked.command}));
  }
  asleep = nullptr;
}

// The threads under an agent, whose main loop is played here.

class Bundle : public Sampling {
 protected:
  void SetUp() override {
    registered_rows();
    Sampling::SetUp();
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
    moves_on = true;
  }

  /// Ends the threads before what they use.
  struct Threads {
    Threads() { zol::schedule_sampling(); }
    ~Threads() { zol::stop_sampling(); }
  };

  /// Plays the main loop, with a walk of the table in every turn, until `done`.
  static bool serve_until(const std::function<bool()> &done, std::chrono::seconds patience = 60s) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!done()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      run_alarms();
      walk();
      pause_for(1ms);
    }
    return true;
  }

  /// Until so many stations are listed and so many traps sent. The traps of a collection come a little later.
  static bool serve_until_listed(int stations, size_t traps) {
    return serve_until([=] {
      const std::lock_guard lock(trap_guard);
      return walk() == stations && sent_traps.size() == traps;
    });
  }

  /// Asks for what the threads collect: a port's rate and two columns, as long as there are rows. How many there are.
  static int walk() {
    int row = 1;
    for (; const auto address = get("client_mac", row); ++row) {
      EXPECT_EQ(address->bytes.substr(0, 5), "\x00\x0B\x6B\x0A\x01"s);
      get("client_signal_chains", row);
    }
    EXPECT_TRUE(get("eth1_rx_rate"));
    return row - 1;
  }
};

TEST_F(Bundle, CollectsInTheBackgroundAndSendsTrapsFromTheAgentsThread) {
  ScriptedShell shell;
  script(shell, {{0, 1}, {1, 2}});
  const Threads threads;
  zol::schedule_sampling();
  EXPECT_EQ(shell.commands(), Commands{}) << "nothing before the agent's main loop";
  ASSERT_TRUE(serve_until_listed(2, 2));
  script(shell, {});
  ASSERT_TRUE(serve_until_listed(0, 4));
  for (const SentTrap &trap : sent_traps) EXPECT_EQ(trap.thread, std::this_thread::get_id());
  EXPECT_EQ(traps(), "0.0 0.0 6.2 6.2");

  script(shell, {{0, 1}});
  ASSERT_TRUE(serve_until_listed(1, 1));
  zol::stop_sampling();
  EXPECT_EQ(walk(), 0);
  EXPECT_EQ(thread_stopped, 1);
  shell.commands();
  pause_for(100ms);
  EXPECT_EQ(shell.commands(), Commands{}) << "all threads have ended";
  zol::schedule_sampling();
  ASSERT_TRUE(serve_until_listed(1, 1)) << "and start again";
}

TEST_F(Bundle, AThreadThatCannotBeStartedIsTriedAgain) {
  ScriptedShell shell;
  script(shell, {{0, 1}});
  testing::internal::CaptureStderr();
  // The first thread starts at the third attempt, and the second with it; the third starts at its second one.
  failing_starts = 0b10011;
  const Threads threads;
  EXPECT_TRUE(serve_until_listed(1, 1));
  EXPECT_EQ(failing_starts, 0);
  const std::string logged = testing::internal::GetCapturedStderr();
  EXPECT_EQ(logged.find("cannot be started"), logged.rfind("cannot be started")) << logged;
  EXPECT_NE(logged, "");
}

TEST_F(Bundle, AHangingCommandHoldsUpNeitherRequestsNorTheEnd) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(testing::TempDir()) / ("zolarc-" + std::to_string(getpid()));
  const fs::path hangs = folder / "hangs";
  fs::create_directory(folder);
  std::ofstream(hangs).close();
  std::ofstream(folder / "brctl") << "#!/bin/sh\necho >> " << (folder / "calls").string() << "\nwhile [ -e "
                                  << hangs.string() << " ]; do sleep 0.05; done\n";
  fs::permissions(folder / "brctl", fs::perms::all);
  const char *inherited = getenv("PATH");
  const std::string path = inherited == nullptr ? "" : inherited;
  setenv("PATH", (folder.string() + ":" + path).c_str(), 1);
  const auto calls = [&] {
    std::error_code none;
    const auto size = fs::file_size(folder / "calls", none);
    return none ? 0 : size;
  };
  // The table beside the tree asks on its own.
  const zol::Switch &extensions = *std::ranges::find(zol::switches(), "zolarcExtensions"s, &zol::Switch::name);
  *extensions.value = 0;
  const Threads threads;
  ASSERT_TRUE(serve_until([&] { return calls() == 1; }));
  // Neither would come back before the command does.
  walk();
  zol::stop_sampling();
  zol::schedule_sampling();
  EXPECT_FALSE(serve_until([&] { return calls() > 1; }, 1s)) << "the old thread is still there";
  fs::remove(hangs);
  EXPECT_TRUE(serve_until([&] { return calls() > 1; })) << "and then makes room";
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(traps(), "") << "what was given up tells nothing";
  *extensions.value = extensions.initial;
  fs::remove_all(folder);
}

}  // namespace

extern "C" {

time_t time(time_t *timer) noexcept {
  if (timer != nullptr) *timer = present;
  return present;
}

int nanosleep(const timespec *requested_time, timespec * /*remaining*/) {
  if (asleep) return asleep(), 0;
  pause_for((std::chrono::seconds(requested_time->tv_sec) + std::chrono::nanoseconds(requested_time->tv_nsec)) / 10);
  if (moves_on) ++present;
  return 0;
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *), void *argument) noexcept {
  const unsigned failing = failing_starts;
  failing_starts = failing / 2;
  if (failing % 2 != 0) return EAGAIN;
  using Function = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "pthread_create"))(thread, attributes, run, argument);
}

unsigned if_nametoindex(const char *name) noexcept { return strcmp(name, "ath1") == 0 ? 7 : 3; }

void send_easy_trap(int generic, int specific) {
  const std::lock_guard lock(trap_guard);
  sent_traps.push_back({std::to_string(generic) + "." + std::to_string(specific), std::this_thread::get_id()});
}
}
