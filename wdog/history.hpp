#pragma once

// What must outlast a reboot: how many the ping watchdog has made, and which the last one was.

#include <array>
#include <cstdint>

#include "wdog/clocks.hpp"

namespace wdog {

struct History {
  /// Reboots, and starts of the device in which the script was run, that count for the limit.
  int count = 0;
  /// When the last reboot was asked for, in seconds since 1970, and why; 0 when none was.
  int64_t last = 0;
  std::array<char, 256> reason{};
  /// The time that the last reboot by time was due at.
  int64_t due = 0;
};

/// What is known. A file that cannot be read, or has been tampered with, counts as more reboots than any limit.
History read_history();

/// Notes a reboot before it is made. False when it cannot be kept.
/// @param due of a reboot by time; 0 of another, which counts for the limit when `counts`
bool note_reboot(const Moment &now, const char *reason, int64_t due, bool counts);

/// Notes that the script is run, once for each start of the device.
bool note_script(const Moment &now);

/// Whether the script was run since the device was started.
bool has_script_run(const Moment &now);

/// The device has been up for long enough: the reboots are forgotten.
bool clear_count();

}  // namespace wdog
