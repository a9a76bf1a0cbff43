#pragma once

#include <cstdint>

namespace wdog {

/// What the clocks say at one moment.
struct Moment {
  /// The C library's clock, in seconds since 1970.
  int64_t wall;
  /// A clock that nobody sets, in milliseconds.
  int64_t elapsed;
  /// Seconds since the device was started, by /proc/uptime; 0 when it cannot be read.
  int64_t uptime;
};

Moment read_clocks();

}  // namespace wdog
