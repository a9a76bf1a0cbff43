#include "core/log.hpp"

#include <pthread.h>

#include <array>
#include <cstdarg>
#include <cstdio>

#include "core/lock.hpp"
#include "core/net_snmp.hpp"

namespace {

struct Line {
  int priority;
  std::array<char, 512> text;
};

void write_line(const Line &line) { snmp_log(line.priority, "zolarc: %s\n", line.text.data()); }

// Lines on their way to the agent's thread.

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
/// Room for what the collections of a second complain of; what does not fit is counted.
std::array<Line, 8> waiting_lines;
size_t waiting = 0;
size_t lost = 0;
std::atomic<bool> has_agent_thread = false;
pthread_t agent_thread;

void keep(const Line &line) {
  const zol::Lock lock(guard);
  if (waiting == waiting_lines.size()) {
    ++lost;
    return;
  }
  waiting_lines[waiting++] = line;
}

[[gnu::format(printf, 2, 0)]] void log(int priority, const char *format, va_list arguments) {
  // Composed first, so that lines of two threads never mix.
  Line line;
  line.priority = priority;
  vsnprintf(line.text.data(), line.text.size(), format, arguments);
  if (has_agent_thread && pthread_equal(pthread_self(), agent_thread) == 0) {
    keep(line);
  } else {
    write_line(line);
  }
}

}  // namespace

namespace zol {

void log_line(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(LOG_ERR, format, arguments);
  va_end(arguments);
}

void log_line(int priority, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(priority, format, arguments);
  va_end(arguments);
}

void log_from_this_thread() {
  agent_thread = pthread_self();
  has_agent_thread = true;
}

void log_waiting_lines() {
  const Lock lock(guard);
  for (size_t i = 0; i < waiting; ++i) write_line(waiting_lines[i]);
  if (lost > 0) snmp_log(LOG_WARNING, "zolarc: %zu more lines of other threads are lost\n", lost);
  waiting = lost = 0;
}

bool Complaint::raise(const char *format, ...) {
  if (raised_.exchange(true)) return false;
  va_list arguments;
  va_start(arguments, format);
  log(priority_, format, arguments);
  va_end(arguments);
  return true;
}

}  // namespace zol
