#include "mib/stations/printed.hpp"

#include <algorithm>
#include <cstring>
#include <span>

#include "core/text.hpp"

namespace zol {
namespace {

constexpr const char *blanks = " \t\n\v\f\r";

}  // namespace

std::optional<Mac> listed_station(const char *line) {
  Mac mac{};
  const bool begins = strlen(line) >= 6 && line[2] == ':' && line[5] == ':';
  return begins && scan_whole_mac(line, mac) != nullptr ? std::optional(mac) : std::nullopt;
}

std::optional<uint8_t> bridged_interface(const char *line) {
  const char *number = text_after(line, "ath");
  if (number == nullptr) return std::nullopt;
  const auto index = scan_count(number);
  return index && *index < most_interfaces ? std::optional(static_cast<uint8_t>(*index)) : std::nullopt;
}

const char *StationOutput::advance(const char *line) {
  Mac mac{};
  const char *behind = find_mac(line, mac);
  names_station_ = behind != nullptr;
  if (!names_station_) return line;
  station_ = snapshot_.find(mac);
  if (station_ != nullptr && station_->interface != interface_) station_ = nullptr;
  return behind;
}

namespace {

/// The first word behind an address, with what closes the address: "]  -48 dBm / -95 dBm".
void read_signal(StationRecord &station, const char *behind) {
  if (strstr(behind, "dBm") == nullptr || strstr(behind, "unknown") != nullptr) return;
  behind += strcspn(behind, blanks);
  if (const auto signal = scan_int32(behind)) {
    station.signal = *signal;
    station.learn(Figure::signal);
  }
}

void read_noise(StationRecord &station, const char *text) {
  const char *noise = text_after(text, "dBm /");
  if (noise == nullptr) return;
  if (const auto number = scan_int32(noise)) {
    station.noise = *number;
    station.learn(Figure::noise);
  }
}

constexpr const char *chains_label = "Signal Chains=";

/// The quality is what stands behind a "=" that is not the antenna chains'.
void read_quality(StationRecord &station, const char *text) {
  const char *chains = strstr(text, chains_label);
  const char *sign = strchr(text, '=');
  if (chains != nullptr && sign == chains + strlen(chains_label) - 1) sign = strchr(sign + 1, '=');
  if (sign == nullptr || station.knows(Figure::quality)) return;
  if (const auto quality = scan_count(++sign)) {
    station.quality = static_cast<uint32_t>(std::min<uint64_t>(*quality, INT32_MAX));
    station.learn(Figure::quality);
  }
}

void read_chains(StationRecord &station, const char *text) {
  const char *chains = behind_word(text, chains_label);
  if (chains != nullptr && !station.knows(Figure::chains) && scan_word(station.chains, chains)) {
    station.learn(Figure::chains);
  }
}

void read_rate(StationRecord &station, const char *text, const char *label, Figure figure, uint32_t &rate) {
  const char *value = behind_word(text, label);
  if (value == nullptr || station.knows(figure)) return;
  if (const auto kbps = scan_thousandths(value)) {
    rate = *kbps;
    station.learn(figure);
  }
}

}  // namespace

void StationOutput::association(const char *line) {
  const char *text = advance(line);
  if (station_ == nullptr) return;
  if (names_station_) {
    read_signal(*station_, text);
    read_noise(*station_, text);
  }
  read_quality(*station_, text);
  read_chains(*station_, text);
  read_rate(*station_, text, "TX:", Figure::tx_rate, station_->tx_rate);
  read_rate(*station_, text, "RX:", Figure::rx_rate, station_->rx_rate);
}

void StationOutput::counters(const char *line, int64_t now) {
  static constexpr const char *names[zol::counters] = {"tx_bytes",   "rx_bytes",   "tx_data",       "rx_data",
                                                       "tx_retries", "tx_discard", "rx_decryptcrc", "rx_demicfail"};
  const char *text = advance(line);
  if (station_ == nullptr) return;
  while (*text != '\0') {
    if (!in_word(*text)) {
      ++text;
      continue;
    }
    const char *word = text;
    while (in_word(*text)) ++text;
    const auto length = static_cast<size_t>(text - word);
    const auto *const name = std::ranges::find_if(
        names, [&](const char *wanted) { return strlen(wanted) == length && strncmp(wanted, word, length) == 0; });
    if (name == std::end(names)) continue;
    // The figure stands before the next name.
    while (*text != '\0' && !in_word(*text)) ++text;
    const auto counter = static_cast<Counter>(name - std::begin(names));
    if (station_->counts(counter)) continue;
    if (const auto count = scan_count(text)) {
      station_->learn(counter, *count);
      station_->counted_at = now;
    }
  }
}

namespace {

constexpr size_t lease_words = 4;

/// The words of a line, each with its length.
std::array<std::span<const char>, lease_words> split(const char *line) {
  std::array<std::span<const char>, lease_words> words{};
  for (auto &word : words) {
    line += strspn(line, blanks);
    word = {line, strcspn(line, blanks)};
    line += word.size();
  }
  return words;
}

/// Copies a name without its control characters, which a client chose and a terminal would obey.
void copy_name(StationRecord &station, std::span<const char> word) {
  size_t length = 0;
  for (const char character : word) {
    const auto octet = static_cast<unsigned char>(character);
    constexpr unsigned char rubout = 0x7f;
    if (octet >= ' ' && octet != rubout && length + 1 < sizeof station.name) station.name[length++] = character;
  }
  station.name[length] = '\0';
  const bool none = length == 0 || strcmp(station.name, "*") == 0;
  if (!none) station.learn(Figure::name);
}

std::optional<Ipv4> whole_address(const char *word) {
  Ipv4 address = 0;
  for (int octet = 0; octet < 4; ++octet) {
    if (octet > 0 && *word++ != '.') return std::nullopt;
    const auto value = scan_count(word);
    if (!value || *value > 255) return std::nullopt;
    address = address << 8U | static_cast<Ipv4>(*value);
  }
  return strchr(blanks, *word) != nullptr ? std::optional(address) : std::nullopt;
}

}  // namespace

void read_lease(Snapshot &snapshot, const char *line) {
  const auto [expiry, owner, leased, name] = split(line);
  Mac mac{};
  if (owner.empty() || scan_whole_mac(owner.data(), mac) != owner.data() + owner.size()) return;
  StationRecord *station = snapshot.find(mac);
  const char *digits = expiry.data();
  const auto end = scan_count(digits);
  const auto address = whole_address(leased.data());
  if (station == nullptr || !end || !address) return;
  // A lease without an end is written with the time 0.
  const uint64_t lease_end = *end == 0 ? UINT64_MAX : *end;
  if (station->knows(Figure::address) && lease_end < station->lease_end) return;
  station->lease_end = lease_end;
  station->address = *address;
  station->learn(Figure::address);
  station->forget(Figure::name);
  copy_name(*station, name);
}

void read_setting(Snapshot &snapshot, const char *line) {
  const char *cursor = text_after(line, "wireless.@wifi-iface[");
  if (cursor == nullptr) return;
  const auto index = scan_count(cursor);
  if (!index || *index >= snapshot.interfaces.size()) return;
  InterfaceRecord &interface = snapshot.interfaces[static_cast<size_t>(*index)];
  if (const char *ssid = text_after(cursor, "].ssid=")) {
    copy_text(interface.ssid, ssid);
    interface.has_ssid = true;
  } else if (const char *radio = text_after(cursor, "].device=wifi")) {
    const auto number = scan_count(radio);
    if (number && *number <= INT8_MAX) interface.radio = static_cast<int8_t>(*number);
  }
}

}  // namespace zol
