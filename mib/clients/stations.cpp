// Who is associated, and what the system's tools tell about one station.

#include "mib/clients/stations.hpp"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/function_ref.hpp"
#include "core/text.hpp"
#include "mib/clients/clients.hpp"
#include "mib/clients/counters.hpp"
#include "mib/services/services.hpp"
#include "mib/tables/tables.hpp"

using namespace zol;

namespace {

constexpr size_t chains_size = 20;
constexpr size_t uptime_size = 44;

/// A text to look for, such as an address in one of the ways in which the tools write it.
using Marker = std::array<char, 24>;

Marker bracketed(const Mac &mac) {
  Marker text{};
  snprintf(text.data(), text.size(), "[%s]", MacText(mac).text());
  return text;
}

Marker without_zeros(const Mac &mac) {
  Marker text{};
  snprintf(text.data(), text.size(), "%s:", MacText(mac, MacText::without_zeros).text());
  return text;
}

/// Where `address` begins in `line`, or null. Without leading zeros an address is also the end of longer ones.
const char *find_address(const char *line, const char *address) {
  const char *found = strstr(line, address);
  while (found != nullptr && found != line && isxdigit(static_cast<unsigned char>(found[-1])) != 0) {
    found = strstr(found + 1, address);
  }
  return found;
}

// The readers of one station.

CommandOutput<> list_associations(int interface) { return CommandOutput("iwinfo ath%d assoclist", interface); }
CommandOutput<> list_counters(int interface) { return CommandOutput("80211stats -i ath%d -a", interface); }

/// Asks one interface after the other until `look` finds what it wants of the station in the output of
/// `start(interface)`.
int search(const char *mac, CommandOutput<> (*start)(int), FunctionRef<bool(LineReader &, const Mac &)> look) {
  const auto station = parse_mac(mac, '-');
  if (!station) return 0;
  // None where they cannot be counted.
  uint32_t interfaces = 0;
  get_virtual_ap_num(&interfaces);
  for (uint32_t i = 0; i < interfaces; ++i) {
    CommandOutput<> output = start(static_cast<int>(i));
    if (!output) return -1;
    if (look(output, *station)) return 0;
  }
  return 0;
}

/// Where `label` begins, on the line that holds `address` or a later one; null when it does not follow.
const char *find_behind(LineReader &output, const Marker &address, const char *label) {
  bool reached = false;
  while (output.next()) {
    reached = reached || find_address(output.line(), address.data()) != nullptr;
    if (!reached) continue;
    if (const char *found = strstr(output.line(), label)) return found;
  }
  return nullptr;
}

/// The same for what stands at `label` on the line that holds the station's address, as `write` writes it, or on a
/// later one: `take` is called with it.
int search_label(const char *mac, CommandOutput<> (*start)(int), Marker (*write)(const Mac &), const char *label,
                 FunctionRef<void(const char *)> take) {
  return search(mac, start, [=](LineReader &output, const Mac &station) {
    const char *found = find_behind(output, write(station), label);
    if (found != nullptr) take(found);
    return found != nullptr;
  });
}

/// Reads on to the line of the station's lease.
bool find_lease(LineReader &leases, const Mac &mac) {
  // The last octet is not compared; it is meant so.
  constexpr size_t compared = 15;
  const MacText address(mac, MacText::lower_case);
  while (leases.next()) {
    const char *colon = strchr(leases.line(), ':');
    if (colon == nullptr || colon - leases.line() < 2) continue;
    if (strncmp(colon - 2, address.text(), compared) == 0) return true;
  }
  return false;
}

}  // namespace

int zol_get_80211_by_macaddr(const char *mac, int32_t *out, const char *counter) {
  *out = 0;
  return search_label(mac, list_counters, without_zeros, counter,
                      [=](const char *found) { *out = counter_value(found); });
}

int zol_get_ac_txccq_by_macaddr(const char *mac, int32_t *percent) {
  *percent = 0;
  return search_label(mac, list_associations, bracketed, "=",
                      [=](const char *found) { *percent = to_int32(found + 1); });
}

int zol_get_ac_rssi_by_macaddr(const char *mac, int32_t *dbm) {
  *dbm = 0;
  return search(mac, list_associations, [=](LineReader &output, const Mac &station) {
    const MacText address(station);
    while (output.next()) {
      if (strstr(output.line(), "unknown") != nullptr || strstr(output.line(), "dBm") == nullptr) continue;
      const char *found = find_address(output.line(), address.text());
      if (found == nullptr) continue;
      *dbm = to_int32(skip_words(found, 1));
      return true;
    }
    return false;
  });
}

int zol_get_ac_noise_by_macaddr(const char *mac, int32_t *dbm) {
  *dbm = 0;
  return search(mac, list_associations, [=](LineReader &output, const Mac &station) {
    const MacText address(station);
    while (output.next()) {
      const char *noise = text_after(output.line(), "dBm /");
      if (noise == nullptr || find_address(output.line(), address.text()) == nullptr) continue;
      *dbm = to_int32(noise);
      return true;
    }
    return false;
  });
}

int zol_get_ac_signalchains_by_macaddr(const char *mac, char *text) {
  *text = '\0';
  static constexpr const char *label = "Signal Chains=";
  return search_label(mac, list_associations, bracketed, label, [=](const char *found) {
    scan_word({text, chains_size}, found + strlen(label));
  });
}

int get_ac_ip_addr(const char *mac, uint32_t *address) {
  *address = 0;
  const auto octets = parse_mac(mac, '-');
  if (!octets) return 0;
  CommandOutput leases("cat %s", "/var/dhcp.leases");
  if (!leases) return -1;
  if (find_lease(leases, *octets)) *address = scan_ipv4(skip_words(leases.line(), 2)).address;
  return 0;
}

int get_ac_uptime(const char *mac, char *text) {
  int32_t lease_minutes = 0;
  get_dhcp_leaseperiod(&lease_minutes);
  CommandOutput leases("cat /var/dhcp.leases");
  if (!leases) return -1;
  int32_t seconds = 0;
  const auto octets = parse_mac(mac, '-');
  if (octets && find_lease(leases, *octets)) {
    const auto now = static_cast<uint32_t>(time(nullptr));
    const auto expiry = static_cast<uint32_t>(to_int32(leases.line()));
    seconds = static_cast<int32_t>(static_cast<uint32_t>(lease_minutes) * 60 + (now - expiry));
  }
  std::array<char, 32> connected{};
  getTimeString(seconds, connected.data(), connected.size());
  copy_text({text, uptime_size}, connected.data());
  return 0;
}

int zol_get_assoc_client_rate(const char *mac, const char *interface, const char *label, int32_t *rate) {
  std::array<char, 24> address{};
  copy_text(address, mac);
  zol_strtoupper(address.data());
  CommandOutput output("iwinfo %s assoclist", interface);
  if (output.find(address.data()) == nullptr) return 0;
  for (int behind = 0; behind < 2 && output.next(); ++behind) {
    if (strstr(output.line(), label) == nullptr) continue;
    const char *colon = strchr(output.line(), ':');
    if (colon == nullptr || colon == output.line()) break;
    const char *digits = colon + 1;
    if (const auto whole = scan_int32(digits)) *rate = *whole;
    break;
  }
  return 0;
}

int zol::scan_stations(Stations &stations) {
  // None where they cannot be counted.
  uint32_t interfaces = 0;
  get_virtual_ap_num(&interfaces);
  size_t count = 0;
  for (uint32_t i = 0; i < interfaces; ++i) {
    std::array<char, 24> interface {};
    snprintf(interface.data(), interface.size(), "ath%u", i);
    CommandOutput output("wlanconfig %s list sta", interface.data());
    if (!output) return -1;
    while (count < stations.size() && !collections_abandoned() && output.next()) {
      const char *line = output.line();
      if (!is_station_line(line)) continue;
      Station &station = stations[count++];
      station = {};
      station.mac = scan_mac(line, ':').mac;
      const MacText address(station.mac);
      // One variable for both rates: a station that sends at no known rate shows its other one; it is meant so.
      int32_t rate = 0;
      zol_get_assoc_client_rate(address.text(), interface.data(), "TX:", &rate);
      station.tx_rate = rate;
      zol_get_assoc_client_rate(address.text(), interface.data(), "RX:", &rate);
      station.rx_rate = rate;
      station.vap_index = static_cast<int32_t>(i);
    }
  }
  return static_cast<int>(count);
}
