#pragma once

#include <optional>

#include "wdog/schedule.hpp"

namespace wdog {

/// Watches the clocks and the targets of the ping watchdog until a signal ends the process.
/// @param given a schedule of its own; without one, the stored one counts
[[noreturn]] void watch(const std::optional<Schedule> &given);

}  // namespace wdog
