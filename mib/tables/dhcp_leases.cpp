// The leases of the DHCP server (11.1), as they were when the first cell was asked for.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/module.hpp"
#include "core/static_table.hpp"
#include "core/text.hpp"
#include "mib/tables/tables.hpp"

using namespace zol;

LeaseRecord zol_mac_active_all[most_lease_records];

namespace {

/// Reads "<expiry> <MAC address> <IPv4 address> <host name> <client identifier>".
std::optional<LeaseRecord> parse_lease(const char *line) {
  const char *blank = strchr(line, ' ');
  if (blank == nullptr || strchr(line, ':') == nullptr) return std::nullopt;
  unsigned long long expiry = 0;
  long long octets[4] = {};
  char host[128] = "";
  // One conversion for the whole line: an address counts only where the MAC address before it has its full form.
  const int read = sscanf(line, "%llu %*2x:%*2x:%*2x:%*2x:%*2x:%*2x %lld.%lld.%lld.%lld %127s", &expiry, &octets[0],
                          &octets[1], &octets[2], &octets[3], host);
  if (read < 5) return std::nullopt;
  LeaseRecord lease{};
  memcpy(lease.mac, mac_octets(blank + 1).data(), mac_length);
  fill_field(lease.host, host);
  for (size_t i = 0; i < sizeof lease.ip; ++i) lease.ip[i] = static_cast<uint8_t>(octets[i]);
  lease.expiry = static_cast<uint32_t>(expiry);
  return lease;
}

}  // namespace

int get_zol_mac_active(LeaseRecord *records, uint32_t *count) {
  memset(records, 0, most_lease_records * sizeof *records);
  *count = 0;
  CommandOutput output("cat /var/dhcp.leases");
  if (!output) return -1;
  while (*count < most_lease_records && output.next()) {
    if (const auto lease = parse_lease(output.line())) records[(*count)++] = *lease;
  }
  return 0;
}

ZOL_TOKEN_TEXT(dhcpactive_table, zol_host_active, 31, 29)
// A span of more than a day that has passed needs more than the twenty characters of one to come.
ZOL_TOKEN_TEXT(dhcpactive_table, zol_lease_time, 32, 19)
ZOL_TOKEN_TEXT(dhcpactive_table, zol_mac_active, 44, 43)
ZOL_TOKEN_INTEGER(dhcpactive_table, zol_ip_active, Ipv4)

namespace {

uint32_t leases = 0;

const LeaseRecord &record(Cell cell) { return zol_mac_active_all[cell.row - 1]; }

Octets read_mac(Cell cell) {
  memcpy(zol_mac_active, record(cell).mac, mac_length);
  return {zol_mac_active, mac_length};
}

Octets read_host(Cell cell) {
  constexpr size_t size = sizeof record(cell).host;
  memcpy(zol_host_active, record(cell).host, size);
  zol_host_active[size] = '\0';
  return text_answer(zol_host_active);
}

/// How long the lease lasts from now; once it has expired the parts of the time are negative.
Octets read_remaining_time(Cell cell) {
  const uint32_t seconds = record(cell).expiry - static_cast<uint32_t>(time(nullptr));
  getTimeString(static_cast<int32_t>(seconds), zol_lease_time, sizeof zol_lease_time);
  return text_answer(zol_lease_time);
}

constexpr Column columns[] = {
    /// @syntax ZolarcMacAddress
    /// The client's address.
    octets_column(1, 3, "zol_mac_active", read_mac),
    /// @syntax ZolarcText (SIZE (0..30))
    /// The client's host name, '*' when it told none.
    octets_column(2, 1, "zol_host_active", read_host),
    /// @syntax ZolarcText (SIZE (0..31))
    /// For how long the lease still lasts, for example '0 Days 11:02:03'. The parts of a lease that has expired are
    /// negative.
    octets_column(3, 2, "zol_lease_time", read_remaining_time),
    /// The address that is leased.
    address_column(4, 4, "zol_ip_active", [](Cell cell) { return zol_ip_active = address_at(record(cell).ip); }),
};

}  // namespace

/// @table dhcpLeaseTable
/// The leases of the DHCP server, read anew when the first cell is read, as a walk does.
ZOL_TABLE(
    dhcpactive_table, var_dhcpactive_table, most_lease_records, columns, .entry = {11, 1},
    .refresh = [] { get_zol_mac_active(zol_mac_active_all, &leases); },
    .live_rows = [] { return static_cast<int32_t>(leases); });
