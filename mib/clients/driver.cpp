// Fills the list of stations from the wireless driver's own tables, by its ioctls. Nothing in the library calls
// `loadTables`: it is offered to programs that load the library where the tools that the tasks ask are not installed.

#include "mib/clients/driver.hpp"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>

#include "core/address.hpp"
#include "core/conf_file.hpp"
#include "core/text.hpp"
#include "core/wireless_driver.hpp"
#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"

using namespace zol;

namespace {

constinit std::atomic<bool> rssi_in_dbm = true;

/// How many wireless interfaces `loadTables` has seen.
int wireless_interfaces = 0;

/// What the driver says of an interface. No object shows it.
struct InterfaceInfo {
  char interface[16];
  char protocol[16];
  char access_point[18];
  int32_t mode;
  int32_t bit_rate;
  uint32_t status;
  int32_t quality;
  int32_t signal;
  int32_t noise;
};
static_assert(sizeof(InterfaceInfo) == 76);
std::array<InterfaceInfo, 4> interface_info;

/// Reads " ath0: 0000   70.  -48.  -95. ..." from the kernel's table.
void read_wireless_status(const char *interface, InterfaceInfo &info) {
  FILE *file = fopen("/proc/net/wireless", "re");
  if (file == nullptr) return;
  std::array<char, 1024> line{};
  while (fgets(line.data(), line.size(), file) != nullptr) {
    const char *name = line.data() + strspn(line.data(), " ");
    const size_t length = strlen(interface);
    if (strncmp(name, interface, length) != 0 || name[length] != ':') continue;
    sscanf(name + length + 1, "%X %d. %d. %d.", &info.status, &info.quality, &info.signal, &info.noise);
    break;
  }
  fclose(file);
}

/// Asks the driver all it tells of an interface. Only some of the answers are kept.
void load_interface(const WirelessDriver &driver, const char *interface, InterfaceInfo &info) {
  interface_info = {};
  copy_text(info.interface, interface);
  iwreq answer{};
  if (driver.ask(interface, SIOCGIWNAME, answer)) {
    answer.u.name[sizeof answer.u.name - 1] = '\0';
    copy_text(info.protocol, answer.u.name);
  }
  // Room for the largest answer, a driver's whole range structure, whatever its release.
  std::array<char, 2 * sizeof(iw_range)> room{};
  const auto ask = [&](unsigned long request) { driver.ask(interface, request, answer); };
  const auto ask_text = [&](unsigned long request) { driver.ask(interface, request, room.data(), room.size()); };
  ask_text(SIOCGIWRANGE);
  ask(SIOCGIWNWID);
  ask(SIOCGIWFREQ);
  ask(SIOCGIWSENS);
  // Whether there is a key, and the key.
  ask_text(SIOCGIWENCODE);
  ask_text(SIOCGIWENCODE);
  ask_text(SIOCGIWESSID);
  if (driver.ask(interface, SIOCGIWAP, answer)) {
    Mac mac{};
    memcpy(mac.data(), answer.u.ap_addr.sa_data, mac.size());
    copy_text(info.access_point, MacText(mac).text());
  }
  ask_text(SIOCGIWNICKN);
  if (driver.ask(interface, SIOCGIWRATE, answer)) info.bit_rate = answer.u.bitrate.value;
  ask(SIOCGIWRTS);
  ask(SIOCGIWFRAG);
  if (driver.ask(interface, SIOCGIWMODE, answer)) info.mode = static_cast<int32_t>(answer.u.mode);
  ask(SIOCGIWPOWER);
  ask(SIOCGIWRETRY);
  ask_text(SIOCGIWSTATS);
  read_wireless_status(interface, info);
}

// The driver's private requests.

constexpr unsigned long get_station_statistics = SIOCDEVPRIVATE + 5;
constexpr unsigned long get_station_table = SIOCDEVPRIVATE + 6;

/// One entry of the station table: at least 164 bytes, in the machine's byte order.
class StationEntry {
 public:
  static constexpr size_t shortest = 164;

  explicit StationEntry(const char *bytes) : bytes_(bytes) {}

  [[nodiscard]] size_t length() const { return field<uint16_t>(0); }
  [[nodiscard]] int32_t station_word() const { return field<int32_t>(8); }
  [[nodiscard]] int32_t rssi() const { return field<uint8_t>(12); }
  [[nodiscard]] Mac mac() const { return field<Mac>(16); }
  /// Mbit/s. The driver's table counts in half Mbit/s, with a flag in its top bit.
  [[nodiscard]] int32_t tx_rate() const {
    constexpr size_t rates = 23;
    constexpr size_t rate_count = 15;
    const size_t index = field<uint8_t>(rates + rate_count);
    return index < rate_count ? field<uint8_t>(rates + index) >> 1U & 63U : 0;
  }
  [[nodiscard]] int32_t legacy_word() const { return field<uint16_t>(70); }
  [[nodiscard]] int32_t rate_legacy() const { return field<int32_t>(144); }

 private:
  template <class Value>
  [[nodiscard]] Value field(size_t offset) const {
    Value value;
    memcpy(&value, bytes_ + offset, sizeof value);
    return value;
  }

  const char *bytes_;
};

/// A request for a station's counters, and the answer.
struct StatisticsRequest {
  Mac mac;
  std::array<uint8_t, 2> unused;
  std::array<char, 200> counters;
};
static_assert(sizeof(StatisticsRequest) == 208);

void fill(ClientRecord &record, const char *device, const StationEntry &entry) {
  record = {};
  // Devices have names of at most 16 characters here.
  copy_text(std::span(record.ifname, 17), device);
  record.ifindex = static_cast<int32_t>(if_nametoindex(record.ifname));
  copy_text(record.mac_text, MacText(entry.mac()).text());
  client_list::make_key(record);
  record.station_word = entry.station_word();
  record.tx_rate = entry.tx_rate();
  record.rate_legacy = entry.rate_legacy();
  record.rssi = entry.rssi() - (rssi_in_dbm ? 95 : 0);
  record.legacy_word = entry.legacy_word();
}

/// Lists the stations of one device. False when the driver does not answer.
bool load_stations(const char *device) {
  const WirelessDriver driver;
  if (!driver) {
    printf("socket fail\n");
    return false;
  }
  std::array<char, 24576> table{};
  int left = driver.ask(device, get_station_table, table.data(), table.size());
  if (left < 0) {
    printf("loadAssociatedClients: unable to get station information\n");
    return false;
  }
  size_t remaining = std::min(static_cast<size_t>(left), table.size());
  const char *next = table.data();
  while (remaining >= StationEntry::shortest) {
    const StationEntry entry(next);
    if (entry.length() < StationEntry::shortest || entry.length() > remaining) break;
    ClientRecord record;
    fill(record, device, entry);
    StatisticsRequest statistics{};
    statistics.mac = entry.mac();
    if (driver.ask(device, get_station_statistics, &statistics, sizeof statistics) < 0) {
      printf("unable to get station stats for %s\n", record.mac_text);
      return false;
    }
    memcpy(reinterpret_cast<char *>(&record) + offsetof(ClientRecord, rx_data), statistics.counters.data(),
           statistics.counters.size());
    client_list::insert(record);
    next += entry.length();
    remaining -= entry.length();
  }
  return true;
}

/// The device of a radio by its section of the configuration; false when its mode is unknown.
bool read_device(ConfFile *configuration, int radio, std::span<char> device) {
  std::array<char, 16> text{};
  snprintf(text.data(), text.size(), "wlan%d", radio);
  if (confSection(configuration, text.data()) != 0 || confRead(configuration, "MODE", text.data(), text.size()) != 0) {
    return false;
  }
  const char *digits = text.data();
  switch (scan_int32(digits).value_or(-1)) {
    case 0:
    case 3:
    case 4:
      return confRead(configuration, "DEVICE", device.data(), device.size()) == 0;
    case 1:
    case 2:
      return confRead(configuration, "CDEVNAME", device.data(), device.size()) == 0;
    default:
      return false;
  }
}

}  // namespace

void zol::report_rssi_in_dbm(bool in_dbm) { rssi_in_dbm = in_dbm; }

void loadTables(void) {
  const WirelessDriver driver;
  if (!driver) {
    syslog(LOG_ERR, "SNMP zolwlanlib.loadTables() - %s\n", "socket open failure");
    return;
  }
  client_list::clear(client_list::Former::keep);
  wireless_interfaces = 0;
  FILE *file = fopen("/proc/net/dev", "re");
  if (file == nullptr) return;
  std::array<char, 1024> line{};
  while (fgets(line.data(), line.size(), file) != nullptr) {
    char *colon = strchr(line.data(), ':');
    if (colon == nullptr) continue;
    *colon = '\0';
    const char *interface = line.data() + strspn(line.data(), " ");
    iwreq answer{};
    if (!driver.ask(interface, SIOCGIWNAME, answer) || strstr(interface, "ath") == nullptr) continue;
    const auto slot = static_cast<size_t>(wireless_interfaces) % interface_info.size();
    load_interface(driver, interface, interface_info[slot]);
    ++wireless_interfaces;
  }
  fclose(file);
  loadAssociatedClients();
}

void loadAssociatedClients(void) {
  ConfFile *configuration = confOpen("/etc/sysctl.conf");
  if (configuration == nullptr) return;
  for (int radio = 0; radio < wireless_interfaces; ++radio) {
    std::array<char, IFNAMSIZ> device{};
    if (!read_device(configuration, radio, device)) {
      printf("It to be an error in function:loadAssociatedClients\n");
      continue;
    }
    if (!load_stations(device.data())) break;
  }
  confClose(configuration);
}
