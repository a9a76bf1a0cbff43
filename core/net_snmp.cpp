#include "core/net_snmp.hpp"

#include <atomic>
#include <cstdarg>
#include <cstdio>

int32_t is_reset = 0;
int32_t is_apply_change = 0;

namespace zol {

bool agent_runs() { return std::atomic_ref(netsnmp_running).load(std::memory_order_relaxed) != 0; }

void request_restart() {
  std::atomic_ref(netsnmp_running).store(0, std::memory_order_relaxed);
  is_reset = 1;
}

void log_line(const char *format, ...) {
  // Composed first, so that lines of two threads never mix.
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  fprintf(stderr, "zolarc: %s\n", line);
}

}  // namespace zol
