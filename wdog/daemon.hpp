#pragma once

// There is one wdog in the background for each folder. It holds the lock on a file there for as long as it lives, by
// which others find it: the kernel lets the lock go with the process, so that nothing stale is left.

#include <sys/types.h>

namespace wdog {

/// The process in the background, or -1 when there is none.
pid_t find_daemon();

/// Leaves the terminal and goes into the background, with no descriptors of whoever started it; ends the process that
/// was there before and takes its place. Returns in the background only: the caller ends with status 0 once that is
/// done, or 1 when it cannot be.
void become_daemon();

}  // namespace wdog
