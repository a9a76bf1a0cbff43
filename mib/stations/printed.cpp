#include "mib/stations/printed.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <span>

#include "core/text.hpp"

namespace zol {
namespace {

constexpr const char *blanks = " \t\n\v\f\r";

bool is_digit(char character) { return isdigit(static_cast<unsigned char>(character)) != 0; }
bool is_hex_digit(char character) { return isxdigit(static_cast<unsigned char>(character)) != 0; }
bool is_letter(char character) { return isalpha(static_cast<unsigned char>(character)) != 0 || character == '_'; }
bool in_word(char character) { return is_letter(character) || is_digit(character); }

/// Where `label` stands in `text` with no letter or digit before it; the text behind it, or null.
const char *behind_word(const char *text, const char *label) {
  for (const char *found = strstr(text, label); found != nullptr; found = strstr(found + 1, label)) {
    if (found == text || !in_word(found[-1])) return found + strlen(label);
  }
  return nullptr;
}

/// A decimal number of any length at `cursor`, which moves behind it; what does not fit 64 bits is cut to the largest.
std::optional<uint64_t> scan_count(const char *&cursor) {
  if (!is_digit(*cursor)) return std::nullopt;
  uint64_t number = 0;
  for (; is_digit(*cursor); ++cursor) {
    const auto digit = static_cast<uint64_t>(*cursor - '0');
    number = number > (UINT64_MAX - digit) / 10 ? UINT64_MAX : number * 10 + digit;
  }
  return number;
}

/// "65.5" as 65500, from `cursor` on.
std::optional<uint32_t> scan_thousandths(const char *cursor) {
  cursor += strspn(cursor, blanks);
  const auto whole = scan_count(cursor);
  if (!whole) return std::nullopt;
  uint64_t value = std::min<uint64_t>(*whole, UINT32_MAX) * 1000;
  if (*cursor == '.') {
    for (uint64_t unit = 100; is_digit(*++cursor) && unit > 0; unit /= 10) {
      value += unit * static_cast<uint64_t>(*cursor - '0');
    }
  }
  return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

/// Six groups at `cursor`, which moves behind them.
bool scan_groups(const char *&cursor, Mac &mac) {
  const auto octets = parse_mac(cursor, ':');
  if (!octets) return false;
  mac = *octets;
  for (size_t group = 0; group < mac.size(); ++group) {
    if (group > 0) ++cursor;
    cursor += is_hex_digit(cursor[1]) ? 2 : 1;
  }
  return true;
}

/// Whether what stands before or behind an address could belong to a longer one.
bool continues_address(const char *behind) {
  return in_word(behind[0]) || (behind[0] == ':' && is_hex_digit(behind[1]));
}

}  // namespace

const char *find_mac(const char *line, Mac &mac) {
  for (const char *start = line; *start != '\0'; ++start) {
    if (!is_hex_digit(*start) || (start != line && (in_word(start[-1]) || start[-1] == ':'))) continue;
    const char *behind = start;
    if (scan_groups(behind, mac) && !continues_address(behind)) return behind;
  }
  return nullptr;
}

std::optional<Mac> listed_station(const char *line) {
  Mac mac{};
  const bool begins = strlen(line) >= 6 && line[2] == ':' && line[5] == ':';
  if (!begins || !scan_groups(line, mac) || continues_address(line)) return std::nullopt;
  return mac;
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

void StationOutput::counters(const char *line, uint64_t now) {
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
    const auto *const name = std::find_if(std::begin(names), std::end(names), [&](const char *wanted) {
      return strlen(wanted) == length && strncmp(wanted, word, length) == 0;
    });
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
  const char *behind = owner.data();
  if (owner.empty() || !scan_groups(behind, mac) || behind != owner.data() + owner.size()) return;
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
