#pragma once

// When the device is to reboot.

#include <array>
#include <cstdint>
#include <optional>

#include "wdog/clocks.hpp"

namespace wdog {

struct Schedule {
  enum class Kind { off, by_time, by_hour };
  Kind kind = Kind::off;
  /// Minutes since midnight in local time, or hours of uptime.
  int number = 0;

  bool operator==(const Schedule &) const = default;
};

/// "--by-time=HH:MM", "--by-hour=H" or "--by-hour=HH"; nothing for any other text.
std::optional<Schedule> parse_schedule(const char *text);

/// The same text, or "off".
std::array<char, 24> print_schedule(const Schedule &schedule);

/// No reboot by the clock comes sooner after a start.
constexpr int64_t quiet_uptime = 600;

/// The first moment after `after` at which the local clock shows `minute` (since midnight), both in seconds since 1970.
/// A time that daylight saving skips is due at the first moment behind the gap, one that comes twice the first time.
int64_t next_time(int minute, int64_t after);

/// When the device will reboot next, if nobody sets its clock.
int64_t next_reboot(const Schedule &schedule, int64_t now, int64_t uptime);

/// "YYYY-MM-DD hh:mm:ss +hhmm" in local time.
std::array<char, 32> print_moment(int64_t seconds);

/// Watches the clocks until a reboot is due.
class TaskMonitor {
 public:
  TaskMonitor() = default;
  /// @param done the time that the last reboot by time was due at: should the clock show it again, it is no reason
  TaskMonitor(const Schedule &schedule, const Moment &now, int64_t done);

  [[nodiscard]] const Schedule &schedule() const { return schedule_; }
  /// Whether a reboot has become due since the last call.
  bool is_due(const Moment &now);
  /// The time that the last reboot was due at.
  [[nodiscard]] int64_t due() const { return done_; }

 private:
  bool has_time_come(const Moment &now);
  bool have_hours_passed(const Moment &now);
  void compute_time(const Moment &now, int64_t after);
  void compute_hours(const Moment &now);

  Schedule schedule_;
  Moment last_{};
  /// In local time as seconds since 1970, or in seconds of uptime.
  int64_t next_ = 0;
  int64_t computed_ = 0;
  int64_t done_ = 0;
};

}  // namespace wdog
