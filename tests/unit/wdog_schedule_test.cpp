#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "wdog/options.hpp"
#include "wdog/schedule.hpp"

namespace {

using wdog::Moment;
using wdog::Options;
using wdog::Schedule;
using wdog::TaskMonitor;

void live_in(const char *zone) {
  setenv("TZ", zone, 1);
  tzset();
}

constexpr const char *berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char *lord_howe = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";
// Goes to summer time at midnight, and back at midnight.
constexpr const char *havana = "CST5CDT,M3.2.0/0,M11.1.0/1";

TEST(Schedule, IsDueOnceEveryDay) {
  const std::tuple<const char *, const char *, int64_t, const char *> cases[] = {
      {"UTC", "--by-time=03:30", 1767614400, "2026-01-06 03:30:00 +0000"},
      {"UTC", "--by-time=12:00", 1767614399, "2026-01-05 12:00:00 +0000"},
      {"UTC", "--by-time=12:00", 1767614400, "2026-01-06 12:00:00 +0000"},
      {"UTC", "--by-time=00:00", 0, "1970-01-02 00:00:00 +0000"},
      {"EST5", "--by-time=23:59", 0, "1969-12-31 23:59:00 -0500"},
      {berlin, "--by-time=02:30", 1774659600, "2026-03-28 02:30:00 +0100"},
      {berlin, "--by-time=02:30", 1774661400, "2026-03-29 03:00:00 +0200"},
      {berlin, "--by-time=02:30", 1774746000, "2026-03-30 02:30:00 +0200"},
      {berlin, "--by-time=03:00", 1774661400, "2026-03-28 03:00:00 +0100"},
      {berlin, "--by-time=02:30", 1792873800, "2026-10-25 02:30:00 +0200"},
      {berlin, "--by-time=02:30", 1792888200, "2026-10-26 02:30:00 +0100"},
      {berlin, "--by-time=02:30", 1792890600, "2026-10-26 02:30:00 +0100"},
      {berlin, "--by-time=03:00", 1792888200, "2026-10-25 03:00:00 +0100"},
      {lord_howe, "--by-time=02:15", 1791035000, "2026-10-04 02:30:00 +1100"},
      {havana, "--by-time=00:30", 1772930000, "2026-03-08 01:00:00 -0400"},
      {havana, "--by-time=00:30", 1793500000, "2026-11-01 00:30:00 -0400"},
      {havana, "--by-time=00:30", 1793509200, "2026-11-02 00:30:00 -0500"},
  };
  for (const auto &[zone, text, after, due] : cases) {
    live_in(zone);
    const auto schedule = wdog::parse_schedule(text);
    ASSERT_TRUE(schedule);
    EXPECT_STREQ(wdog::print_moment(wdog::next_reboot(*schedule, after, 100000)).data(), due) << zone << " " << after;
  }
  live_in("UTC");
  const Schedule noon{Schedule::Kind::by_time, 720};
  EXPECT_EQ(wdog::next_reboot(noon, 1767614000, 199), 1767614400 + 86400) << "too soon after a start";
  EXPECT_EQ(wdog::next_reboot(noon, 1767614000, 200), 1767614400);
  const Schedule hours{Schedule::Kind::by_hour, 9};
  EXPECT_EQ(wdog::next_reboot(hours, 1000, 32399), 1001);
  EXPECT_EQ(wdog::next_reboot(hours, 1000, 32400), 1000 + 32400);
}

/// A device's clocks, looked at every `step` seconds.
struct Clocks {
  int64_t wall = 1767614400;  // noon
  int64_t elapsed = 5'000'000;
  int64_t uptime = 5000;
  [[nodiscard]] Moment now() const { return {wall, elapsed, uptime}; }
  void pass(int64_t seconds) {
    wall += seconds;
    elapsed += seconds * 1000;
    uptime += seconds;
  }
  /// How often a reboot is due within some seconds.
  int watch(TaskMonitor &monitor, int64_t seconds, int64_t step = 5) {
    int due = 0;
    for (int64_t passed = 0; passed < seconds; passed += step) {
      pass(step);
      due += monitor.is_due(now()) ? 1 : 0;
    }
    return due;
  }
};

constexpr Schedule at_1230{Schedule::Kind::by_time, 750};

TEST(TaskMonitor, TellsOncePerDay) {
  live_in("UTC");
  Clocks clocks;
  TaskMonitor monitor(at_1230, clocks.now(), 0);
  EXPECT_EQ(clocks.watch(monitor, 1795), 0);
  EXPECT_EQ(clocks.watch(monitor, 5), 1);
  EXPECT_EQ(monitor.due(), 1767614400 + 1800);
  EXPECT_EQ(clocks.watch(monitor, 86395), 0);
  EXPECT_EQ(clocks.watch(monitor, 86400), 1);
}

TEST(TaskMonitor, TakesNoStepOfTheClockForTime) {
  live_in("UTC");
  // Seconds since noon, where the clock is changed, and by how much; then two hours are watched.
  const std::tuple<int64_t, int64_t, int> cases[] = {{1000, 900, 0}, {1780, 31, 0},  {1780, 30, 1}, {1780, -31, 1},
                                                     {1810, -40, 1}, {1810, -20, 1}, {0, 86400, 1}, {1000, -86400, 1}};
  for (const auto &[from, by, expected] : cases) {
    Clocks clocks;
    TaskMonitor monitor(at_1230, clocks.now(), 0);
    int due = clocks.watch(monitor, from);
    clocks.wall += by;
    due += monitor.is_due(clocks.now()) ? 1 : 0;
    due += clocks.watch(monitor, 7200);
    EXPECT_EQ(due, expected) << from << " " << by;
  }
}

TEST(TaskMonitor, MakesNoBootLoop) {
  live_in("UTC");
  Clocks clocks;
  clocks.uptime = 0;
  TaskMonitor soon({Schedule::Kind::by_time, 729}, clocks.now(), 0);
  EXPECT_EQ(clocks.watch(soon, 3600), 0) << "9 minutes after a start";
  TaskMonitor unknown({Schedule::Kind::by_time, 735}, clocks.now(), 0);
  clocks.uptime = 0;
  for (int i = 0; i < 2000; ++i) {
    clocks.pass(5);
    clocks.uptime = 0;
    EXPECT_FALSE(unknown.is_due(clocks.now()));
  }
  // A device without a clock of its own starts at the same time again and again.
  Clocks again;
  int64_t done = 0;
  int due = 0;
  for (int boot = 0; boot < 5; ++boot) {
    again = {.uptime = 0};
    TaskMonitor monitor(at_1230, again.now(), done);
    due += again.watch(monitor, 3600);
    done = monitor.due();
  }
  EXPECT_EQ(due, 1);
}

TEST(TaskMonitor, CountsHoursOfUptime) {
  Clocks clocks;
  clocks.uptime = 3590;
  TaskMonitor monitor({Schedule::Kind::by_hour, 1}, clocks.now(), 0);
  EXPECT_EQ(clocks.watch(monitor, 5), 0);
  EXPECT_EQ(clocks.watch(monitor, 5), 1);
  clocks.wall += 86400;
  EXPECT_EQ(clocks.watch(monitor, 3595), 0);
  EXPECT_EQ(clocks.watch(monitor, 5), 1);
  clocks.uptime = 0;
  EXPECT_EQ(clocks.watch(monitor, 3595), 0);
  TaskMonitor off({}, clocks.now(), 0);
  EXPECT_EQ(clocks.watch(off, 200000, 100), 0);
}

TEST(Options, AreUnderstoodOrNamed) {
  struct Case {
    std::vector<const char *> arguments;
    const char *offender;
  };
  const Case cases[] = {
      {{}, nullptr},
      {{"--daemon", "path=/tmp", "--by-time=03:30"}, nullptr},
      {{"--by-hour=09", "--dry-run=0"}, nullptr},
      {{"--test=1", "~;1", "path=/etc"}, nullptr},
      {{"--test=1", "path=/etc"}, nullptr},
      {{"--test=1"}, "--test=1"},
      {{"--test=2", "s"}, "--test=2"},
      {{"--test", "s"}, "--test"},
      {{"--daemon", "--by-time=99:99"}, "--by-time=99:99"},
      {{"--daemon", "--by-time=24:00"}, "--by-time=24:00"},
      {{"--daemon", "--by-time=3:30"}, "--by-time=3:30"},
      {{"--daemon", "--by-time=03:30 "}, "--by-time=03:30 "},
      {{"--daemon", "--by-hour=0"}, "--by-hour=0"},
      {{"--daemon", "--by-hour=24"}, "--by-hour=24"},
      {{"--daemon", "--by-hour=009"}, "--by-hour=009"},
      {{"--daemon", "--by-hour="}, "--by-hour="},
      {{"--daemon", "--by-hour=+5"}, "--by-hour=+5"},
      {{"--daemon", "--by-hour=5", "--by-hour=5"}, "--by-hour=5"},
      {{"--by-hour=5"}, "--by-hour=5"},
      {{"--daemon", "--dry-run"}, "--dry-run"},
      {{"--dry-run=-1"}, "--dry-run=-1"},
      {{"--dry-run=999999999999"}, "--dry-run=999999999999"},
      {{"path="}, "path="},
      {{"path=/etc", "path=/tmp"}, "path=/tmp"},
      {{"daemon"}, "daemon"},
  };
  for (const Case &expected : cases) {
    const char *arguments[6] = {"wdog"};
    std::copy(expected.arguments.begin(), expected.arguments.end(), arguments + 1);
    Options options;
    const int count = static_cast<int>(expected.arguments.size()) + 1;
    EXPECT_STREQ(parse_options(count, arguments, options), expected.offender);
  }
}

}  // namespace
