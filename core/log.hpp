#pragma once

#include <syslog.h>

#include <atomic>

// What the operator is told. A line goes where the agent's own lines go: standard error, a file, syslog.

namespace zol {

/// One line, without a newline, as an error. A line of another thread than the agent's waits for it while sampling
/// runs.
[[gnu::format(printf, 1, 2)]] void log_line(const char *format, ...);

/// The same with a priority of syslog's: LOG_ERR, LOG_WARNING, LOG_NOTICE, ...
[[gnu::format(printf, 2, 3)]] void log_line(int priority, const char *format, ...);

/// The calling thread is the agent's from now on: lines of other threads wait, since the agent's logging is not made
/// for several threads.
void log_from_this_thread();

/// Logs what waits; called by the agent's thread.
void log_waiting_lines();

/// Something that goes wrong again and again, and that an operator wants to read once. For any thread.
class Complaint {
 public:
  constexpr explicit Complaint(int priority = LOG_ERR) : priority_(priority) {}

  /// Logs the line unless there was one since it was last over. @return whether it was logged
  [[gnu::format(printf, 2, 3)]] bool raise(const char *format, ...);

  /// It works again: the next time is worth a line. @return whether there was anything to complain of
  bool over() { return raised_.exchange(false); }

 private:
  std::atomic<bool> raised_ = false;
  int priority_;
};

}  // namespace zol
