#pragma once

#include <atomic>
#include <cstdint>

namespace zol {

/// What the command engine has done since the library was loaded. All of them wrap.
struct CommandCounters {
  /// Commands started, and how many of these through a shell.
  std::atomic<uint32_t> started;
  std::atomic<uint32_t> shells;
  /// Answers given from what was kept.
  std::atomic<uint32_t> reused;
  /// Commands that missed their deadline, and those not started because of it.
  std::atomic<uint32_t> late;
};
extern constinit CommandCounters command_counters;

/// Is told the first word of a command that is late, on the thread that waited for it; null tells nobody.
using LateObserver = void(const char *program);
void tell_late_commands_to(LateObserver *observer);

}  // namespace zol
