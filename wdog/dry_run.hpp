#pragma once

#include <cstdint>

#include "wdog/schedule.hpp"

namespace wdog {

/// Prints what a process in the background would go by, and its next reboots.
void print_dry_run(const Schedule &schedule, int64_t now);

}  // namespace wdog
