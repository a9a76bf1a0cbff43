#include "wdog/schedule.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "wdog/values.hpp"

namespace wdog {

namespace {

constexpr int64_t minute_seconds = 60;
constexpr int64_t hour_seconds = 3600;
constexpr int64_t day_seconds = 86400;

/// A change of the clock by more than this is no passing of time.
constexpr int64_t largest_drift = 30;

int64_t days_since_1970(int64_t year, int month, int day) {
  if (month <= 2) --year;
  const int64_t era = year / 400;
  const int64_t year_of_era = year % 400;
  const int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719468;
}

/// What the local clock shows, as the seconds from 1970 to that reading without any zone.
int64_t local_reading(int64_t seconds) {
  const auto moment = static_cast<time_t>(seconds);
  tm local{};
  if (localtime_r(&moment, &local) == nullptr) return seconds;
  return days_since_1970(local.tm_year + 1900LL, local.tm_mon + 1, local.tm_mday) * day_seconds +
         local.tm_hour * hour_seconds + local.tm_min * minute_seconds + std::min(local.tm_sec, 59);
}

int64_t offset_at(int64_t seconds) { return local_reading(seconds) - seconds; }

/// The first moment at which the local clock has reached `reading`. Zones differ from each other and change by whole
/// minutes, so that no visit of the clock to a minute is missed.
int64_t first_moment(int64_t reading) {
  const int64_t before = offset_at(reading - day_seconds);
  const int64_t after = offset_at(reading + day_seconds);
  int64_t moment = reading - std::max(before, after) - hour_seconds;
  while (local_reading(moment) < reading) moment += minute_seconds;
  return moment;
}

}  // namespace

std::optional<Schedule> parse_schedule(const char *text) {
  const auto behind = [text](const char *prefix) {
    return strncmp(text, prefix, strlen(prefix)) == 0 ? text + strlen(prefix) : nullptr;
  };
  if (const char *when = behind("--by-time=")) {
    if (const auto minute = time_of_day(when)) return Schedule{Schedule::Kind::by_time, *minute};
  }
  if (const char *when = behind("--by-hour=")) {
    if (const auto hours = hours_in(when)) return Schedule{Schedule::Kind::by_hour, *hours};
  }
  return std::nullopt;
}

std::array<char, 24> print_schedule(const Schedule &schedule) {
  std::array<char, 24> text{"off"};
  if (schedule.kind == Schedule::Kind::by_time) {
    snprintf(text.data(), text.size(), "--by-time=%02d:%02d", schedule.number / 60, schedule.number % 60);
  } else if (schedule.kind == Schedule::Kind::by_hour) {
    snprintf(text.data(), text.size(), "--by-hour=%d", schedule.number);
  }
  return text;
}

int64_t next_time(int minute, int64_t after) {
  const int64_t local = local_reading(after);
  int64_t midnight = local - local % day_seconds - day_seconds;
  for (;;) {
    const int64_t due = first_moment(midnight + minute * minute_seconds);
    if (due > after) return due;
    midnight += day_seconds;
  }
}

int64_t next_reboot(const Schedule &schedule, int64_t now, int64_t uptime) {
  if (schedule.kind == Schedule::Kind::by_hour) {
    const int64_t period = schedule.number * hour_seconds;
    return now + period - uptime % period;
  }
  int64_t due = next_time(schedule.number, now);
  if (uptime + (due - now) < quiet_uptime) due = next_time(schedule.number, due);
  return due;
}

std::array<char, 32> print_moment(int64_t seconds) {
  const auto moment = static_cast<time_t>(seconds);
  tm local{};
  std::array<char, 32> text{};
  if (localtime_r(&moment, &local) == nullptr) return text;
  const int64_t offset = offset_at(seconds) / minute_seconds;
  const int64_t size = std::abs(offset);
  snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d %c%02d%02d", local.tm_year + 1900, local.tm_mon + 1,
           local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, offset < 0 ? '-' : '+',
           static_cast<int>(size / 60), static_cast<int>(size % 60));
  return text;
}

TaskMonitor::TaskMonitor(const Schedule &schedule, const Moment &now, int64_t done)
    : schedule_(schedule), last_(now), done_(done) {
  if (schedule.kind == Schedule::Kind::by_time) compute_time(now, now.wall);
  if (schedule.kind == Schedule::Kind::by_hour) compute_hours(now);
}

bool TaskMonitor::is_due(const Moment &now) {
  const bool due = schedule_.kind == Schedule::Kind::by_time   ? has_time_come(now)
                   : schedule_.kind == Schedule::Kind::by_hour ? have_hours_passed(now)
                                                               : false;
  last_ = now;
  return due;
}

void TaskMonitor::compute_time(const Moment &now, int64_t after) {
  tzset();
  next_ = next_time(schedule_.number, after);
  computed_ = now.elapsed;
}

bool TaskMonitor::has_time_come(const Moment &now) {
  const int64_t passed = (now.elapsed - last_.elapsed) / 1000;
  if (std::abs(now.wall - last_.wall - passed) > largest_drift) {
    compute_time(now, now.wall);
    return false;
  }
  // Now and then anew: the time zone may be another one by now.
  if (now.elapsed - computed_ >= minute_seconds * 1000) compute_time(now, last_.wall);
  if (now.wall < next_) return false;
  const int64_t due = next_;
  const bool is_new = due != done_;
  compute_time(now, now.wall);
  done_ = due;
  return is_new && now.uptime >= quiet_uptime;
}

void TaskMonitor::compute_hours(const Moment &now) {
  const int64_t period = schedule_.number * hour_seconds;
  next_ = (now.uptime / period + 1) * period;
}

bool TaskMonitor::have_hours_passed(const Moment &now) {
  const bool due = now.uptime >= next_;
  if (due || now.uptime < last_.uptime) compute_hours(now);
  return due;
}

}  // namespace wdog
