#include "wdog/clocks.hpp"

#include <cinttypes>
#include <cstdio>
#include <ctime>

namespace wdog {

namespace {

int64_t read_uptime() {
  FILE *file = fopen("/proc/uptime", "re");
  if (file == nullptr) return 0;
  int64_t seconds = 0;
  if (fscanf(file, "%" SCNd64, &seconds) != 1) seconds = 0;
  fclose(file);
  return seconds;
}

}  // namespace

Moment read_clocks() {
  timespec elapsed{};
  clock_gettime(CLOCK_MONOTONIC, &elapsed);
  return {time(nullptr), static_cast<int64_t>(elapsed.tv_sec) * 1000 + elapsed.tv_nsec / 1'000'000, read_uptime()};
}

}  // namespace wdog
