#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "core/export.hpp"

extern "C" {

/// Converts hexadecimal digits, two at a time, up to the end of the text or a blank. Nothing is checked: a character
/// below ':' counts as its distance from '0', any other as its distance from 'A' plus ten, so digits must be upper
/// case. The output is first filled with the character '0', and a NUL follows the last octet.
/// @param octets 20 bytes; an Ethernet address fills the first six
ZOL_EXPORT void hex_text_to_octets(const char *digits, uint8_t *octets);
}

namespace zol {

/// An IPv4 address as one number, the first dotted octet in the top byte.
using Ipv4 = uint32_t;

/// A hardware address.
constexpr size_t mac_length = 6;
using Mac = std::array<uint8_t, mac_length>;

/// Twenty bytes as `hex_text_to_octets` fills them; an Ethernet address is the first six.
using MacOctets = std::array<uint8_t, 20>;

/// Reads "a.b.c.d" at `text` as "%d.%d.%d.%d" does: an octet that is not there counts as 0, an octet is not checked to
/// be below 256.
struct ScannedIpv4 {
  Ipv4 address;
  /// How many of the four octets were there.
  int octets;
};
ScannedIpv4 scan_ipv4(const char *text);

/// Reads "a.b.c.d"; 0 unless all four octets are there.
Ipv4 parse_ipv4(const char *text);

/// Reads an address that is nothing but four decimal numbers below 256; 0 for any other text.
Ipv4 strict_ipv4(const char *text);

/// An address in dotted form, for a command line.
class DottedQuad {
 public:
  explicit DottedQuad(Ipv4 address);
  [[nodiscard]] const char *text() const { return text_.data(); }

 private:
  std::array<char, 16> text_{};
};

/// The octets of a MAC address written as six groups of two digits ("00:0a:1b:2c:3d:4e", any separator, any case). The
/// digits are taken by position (0, 1, 3, 4 ... 15, 16) and neither they nor the separators are checked; a text that
/// ends before gives as many octets as it has digits for.
MacOctets mac_octets(const char *text);

/// Reads six hexadecimal groups of one or two digits separated by `separator`; an octet that is not there counts as 0.
struct ScannedMac {
  Mac mac;
  /// How many of the six octets were there.
  size_t octets;
};
ScannedMac scan_mac(const char *text, char separator);

/// The same; nothing unless all six are there.
std::optional<Mac> parse_mac(const char *text, char separator);

/// The address of six groups, separated by ":", that `text` begins with, when nothing behind it could belong to it; the
/// text behind it, or null.
const char *scan_whole_mac(const char *text, Mac &mac);

/// The first such address in `line` that stands alone between other characters; the text behind it, or null when there
/// is none.
const char *find_mac(const char *line, Mac &mac);

/// A hardware address as text, for a record or to look for it in what a tool prints.
class MacText {
 public:
  /// Two digits an octet, or as many as it needs ("0:1a:f").
  enum Digits : uint8_t { upper_case, lower_case, without_zeros };
  explicit MacText(const Mac &mac, Digits digits = upper_case, char separator = ':');
  [[nodiscard]] const char *text() const { return text_.data(); }

 private:
  std::array<char, 18> text_{};
};

}  // namespace zol
