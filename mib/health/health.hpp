#pragma once

// How the agent itself fares, and what it tells by notifications of its own.

#include <atomic>
#include <cstdint>

namespace zol {

/// Stations that have come and gone between two collections since the library was loaded, and the collections.
struct StationChanges {
  uint32_t joined;
  uint32_t left;
  uint32_t collections;
};
extern StationChanges station_changes;

/// What is to be told later: to be called by the agent's thread once a second.
void tend_notifications();

/// Whether stations that come and go are still announced by the generic traps.
bool announces_by_traps();

}  // namespace zol
