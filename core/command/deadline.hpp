#pragma once

#include <cstdint>

#include "core/clock.hpp"

namespace zol {

/// A point in time up to which something is waited for. It draws near when the agent is asked to end or to read its
/// configuration anew, and when the collections are given up: then nothing is worth a wait.
class Deadline {
 public:
  /// `milliseconds` from now; 0 is never.
  explicit Deadline(int64_t milliseconds);

  [[nodiscard]] bool passed() const { return at_ <= monotonic_ms(); }
  /// Whether it was drawn near.
  [[nodiscard]] bool cut_short() const { return cut_short_; }
  /// How long to wait at a time, for poll(): at most `most`, never for ever.
  [[nodiscard]] int slice(int most) const;

  /// To be called between two waits. @param interrupted whether a signal has ended the last one
  void look_up(bool interrupted);

 private:
  void draw_near(int64_t milliseconds);

  int64_t at_;
  bool cut_short_ = false;
};

/// Cuts the waits of all threads but the agent's short from now on, or lets them wait again.
void hurry_collections(bool hurry);

}  // namespace zol
