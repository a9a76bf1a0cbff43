#pragma once

#include <atomic>
#include <cstdint>

namespace zol {

/// What has become of SETs since the library was loaded. All of them wrap.
struct SetCounters {
  /// Objects that were set, and that were refused.
  std::atomic<uint32_t> set;
  std::atomic<uint32_t> refused;
};
extern constinit SetCounters set_counters;

}  // namespace zol
