#pragma once

#include <array>
#include <cstdint>

#include "core/address.hpp"

namespace zol {

/// An associated station as the scan of the interfaces finds it.
struct Station {
  Mac mac;
  /// Mbit/s.
  int32_t tx_rate;
  int32_t rx_rate;
  /// N of the interface athN.
  int32_t vap_index;
};

/// How many stations are ever listed, over all interfaces.
constexpr size_t most_stations = 8;
using Stations = std::array<Station, most_stations>;

/// Looks for stations on every bridged interface with "wlanconfig ath<N> list sta".
/// @return how many it found; none where the interfaces cannot be counted; -1 when one of them cannot be asked
int scan_stations(Stations &stations);

}  // namespace zol
