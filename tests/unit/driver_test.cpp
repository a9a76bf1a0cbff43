// The loader through the wireless driver's ioctls, with a driver and files of the test's own.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>
// The kernel's header wants the C library's first.
#include <linux/wireless.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"
#include "mib/clients/driver.hpp"

namespace {

using Strings = std::vector<std::string>;

constexpr unsigned long statistics_request = SIOCDEVPRIVATE + 5;
constexpr unsigned long table_request = SIOCDEVPRIVATE + 6;

/// What the loader finds, and what it has asked for.
struct Machine {
  std::map<std::string, std::string> files;
  /// The station table of each device.
  std::map<std::string, std::string> tables;
  bool sockets = true;
  bool statistics = true;
  Strings asked;
  Strings logged;
};
Machine *machine = nullptr;

/// Gives every test a machine of its own.
class Driver : public testing::Test {
 protected:
  void SetUp() override { machine = &machine_; }
  void TearDown() override {
    machine = nullptr;
    releaseList();
    zol::report_rssi_in_dbm(true);
  }
  Machine machine_;
};

/// An entry of the driver's station table.
std::string station(const char (&mac)[7], size_t length = 164) {
  std::string entry(length, '\0');
  const auto put = [&](size_t offset, auto value) { memcpy(entry.data() + offset, &value, sizeof value); };
  put(0, static_cast<uint16_t>(length));
  put(8, int32_t{0x01020304});
  put(12, uint8_t{40});
  memcpy(entry.data() + 16, mac, 6);
  put(25, uint8_t{0x80 | 108});
  put(38, uint8_t{2});
  put(70, uint16_t{700});
  put(144, int32_t{54});
  return entry;
}

std::string listed(bool in_detail = false) {
  std::string text;
  zol::ClientRecord record{};
  while (zol::client_list::next(record)) {
    text += record.mac_text;
    if (in_detail) {
      for (const int32_t number : {record.station_word, record.tx_rate, record.rate_legacy, record.rssi,
                                   record.legacy_word, record.rx_data, record.rx_mgmt, record.tx_disassoc_code}) {
        text += " " + std::to_string(number);
      }
      text += std::string(" ") + record.ifname;
    }
    text += "\n";
  }
  return text;
}

constexpr const char *interfaces =
    "Inter-|   Receive\n"
    " face |bytes\n"
    "    lo: 1 2 3\n"
    "  ath0:12 3\n"
    "wlan0: 1 2\n"
    "  ath1: 1 2\n";
constexpr const char *configuration =
    "[wlan0]\nMODE=0\nDEVICE=ath0\nCDEVNAME=ath8\n"
    "[wlan1]\nMODE=2\nDEVICE=ath9\nCDEVNAME=ath1\n";

TEST_F(Driver, ListsTheStationsOfEveryWirelessInterface) {
  machine_.files = {{"/proc/net/dev", interfaces},
                    {"/proc/net/wireless", "Inter\n ath0: 000F   70.  -48.  -95.\n"},
                    {"/etc/sysctl.conf", configuration}};
  machine_.tables = {{"ath0", station("\x00\x0b\x6b\x0a\xff\x02") + station("\x00\x0b\x6b\x0a\xff\x01", 168)},
                     {"ath1", station("\x02\x0b\x6b\x0a\xff\x03")}};
  zol::client_list::insert({});
  loadTables();
  EXPECT_EQ(listed(true),
            "00:0B:6B:0A:FF:01 16909060 54 54 -55 700 1000 1001 1037 ath0\n"
            "00:0B:6B:0A:FF:02 16909060 54 54 -55 700 1000 1001 1037 ath0\n"
            "02:0B:6B:0A:FF:03 16909060 54 54 -55 700 1000 1001 1037 ath1\n");

  const auto name = [](auto request) { return std::to_string(request); };
  Strings expected;
  for (const std::string interface : {"lo", "ath0", "wlan0", "ath1"}) {
    expected.push_back(interface + " " + name(SIOCGIWNAME));
    if (!interface.starts_with("ath")) continue;
    for (const int request : {SIOCGIWNAME, SIOCGIWRANGE, SIOCGIWNWID, SIOCGIWFREQ, SIOCGIWSENS, SIOCGIWENCODE,
                              SIOCGIWENCODE, SIOCGIWESSID, SIOCGIWAP, SIOCGIWNICKN, SIOCGIWRATE, SIOCGIWRTS,
                              SIOCGIWFRAG, SIOCGIWMODE, SIOCGIWPOWER, SIOCGIWRETRY, SIOCGIWSTATS}) {
      expected.push_back(interface + " " + name(request));
    }
  }
  for (const auto &request : std::initializer_list<std::string>{
           "ath0 " + name(table_request), "ath0 " + name(statistics_request), "ath0 " + name(statistics_request),
           "ath1 " + name(table_request), "ath1 " + name(statistics_request)})
    expected.push_back(request);
  EXPECT_EQ(machine_.asked, expected);

  zol::report_rssi_in_dbm(false);
  loadAssociatedClients();
  EXPECT_NE(listed(true).find("FF:01 16909060 54 54 40 700"), std::string::npos);
}

TEST_F(Driver, SaysWhatItCannotRead) {
  const std::string two = station("\x02\x0b\x6b\x0a\xff\x03") + station("\x02\x0b\x6b\x0a\xff\x04");
  const std::string first = "02:0B:6B:0A:FF:03\n";
  const std::string both = first + "02:0B:6B:0A:FF:04\n";
  const std::string normal = "[wlan0]\nMODE=4\nDEVICE=ath0\n";
  const std::string odd_mode = "It to be an error in function:loadAssociatedClients\n";
  const std::string no_table = "loadAssociatedClients: unable to get station information\n";
  const std::string no_statistics = "unable to get station stats for 02:0B:6B:0A:FF:03\n";
  const struct {
    const char *name;
    std::string configuration, table;
    bool statistics;
    std::string listed, printed;
  } cases[] = {{"nothing wrong", normal, two, true, both, ""},
               {"unknown mode", "[wlan0]\nMODE=5\nDEVICE=ath0\n", two, true, "", odd_mode},
               {"no mode", "[wlan0]\nDEVICE=ath0\n", two, true, "", odd_mode},
               {"no table", normal, "", true, "", no_table},
               {"no statistics", normal, two, false, "", no_statistics},
               {"a table cut short", normal, two.substr(0, 327), true, first, ""},
               {"an entry without a length", normal, two.substr(0, 164) + std::string(200, '\0'), true, first, ""}};
  for (const auto &fault : cases) {
    SCOPED_TRACE(fault.name);
    machine_.files = {{"/proc/net/dev", " ath0: 1\n"}, {"/etc/sysctl.conf", fault.configuration}};
    machine_.tables = {{"ath0", fault.table}};
    machine_.statistics = fault.statistics;
    testing::internal::CaptureStdout();
    loadTables();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), fault.printed);
    EXPECT_EQ(listed(), fault.listed);
  }
  machine_.sockets = false;
  testing::internal::CaptureStdout();
  loadAssociatedClients();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "socket fail\n");
  EXPECT_EQ(machine_.logged, Strings{});
  const std::string before = listed();
  loadTables();
  EXPECT_EQ(machine_.logged, Strings{"SNMP zolwlanlib.loadTables() - socket open failure\n"});
  EXPECT_EQ(listed(), before) << "nothing is lost";
}

template <class Function>
Function *original(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  if (machine != nullptr && !machine->sockets) return -1;
  return original<int(int, int, int)>("socket")(domain, type, protocol);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void *argument = va_arg(arguments, void *);
  va_end(arguments);
  if (machine == nullptr || request < SIOCDEVPRIVATE || request > SIOCIWLAST) {
    return original<int(int, unsigned long, ...)>("ioctl")(fd, request, argument);
  }
  auto &wireless = *static_cast<iwreq *>(argument);
  const std::string interface = wireless.ifr_ifrn.ifrn_name;
  machine->asked.push_back(interface + " " + std::to_string(request));
  if (request == table_request) {
    const auto table = machine->tables.find(interface);
    if (table == machine->tables.end() || table->second.empty()) return -1;
    EXPECT_EQ(wireless.u.data.length, 24576);
    memcpy(wireless.u.data.pointer, table->second.data(), table->second.size());
    wireless.u.data.length = static_cast<uint16_t>(table->second.size());
    return 0;
  }
  if (request == statistics_request) {
    EXPECT_EQ(wireless.u.data.length, 208);
    if (!machine->statistics) return -1;
    // The address, and behind it the driver's counters: 1000, 1001, ...
    int32_t counters[50];
    for (int i = 0; i < 50; ++i) counters[i] = 1000 + i;
    memcpy(static_cast<char *>(wireless.u.data.pointer) + 8, counters, sizeof counters);
    return 0;
  }
  return interface == "lo" ? -1 : 0;
}

FILE *fopen(const char *filename, const char *modes) {
  if (machine != nullptr && (strncmp(filename, "/proc/", 6) == 0 || strncmp(filename, "/etc/", 5) == 0)) {
    const auto file = machine->files.find(filename);
    if (file == machine->files.end()) return nullptr;
    return fmemopen(file->second.data(), file->second.size(), "r");
  }
  return original<FILE *(const char *, const char *)>("fopen")(filename, modes);
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's names are its own
int open(const char *path, int flags, ...) {
  if (machine != nullptr && strncmp(path, "/etc/", 5) == 0) {
    const auto file = machine->files.find(path);
    if (file == machine->files.end()) return -1;
    const int descriptor = memfd_create("file", MFD_CLOEXEC);
    const std::string &text = file->second;
    EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    lseek(descriptor, 0, SEEK_SET);
    return descriptor;
  }
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return original<int(const char *, int, ...)>("open")(path, flags, mode);
}

void syslog(int pri, const char *fmt, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, fmt);
  vsnprintf(text, sizeof text, fmt, arguments);
  va_end(arguments);
  EXPECT_EQ(pri, LOG_ERR);
  if (machine != nullptr) machine->logged.emplace_back(text);
}
}
