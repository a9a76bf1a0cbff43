// Which wireless interface is selected, and what it is: operation mode, standard, name, country, whether it hides.

#include <array>
#include <cstring>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/radio/radio.hpp"

using namespace zol;

namespace {

constexpr int unreadable = 255;
constexpr size_t text_size = 65;

/// @return what get_X returns
int read_ssid(int index, std::span<char> ssid) {
  copy_text(ssid, "unknown");
  return take_first(CommandOutput("uci show wireless | grep \"iface\\[%d\\].ssid=\"", index), [=](const Value &value) {
    if (const char *name = text_after(value.line(), "ssid=")) copy_text(ssid, name);
  });
}

}  // namespace

// A new index counts from the next GET or SET of any other radio object on.
/// Selects the wireless interface that the other objects here read and write: number N stands for section
/// wireless.@wifi-iface[N], for radio wireless.wifiN and for kernel interface athN alike. Only stored.
ZOL_INTEGER(wlan_index, .oid = {3, 1, 1}, .accepts = range(0, 15));
ZOL_STORED(wlan_index)

int get_operation_mode(int index) {
  CommandOutput output("uci show wireless | grep \"wifi-iface\\[%d\\]\"", index);
  if (!output) return unreadable;
  constexpr int access_point = 0;
  constexpr int station = 2;
  constexpr int adapter = 4;
  int mode = access_point;
  bool wds = false;
  while (output.next_without_newline()) {
    auto holds = [&](const char *setting) { return strstr(output.line(), setting) != nullptr; };
    if (holds("mode=ap")) {
      mode = access_point;
    } else if (holds("mode=sta")) {
      mode = station;
    } else if (holds("mode=adapter")) {
      mode = adapter;
    } else if (holds("wds=1")) {
      wds = true;
    }
  }
  return wds && mode != adapter ? mode + 1 : mode;
}

int set_operation_mode(int32_t mode, int32_t iface) {
  struct Mode {
    const char *name;
    /// Whether to bridge with four addresses; negative where the mode knows no such choice.
    int wds;
  };
  constexpr std::array<Mode, 5> modes = {{{"ap", 0}, {"ap", 1}, {"sta", 0}, {"sta", 1}, {"adapter", -1}}};

  CommandLine command;
  if (mode >= 0 && static_cast<size_t>(mode) < modes.size()) {
    const auto &[name, wds] = modes[static_cast<size_t>(mode)];
    command.append("uci set wireless.@wifi-iface[%d].mode=%-s", iface, name);
    if (wds >= 0) command.append(";uci set wireless.@wifi-iface[%d].wds=%d", iface, wds);
  }
  // An unknown mode leaves the commit alone on the line; no setter lets one through.
  command.append(";uci commit wireless");
  command.run();
  return 0;
}

/// @syntax INTEGER { ap(0), apWds(1), station(2), stationWds(3), adapter(4), unknown(255) }
/// How the interface operates: access point or station, each with or without WDS, or adapter (options mode and wds).
/// unknown(255) when the configuration cannot be read.
ZOL_INTEGER(wlan_opmode, .oid = {3, 1, 2}, .accepts = range(0, 4));

int get_wlan_opmode(int32_t *mode) {
  *mode = get_operation_mode(wlan_index);
  return *mode == unreadable ? -1 : 0;
}

int set_wlan_opmode(int32_t mode) { return set_operation_mode(mode, wlan_index); }

int get_profile_mode(int index) {
  constexpr int with_a_and_n = 7;
  constexpr int other = 8;
  CommandOutput output("iwinfo ath%d info", index);
  if (!output) return unreadable;
  const char *standard = output.find("802.11");
  if (standard == nullptr) return other;
  return strchr(standard, 'a') != nullptr && strchr(standard, 'n') != nullptr ? with_a_and_n : other;
}

/// @syntax Integer32 (1..8 | 255)
/// The radio standard as iwinfo reports it: 7 for 802.11an, 8 for any other, 255 when it cannot be asked for. A SET is
/// accepted and changes nothing.
ZOL_INTEGER(wlan_profilemode, .oid = {3, 1, 3}, .accepts = range(1, 8));

int get_wlan_profilemode(int32_t *mode) {
  *mode = get_profile_mode(wlan_index);
  return *mode == unreadable ? -1 : 0;
}

// Accepted and meant to change nothing: the next GET answers the radio's own standard again.
int set_wlan_profilemode(int32_t) { return 0; }

const char *get_ssid(int index) {
  static char ssid[128];
  read_ssid(index, ssid);
  return ssid;
}

const char *get_ssid_name(int index) {
  static char ssid[128];
  read_ssid(index, ssid);
  return ssid;
}

/// The network's name (SSID), 'unknown' when the interface is not configured. An empty name is accepted.
ZOL_TEXT(wlan_ssid, text_size, .oid = {3, 1, 4}, .accepts = range(0, 64));

int get_wlan_ssid(char *ssid) { return read_ssid(wlan_index, {ssid, text_size}); }

int set_wlan_ssid(const char *ssid) {
  return store_text(OptionName("wireless.@wifi-iface[%d].ssid", wlan_index), ssid);
}

/// The country of operation as its ISO 3166-1 number (option country of the radio); 0 when it is not configured.
ZOL_INTEGER(wlan_countrycode, .oid = {3, 1, 5}, .accepts = range(0, 887));

int get_wlan_countrycode(int32_t *code) {
  return read_number(CommandOutput("uci show wireless | grep \"wifi%d.country=\"", wlan_index), 0, code, &Value::rest);
}

int set_wlan_countrycode(int32_t code) { return store_number(OptionName("wireless.wifi%d.country", wlan_index), code); }

/// @syntax ZolarcSwitch
/// Whether the network's name is left out of the beacons (option hidden).
ZOL_INTEGER(wlan_networkhidden, .oid = {3, 1, 14}, .accepts = range(1, 2));

int get_wlan_networkhidden(int32_t *hidden) {
  return read_flag(CommandOutput("uci show wireless | grep '\\[%d\\].hidden'", wlan_index), off, hidden, shortest_line,
                   &Value::rest);
}

int set_wlan_networkhidden(int32_t hidden) {
  return store_number(OptionName("wireless.@wifi-iface[%d].hidden", wlan_index), hidden == 1 ? 1 : 0);
}

/// Only stored in the agent. Meant for the addresses of stations to be sent away, separated by semicolons; nothing on
/// the device reads it.
ZOL_TEXT(wlan_kickclientmaclist, text_size, .oid = {3, 1, 19}, .accepts = range(0, 64));

ZOL_STORED(wlan_kickclientmaclist)
