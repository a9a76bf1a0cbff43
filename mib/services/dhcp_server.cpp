// The DHCP server of the LAN: its switch, the address pool, and what it tells its clients.

#include <algorithm>
#include <cstring>
#include <optional>

#include "core/scalar.hpp"
#include "mib/services/options.hpp"
#include "mib/services/services.hpp"

using namespace zol;
using namespace zol::services;

namespace {

int read_pool_number(LineReader &&output, int32_t preset, uint32_t *number) {
  int32_t found = preset;
  const int result = find_number(std::move(output), "=", preset, &found);
  *number = static_cast<uint32_t>(found);
  return result;
}

constexpr Ipv4 host_part = 255;

}  // namespace

int get_lan_ip(uint32_t *out) {
  return take_found(CommandOutput("uci show network | grep \"lan.ipaddr\""), "=", [out](const Value &value) {
    const ScannedIpv4 lan = scan_ipv4(value.text());
    if (lan.octets == 4) *out = lan.address & ~host_part;
  });
}

int get_ipstart_number(uint32_t *out) {
  // Other options with "start" in their names are found as well; the first line wins.
  return read_pool_number(CommandOutput("uci show dhcp | grep 'start'"), 100, out);
}

int get_released_ip_number(uint32_t *out) {
  return read_pool_number(CommandOutput("uci show dhcp | grep \"limit\""), 150, out);
}

int set_dhcp_parameters(int32_t start, int32_t limit, const char *leasetime) {
  shell("uci set dhcp.lan.start=%d;uci set dhcp.lan.limit=%d;uci set dhcp.lan.leasetime=%s;uci commit dhcp", start,
        limit, leasetime);
  return 0;
}

// The pool. Only the host number of an address counts: the pool always lies in the network of the LAN.

/// The first address of the pool. Only its last octet is kept (dhcp.lan.start); the others are those of the LAN.
ZOL_ADDRESS(dhcp_ipstart, .oid = {10, 2});

int get_dhcp_ipstart(Ipv4 *address) {
  Ipv4 lan = 0;
  uint32_t start = 0;
  if (get_lan_ip(&lan) != 0 || get_ipstart_number(&start) != 0) return -1;
  // A start beyond 255 reaches into the network part; it is meant so.
  *address = lan | start;
  return 0;
}

int set_dhcp_ipstart(Ipv4 address) { return store_number("dhcp.lan.start", static_cast<int32_t>(address & host_part)); }

/// The last address of the pool, kept as the size of the pool (dhcp.lan.limit): set dhcpIpstart first.
ZOL_ADDRESS(dhcp_ipend, .oid = {10, 3});

int get_dhcp_ipend(Ipv4 *address) {
  uint32_t start = 0;
  uint32_t limit = 0;
  Ipv4 lan = 0;
  if (get_ipstart_number(&start) != 0 || get_released_ip_number(&limit) != 0 || get_lan_ip(&lan) != 0) return -1;
  // Signed: an empty pool that starts at 0 ends at -1, and the address is then 255.255.255.255; it is meant so.
  const auto end = static_cast<int32_t>(start + limit - 1);
  *address = lan | static_cast<uint32_t>(end >= 255 ? 254 : end);
  return 0;
}

int set_dhcp_ipend(Ipv4 address) {
  // The size is counted from the start as it is now: whoever changes both sets the start first.
  uint32_t start = 0;
  get_ipstart_number(&start);
  const auto limit = static_cast<int32_t>((address & host_part) - start + 1);
  return store_number("dhcp.lan.limit", std::max(limit, 0));
}

/// @syntax ZolarcSwitch
/// Whether the device gives out addresses (the inverse of dhcp.lan.ignore). A SET starts or stops the server.
ZOL_INTEGER(dhcp_server, .oid = {10, 1}, .accepts = range(on, off));

int get_dhcp_server(int32_t *state) {
  int32_t ignored = off;
  const int result = read_flag(CommandOutput("uci show dhcp | grep \"lan.ignore\""), off, &ignored, shortest_line);
  *state = ignored == on ? off : on;
  return result;
}

int set_dhcp_server(int32_t state) {
  if (state == on) {
    uint32_t start = 0;
    get_ipstart_number(&start);
    if (start == 0) {
      set_dhcp_ipstart(0xC0A80164);  // 192.168.1.100
      set_dhcp_ipend(0xC0A801F9);    // 192.168.1.249
    }
  }
  constexpr Switch server{
      .turn_on =
          "uci set dhcp.lan.ignore=0;uci commit dhcp;/etc/init.d/dnsmasq enable;killall dnsmasq;"
          "/etc/init.d/dnsmasq start",
      .turn_off = "uci set dhcp.lan.ignore=1;uci commit dhcp;/etc/init.d/dnsmasq disable;/etc/init.d/dnsmasq stop"};
  return server(state);
}

// What the clients are told besides. These are read once, when the module starts: a change made elsewhere shows after a
// restart of the agent. Without an answer to the question the module does not register.

namespace {

int read_netmask(Ipv4 *netmask) {
  const int read = read_address(CommandOutput("uci show network | grep \"lan.netmask\""), netmask);
  if (read != 0) return read;
  // A netmask of the DHCP server's own overrides that of the LAN.
  return read_address(CommandOutput("uci show dhcp | grep \"lan.netmask\""), netmask);
}

int read_gateway(Ipv4 *gateway) {
  return read_address(CommandOutput("uci show network | grep \"lan.gateway\""), gateway);
}

constexpr const char *dns_option = "network.lan.dns";

const char *second_word(const char *text) {
  text += strspn(text, " ");
  return text + strcspn(text, " ");
}

/// The LAN's list of at most two DNS servers, where 0.0.0.0 keeps the first place free. What it does not hold is left
/// as it was.
int read_dns_servers(Ipv4 *primary, Ipv4 *secondary) {
  const auto take = [=](const Value &list) {
    take_address(list.text(), primary);
    take_address(second_word(list.text()), secondary);
  };
  return take_all(CommandOutput("uci show network | grep \"lan.dns\""), take, shortest_line);
}

int read_primary_dns(Ipv4 *primary) {
  Ipv4 unused = 0;
  return read_dns_servers(primary, &unused);
}

int read_secondary_dns(Ipv4 *secondary) {
  Ipv4 unused = 0;
  return read_dns_servers(&unused, secondary);
}

}  // namespace

// The netmask is kept with the DHCP server's options and the gateway with the LAN's; it is meant so.

/// The netmask that clients are told (dhcp.lan.netmask; that of the LAN when there is none). The configuration is read
/// when the agent starts: what is changed on the device itself shows after a restart of the agent.
ZOL_ADDRESS(dhcp_netmaskip, .oid = {10, 4}, .prepare = must_read_first<read_netmask, dhcp_netmaskip>,
            .prints_token = true);

ZOL_HELD(dhcp_netmaskip)

int set_dhcp_netmaskip(Ipv4 netmask) { return store_address("dhcp.lan.netmask", netmask); }

/// The gateway that clients are told (network.lan.gateway). Read when the agent starts, as dhcpNetmaskip.
ZOL_ADDRESS(dhcp_gatewayip, .oid = {10, 5}, .prepare = must_read_first<read_gateway, dhcp_gatewayip>,
            .prints_token = true);

ZOL_HELD(dhcp_gatewayip)

int set_dhcp_gatewayip(Ipv4 gateway) { return store_address("network.lan.gateway", gateway); }

/// The first DNS server that clients are told, the first word of network.lan.dns. Read when the agent starts, as
/// dhcpNetmaskip.
ZOL_ADDRESS(dhcp_pridns, .oid = {10, 6}, .prepare = must_read_first<read_primary_dns, dhcp_pridns>);

ZOL_HELD(dhcp_pridns)

int set_dhcp_pridns(Ipv4 server) {
  Ipv4 secondary = 0;
  if (read_secondary_dns(&secondary) != 0) return -1;
  return secondary == 0 ? store_address(dns_option, server) : store_addresses(dns_option, server, secondary);
}

/// The second DNS server that clients are told, the second word of network.lan.dns. Read when the agent starts, as
/// dhcpNetmaskip.
ZOL_ADDRESS(dhcp_secdns, .oid = {10, 7}, .prepare = must_read_first<read_secondary_dns, dhcp_secdns>);

ZOL_HELD(dhcp_secdns)

int set_dhcp_secdns(Ipv4 server) {
  Ipv4 primary = 0;
  if (read_primary_dns(&primary) != 0) return -1;
  return store_addresses(dns_option, primary, server);
}

// The lease time.

namespace {

struct Unit {
  char letter;
  uint32_t minutes;
};
constexpr std::array<Unit, 3> all_units = {{{'d', 1440}, {'h', 60}, {'m', 1}}};

/// The minutes in a text such as "1d2h3m", of which `units` are expected in this order; reading stops where another
/// letter stands. Nothing without a first number.
std::optional<int32_t> scan_minutes(const char *text, std::span<const Unit> units) {
  std::optional<int32_t> minutes;
  for (const auto &[letter, worth] : units) {
    const std::optional<int32_t> count = scan_int32(text);
    if (!count) break;
    minutes = static_cast<int32_t>(static_cast<uint32_t>(minutes.value_or(0)) + static_cast<uint32_t>(*count) * worth);
    if (*text != letter) break;
    ++text;
  }
  return minutes;
}

/// The units that are read from a lease time, by the letters in it. Days count only where hours and minutes stand too:
/// "2d5h" is read as 2 hours and "1d" as nothing; it is meant so.
std::span<const Unit> units_of(const char *lease) {
  const std::span units(all_units);
  const bool hours = strchr(lease, 'h') != nullptr;
  const bool minutes = strchr(lease, 'm') != nullptr;
  if (hours && minutes) return strchr(lease, 'd') != nullptr ? units : units.subspan(1);
  if (hours) return units.subspan(1, 1);
  return minutes ? units.subspan(2) : units.first(0);
}

}  // namespace

/// @units minutes
/// @syntax Integer32
/// How long a lease lasts; 720 when it is not configured. A SET writes minutes. Of what an administrator may have
/// written, '12h', '90m', '1h30m' and '1d2h30m' read as they are, '2d5h' reads as 2 hours, and days alone or a number
/// without a unit as 720 minutes.
ZOL_INTEGER(dhcp_leaseperiod, .oid = {10, 8}, .accepts = range(15, 31 * 24 * 60));

int get_dhcp_leaseperiod(int32_t *minutes) {
  *minutes = 720;
  const auto take = [minutes](const Value &lease) {
    *minutes = scan_minutes(lease.text(), units_of(lease.text())).value_or(*minutes);
  };
  return take_all(CommandOutput("uci show dhcp | grep \"lan.leasetime\""), take, shortest_line);
}

int set_dhcp_leaseperiod(int32_t minutes) {
  shell("uci set dhcp.lan.leasetime=%dm;uci commit dhcp", minutes);
  return 0;
}
