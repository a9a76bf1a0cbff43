// The addresses of the LAN and the WAN, and the ports' Ethernet addresses.

#include <array>
#include <cstring>

#include "core/address.hpp"
#include "core/option.hpp"
#include "core/scalar.hpp"
#include "core/text.hpp"
#include "mib/status/status.hpp"

using namespace zol;

namespace {

/// A line shorter than this, as read, holds no address.
constexpr size_t shortest_address_line = 11;

/// How an address stands in the line of its option.
using Parse = Ipv4(const Value &value);

/// The first address of a line "<option>=<address> ...": it begins at the first digit from 1 to 9, so that a leading
/// zero octet is passed over. Something must stand before it.
Ipv4 first_address(const Value &value) {
  const size_t start = strcspn(value.line(), "123456789");
  return start == 0 ? 0 : scan_ipv4(value.line() + start).address;
}

Ipv4 gateway(const Value &value) {
  // A line about something else is told from no line at all; it is meant so.
  return value.in_line_with("gateway=") ? first_address(value) : 0x01010101;
}

/// The second address of a blank-separated list.
Ipv4 second_address(const Value &value) {
  std::array<char, 128> second{};
  copy_field(second, value.text(), 1, ' ');
  return scan_ipv4(second.data()).address;
}

Ipv4 plain_address(const Value &value) { return scan_ipv4(value.rest()).address; }

int read_address(LineReader &&output, Parse *parse, Ipv4 *address) {
  return take_first(
      std::move(output), [=](const Value &value) { *address = parse(value); }, shortest_address_line);
}

/// The network whose options a section name such as "br-lan" stands for, or null.
const char *network_of(const char *section) {
  if (strstr(section, "lan") != nullptr) return "lan";
  return strstr(section, "wan") != nullptr ? "wan" : nullptr;
}

/// The options that a network may lack, or that hold a list: they are looked for among all of UCI's network options.
struct SearchedOption {
  const char *key;
  const char *option;
  Parse *parse;
};
constexpr SearchedOption searched_options[] = {
    {"gateway", "gateway", gateway},
    {"dns1", "dns", first_address},
    {"dns2", "dns", second_address},
};

/// What stands behind "HWaddr " in the next line of `ifconfig` that holds it, or null.
const char *find_mac_text(LineReader &output) {
  constexpr const char *label = "HWaddr";
  return output.find(label) == nullptr ? nullptr : text_after(output.line(), label, 1);
}

}  // namespace

int get_lan_ip_address(const char *section, const char *key, uint32_t *out) {
  *out = 0;
  for (const auto &[searched, option, parse] : searched_options) {
    if (strcmp(key, searched) != 0) continue;
    const char *network = network_of(section);
    if (network == nullptr) return 0;
    return read_address(CommandOutput("uci show network | grep %-s.%-s=", network, option), parse, out);
  }
  return read_address(CommandOutput("uci show network.%-s.%-s", section, key), plain_address, out);
}

int get_mac_address(const char *interface, char **text) {
  constexpr size_t length = sizeof "00:03:7f:11:22:33" - 1;
  CommandOutput output("ifconfig | grep \"%s\"", interface);
  if (!output) return -1;
  const char *found = find_mac_text(output);
  if (found == nullptr || strlen(found) < length) return -2;
  *text = strndup(found, length);
  return *text == nullptr ? -2 : 0;
}

// Named after port 1, and read from the VLAN interface behind it. The object is read-only, so that its write operation
// is never handed to the agent.
/// @syntax ZolarcMacAddress
/// The interface's Ethernet address.
ZOL_TEXT(eth1_mac, 65, .oid = {9, 1, 3}, .accepts = range(1, 64), .access = read_only, .fixed_length = mac_length);

int get_eth1_mac(char *octets) {
  memset(octets, 0, sizeof(MacOctets));
  CommandOutput output("ifconfig | grep eth0.1");
  if (!output) return -1;
  while (const char *text = find_mac_text(output)) {
    if (strchr(output.line(), ':') == nullptr) continue;
    memcpy(octets, mac_octets(text).data(), sizeof(MacOctets));
    break;
  }
  return 0;
}

int set_eth1_mac(const char *) { return 0; }
