#include "core/address.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/text.hpp"

namespace {

bool ends_digits(char character) { return character == '\0' || character == ' '; }

bool is_hex_digit(char character) { return isxdigit(static_cast<unsigned char>(character)) != 0; }

unsigned nibble(char digit) { return static_cast<unsigned>(digit < ':' ? digit - '0' : digit - 55); }

}  // namespace

void hex_text_to_octets(const char *digits, uint8_t *octets) {
  constexpr size_t size = sizeof(zol::MacOctets);
  memset(octets, '0', size);
  size_t count = 0;
  for (; count < size - 1 && !ends_digits(digits[0]); ++count) {
    const unsigned high = nibble(digits[0]) << 4U;
    if (ends_digits(digits[1])) {
      octets[count++] = static_cast<uint8_t>(high);
      break;
    }
    octets[count] = static_cast<uint8_t>(high + nibble(digits[1]));
    digits += 2;
  }
  octets[std::min(count, size - 1)] = 0;
}

namespace zol {

ScannedIpv4 scan_ipv4(const char *text) {
  ScannedIpv4 scanned{0, 0};
  for (; scanned.octets < 4; ++scanned.octets) {
    if (scanned.octets > 0) {
      if (*text != '.') break;
      ++text;
    }
    const std::optional<int32_t> octet = scan_int32(text);
    if (!octet) break;
    scanned.address |= static_cast<uint32_t>(*octet) << (24U - 8U * static_cast<unsigned>(scanned.octets));
  }
  return scanned;
}

Ipv4 parse_ipv4(const char *text) {
  const ScannedIpv4 scanned = scan_ipv4(text);
  return scanned.octets == 4 ? scanned.address : 0;
}

Ipv4 strict_ipv4(const char *text) {
  constexpr int octets = 4;
  const char *end = text + strlen(text);
  Ipv4 address = 0;
  for (int i = 0; i < octets; ++i) {
    if (i > 0 && *text++ != '.') return 0;
    uint8_t octet = 0;
    const auto [next, error] = std::from_chars(text, end, octet);
    if (error != std::errc{}) return 0;
    address = address << 8U | octet;
    text = next;
  }
  return text == end ? address : 0;
}

DottedQuad::DottedQuad(Ipv4 address) {
  snprintf(text_.data(), text_.size(), "%u.%u.%u.%u", address >> 24U, address >> 16U & 255U, address >> 8U & 255U,
           address & 255U);
}

MacOctets mac_octets(const char *text) {
  constexpr std::array<uint8_t, 12> positions = {0, 1, 3, 4, 6, 7, 9, 10, 12, 13, 15, 16};
  const size_t length = strlen(text);
  std::array<char, positions.size() + 1> digits{};
  for (size_t i = 0; i < positions.size() && positions[i] < length; ++i) {
    digits[i] = static_cast<char>(toupper(static_cast<unsigned char>(text[positions[i]])));
  }
  MacOctets octets{};
  hex_text_to_octets(digits.data(), octets.data());
  return octets;
}

ScannedMac scan_mac(const char *text, char separator) {
  ScannedMac scanned{};
  for (; scanned.octets < mac_length; ++scanned.octets) {
    if (scanned.octets > 0 && *text++ != separator) break;
    unsigned octet = 0;
    unsigned digits = 0;
    for (; digits < 2 && isxdigit(static_cast<unsigned char>(*text)) != 0; ++digits, ++text) {
      octet = octet << 4U | nibble(static_cast<char>(toupper(static_cast<unsigned char>(*text))));
    }
    if (digits == 0) break;
    scanned.mac[scanned.octets] = static_cast<uint8_t>(octet);
  }
  return scanned;
}

std::optional<Mac> parse_mac(const char *text, char separator) {
  const ScannedMac scanned = scan_mac(text, separator);
  return scanned.octets == mac_length ? std::optional(scanned.mac) : std::nullopt;
}

const char *scan_whole_mac(const char *text, Mac &mac) {
  const auto scanned = parse_mac(text, ':');
  if (!scanned) return nullptr;
  mac = *scanned;
  for (size_t group = 0; group < mac.size(); ++group) {
    if (group > 0) ++text;
    text += is_hex_digit(text[1]) ? 2 : 1;
  }
  return in_word(text[0]) || (text[0] == ':' && is_hex_digit(text[1])) ? nullptr : text;
}

const char *find_mac(const char *line, Mac &mac) {
  for (const char *start = line; *start != '\0'; ++start) {
    if (!is_hex_digit(*start) || (start != line && (in_word(start[-1]) || start[-1] == ':'))) continue;
    if (const char *behind = scan_whole_mac(start, mac)) return behind;
  }
  return nullptr;
}

MacText::MacText(const Mac &mac, Digits digits, char separator) {
  size_t length = 0;
  for (const unsigned octet : mac) {
    if (length > 0) text_[length++] = separator;
    char *end = text_.data() + length;
    const size_t room = text_.size() - length;
    const int written = digits == upper_case   ? snprintf(end, room, "%02X", octet)
                        : digits == lower_case ? snprintf(end, room, "%02x", octet)
                                               : snprintf(end, room, "%x", octet);
    length += static_cast<size_t>(written);
  }
}

}  // namespace zol
