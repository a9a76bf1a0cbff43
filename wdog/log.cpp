#include "wdog/log.hpp"

#include <syslog.h>

#include <array>
#include <cstdio>

#include "core/clock.hpp"

namespace wdog {

namespace {

bool is_in_syslog = false;

}  // namespace

bool is_logging_to_syslog() { return is_in_syslog; }

void log_to_syslog() {
  openlog("wdog", LOG_PID, LOG_DAEMON);
  is_in_syslog = true;
}

void log_reboot(const char *reason) {
  std::array<char, 20> now{};
  zoel_print_time(now.data());
  std::array<char, 320> line;
  snprintf(line.data(), line.size(), "[%s] wdog: reboot, %s", now.data(), reason);
  syslog(LOG_WARNING, "%s", line.data());
  FILE *file = fopen("/var/snmp_log", "ae");
  if (file == nullptr) return;
  fprintf(file, "%s\n", line.data());
  fclose(file);
}

}  // namespace wdog
