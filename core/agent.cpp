#include "core/agent.hpp"

#include <cstdarg>
#include <cstdio>

int32_t is_reset = 0;
int32_t is_apply_change = 0;

namespace zol {

void request_restart() {
  netsnmp_running = 0;
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
