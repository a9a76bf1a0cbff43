#pragma once

#include <cstddef>
#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// Writes the local time as "YYYY/MM/DD hh:mm:ss" into `dst`, which holds at least 20 bytes. Nothing is written when
/// the clock cannot be read. @return 0 always
ZOL_EXPORT int zoel_print_time(char *dst);

/// Whole seconds since the device was started, from /proc/uptime; the seconds since the epoch when it cannot be read.
ZOL_EXPORT unsigned long getSysUptime(void);

/// Writes a span of time as "n Days hh:mm:ss", computed in 32 bits. A negative span prints its days unsigned and its
/// other parts signed, as the device does. @return 0 always
ZOL_EXPORT int getTimeString(int32_t seconds, char *buffer, size_t size);

/// Sleeps, however often a signal interrupts it. @return 1 always
ZOL_EXPORT int msleep(int32_t milliseconds);
}

namespace zol {

/// Milliseconds of a clock that nobody sets.
int64_t monotonic_ms();

/// How long a moment of `monotonic_ms` is past, in hundredths of a second, as TimeTicks are.
uint32_t ticks_since(int64_t when);

}  // namespace zol
