#include "core/clock.hpp"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/text.hpp"

namespace {

constexpr std::array<const char *, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// 1 to 12, or 13 for a name that is none.
int month_number(const char *name) {
  int number = 1;
  for (const char *month : months) {
    if (strcmp(month, name) == 0) return number;
    ++number;
  }
  return number;
}

}  // namespace

int zoel_print_time(char *dst) {
  const time_t now = time(nullptr);
  if (now == static_cast<time_t>(-1)) {
    perror("date: Error in determining the current calender time");
    return 0;
  }
  // The zone may have been set since the last time.
  tzset();
  std::array<char, 64> text{};
  if (ctime_r(&now, text.data()) == nullptr) return 0;
  text[strlen(text.data()) - 1] = '\0';
  // A day below 10 is padded with a blank, which would count as a field of its own.
  if (char *padding = strstr(text.data(), "  ")) padding[1] = '0';

  const auto words = static_cast<unsigned>(zol_countElementOf_(text.data(), ' '));
  std::array<char, 12> month{};
  std::array<char, 12> day{};
  std::array<char, 12> clock{};
  std::array<char, 12> year{};
  zol::copy_field(month, text.data(), 1, ' ');
  zol::copy_field(day, text.data(), words - 3, ' ');
  zol::copy_field(clock, text.data(), words - 2, ' ');
  zol::copy_field(year, text.data(), words - 1, ' ');
  snprintf(dst, 20, "%4s/%02d/%02d %s", year.data(), month_number(month.data()),
           static_cast<int8_t>(zol::to_int32(day.data())), clock.data());
  return 0;
}

unsigned long getSysUptime(void) {
  unsigned long seconds = 0;
  FILE *file = fopen("/proc/uptime", "re");
  // Without the file the time of day is the answer, unchanged: a wrong uptime that still grows.
  if (file == nullptr) return static_cast<unsigned long>(time(nullptr));
  if (fscanf(file, "%lu", &seconds) != 1) seconds = 0;
  fclose(file);
  return seconds;
}

int getTimeString(int32_t seconds, char *buffer, size_t size) {
  snprintf(buffer, size, "%" PRIu32 " Days %02d:%02d:%02d", static_cast<uint32_t>(seconds / 86400), seconds / 3600 % 24,
           seconds % 3600 / 60, seconds % 3600 % 60);
  return 0;
}

int msleep(int32_t milliseconds) {
  timespec left{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
  while (nanosleep(&left, &left) == -1 && errno == EINTR) {
  }
  return 1;
}

namespace zol {

int64_t monotonic_ms() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

uint32_t ticks_since(int64_t when) { return static_cast<uint32_t>(static_cast<uint64_t>(monotonic_ms() - when) / 10); }

}  // namespace zol
