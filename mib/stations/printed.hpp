#pragma once

// What the system's tools print about stations, line by line, into a snapshot. A figure that is not printed is left
// out.

#include <optional>

#include "mib/stations/snapshot.hpp"

namespace zol {

/// "wlanconfig ath<N> list sta": each line that begins with an address is a station.
std::optional<Mac> listed_station(const char *line);

/// "brctl show": N of the interface athN that a line names, below `most_interfaces`.
std::optional<uint8_t> bridged_interface(const char *line);

/// What one interface's tools print of its stations: the figures stand behind an address, up to the next one.
class StationOutput {
 public:
  StationOutput(Snapshot &snapshot, uint8_t interface) : snapshot_(snapshot), interface_(interface) {}

  /// A line of "iwinfo ath<N> assoclist".
  void association(const char *line);
  /// A line of "80211stats -i ath<N> -a", read at a time of `monotonic_ms`.
  void counters(const char *line, int64_t now);

 private:
  /// Moves on to the station that `line` names; what follows its address, or the whole line when it names none.
  const char *advance(const char *line);

  Snapshot &snapshot_;
  /// Null while an address is not listed on this interface.
  StationRecord *station_ = nullptr;
  uint8_t interface_;
  /// Whether `advance` has just met an address.
  bool names_station_ = false;
};

/// A line of /var/dhcp.leases. Of several leases of a station the one that ends last counts.
void read_lease(Snapshot &snapshot, const char *line);

/// A line of "uci show wireless".
void read_setting(Snapshot &snapshot, const char *line);

}  // namespace zol
