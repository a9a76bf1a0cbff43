// The lease of one station, for the areas above this one.

#include "core/command.hpp"
#include "mib/stations/printed.hpp"
#include "mib/stations/stations.hpp"

namespace zol {

namespace {

std::optional<Ipv4> address_in(const StationRecord *station) {
  return station != nullptr && station->knows(Figure::address) ? std::optional(station->address) : std::nullopt;
}

}  // namespace

std::optional<Ipv4> lease_of(const Mac &mac) {
  if (const StationRecord *station = present_stations().find(mac)) return address_in(station);
  Snapshot alone;
  alone.begin(0);
  if (!alone.add(mac, 0)) return std::nullopt;
  alone.sort();
  CommandOutput<256> leases("cat /var/dhcp.leases");
  while (leases.next()) read_lease(alone, leases.line());
  const std::optional<Ipv4> address = address_in(alone.find(mac));
  alone.release();
  return address;
}

}  // namespace zol
