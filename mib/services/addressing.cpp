// How the LAN and the WAN get their addresses, and their DNS servers.

#include <algorithm>
#include <cstring>

#include "core/scalar.hpp"
#include "mib/services/options.hpp"

using namespace zol;
using namespace zol::services;

// Where an interface gets its address from.

namespace {

/// The protocols by their numbers; a word is tried against them in this order.
constexpr std::array protocols = {"static", "dhcp", "pptp", "pppoe", "l2tp"};
constexpr std::span wan_protocols(protocols);
constexpr std::span lan_protocols = wan_protocols.first<2>();

/// The first protocol that the word behind `option` contains; `number` is left as it was when there is none.
int read_protocol(LineReader &&output, const char *option, std::span<const char *const> known, int32_t *number) {
  if (!output) return -1;
  const char *found = output.find(option);
  std::array<char, 128> word{};
  if (found == nullptr || !scan_word(word, found + strlen(option))) return 0;
  const auto is_contained = [&](const char *protocol) { return strstr(word.data(), protocol) != nullptr; };
  const auto protocol = std::ranges::find_if(known, is_contained);
  if (protocol != known.end()) *number = static_cast<int32_t>(protocol - known.begin());
  return 0;
}

/// The word for a protocol's number, or null when there is none.
const char *word_of(std::span<const char *const> known, int32_t number) {
  const auto index = static_cast<size_t>(number);
  return index < known.size() ? known[index] : nullptr;
}

}  // namespace

/// @syntax INTEGER { static(0), dhcp(1) }
/// Where the LAN address comes from (network.lan.proto). A SET is not committed: it is in force only after something
/// else commits the network's configuration.
ZOL_INTEGER(lan_proto, .oid = {8, 1, 1}, .accepts = range(0, lan_protocols.size() - 1));

int get_lan_proto(int32_t *protocol) {
  return read_protocol(CommandOutput("uci show network.lan.proto"), "network.lan.proto=", lan_protocols, protocol);
}

int set_lan_proto(int32_t protocol) {
  // Not committed: the change waits for something else that commits the network; it is meant so.
  const char *word = word_of(lan_protocols, protocol);
  if (word != nullptr) shell("uci set network.lan.proto=%-s", word);
  return 0;
}

/// @syntax INTEGER { static(0), dhcp(1), pptp(2), pppoe(3), l2tp(4) }
/// How the WAN is connected (network.wan.proto). In force when the network is reloaded.
ZOL_INTEGER(wan_proto, .oid = {8, 2, 1}, .accepts = range(0, wan_protocols.size() - 1));

int get_wan_proto(int32_t *protocol) {
  return read_protocol(CommandOutput("uci show network.wan.proto"), "network.wan.proto=", wan_protocols, protocol);
}

int set_wan_proto(int32_t protocol) {
  const char *word = word_of(wan_protocols, protocol);
  return word == nullptr ? 0 : store_word("network.wan.proto", word);
}

// The DNS servers of an interface, separated by ";".

namespace {

int read_dns_servers(LineReader &&output, const char *option, char *servers) {
  return take_found(std::move(output), option, [servers](const Value &value) { take_list(value, servers); });
}

int store_dns_servers(const char *option, const char *servers) {
  std::array<char, list_size> list{};
  copy_text(list, servers);
  zol_replace_a_char(list.data(), ';', ' ');
  shell("uci delete %-s", option);
  shell("uci set %-s='%s'", option, list.data());
  // The commit is joined to the list without a separator and so has no effect: the change waits for something else that
  // commits the network. It is meant so.
  shell("uci set %-s='%s'uci commit network", option, list.data());
  return 0;
}

}  // namespace

/// The servers kept in the option OPTION; the further arguments are the object's arcs.
#define DNS_SERVERS(NAME, OPTION, ...)                                                    \
  ZOL_TEXT(NAME, list_size, .oid = {__VA_ARGS__}, .accepts = range(1, list_size - 1),     \
           .prepare = read_first<get_##NAME, NAME>);                                      \
  int get_##NAME(char *servers) {                                                         \
    return read_dns_servers(CommandOutput<256>("uci show " OPTION), OPTION "=", servers); \
  }                                                                                       \
  int set_##NAME(const char *servers) { return store_dns_servers(OPTION, servers); }      \
  static_assert(true)

/// @syntax ZolarcText (SIZE (0..256))
/// The DNS servers of the LAN, separated by semicolons (network.lan.dns). A SET is not committed: it is in force only
/// after something else commits the network's configuration.
DNS_SERVERS(dns_servers, "network.lan.dns", 8, 1, 5);

/// @syntax ZolarcText (SIZE (0..256))
/// The DNS servers of the WAN, separated by semicolons (network.wan.dns), as dnsServers.
DNS_SERVERS(wan_dnsservers, "network.wan.dns", 8, 2, 5);
