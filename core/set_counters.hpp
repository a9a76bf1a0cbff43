#pragma once

#include <atomic>
#include <cstdint>

namespace zol {

/// What has become of SETs since the library was loaded. All of them wrap.
struct SetCounters {
  /// Objects that were set, and that were refused.
  std::atomic<uint32_t> set;
  std::atomic<uint32_t> refused;
  /// Of the refused ones those that the guard has refused for what the text held.
  std::atomic<uint32_t> guarded;
};
extern constinit SetCounters set_counters;

/// Is told the registry's name of an object whose text the guard has refused, on the agent's thread; null tells nobody.
using GuardObserver = void(const char *object);
void tell_guard_refusals_to(GuardObserver *observer);

/// Counts a refusal of the guard and tells it.
void note_guard_refusal(const char *object);

}  // namespace zol
