#pragma once

// Runs commands whose output nobody reads here.

#include <sys/types.h>

#include "core/command/text.hpp"
#include "core/export.hpp"

extern "C" {

/// The four runners format a command of at most 255 characters and 32 words. A command that does not fit is not run and
/// not cut: the runner answers as for a failed start and writes one line to the log. A command of only blanks starts
/// nothing and counts as run. None of them reports the command's own exit status. Those that wait do so for 20 seconds
/// at most; the command is then left to finish, and the next one first waits for it.

/// Writes the command line to standard error, runs it without a shell (split at white space, no quoting) and waits.
/// @return 0, or -1 when no process could be started
ZOL_EXPORT int run_script(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// Runs the command through the shell, which bounds no number of words, and waits. @return 0 always
ZOL_EXPORT int run_system(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// Runs the command without a shell, detached from the agent, and does not wait for it.
/// @return 0, or -1 when no process could be started
ZOL_EXPORT int run_script_background(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// As `run_script_background`. Not to be called from two threads at once: the pid passes through one static slot.
/// @return the detached process's pid, 0 when no pipe could be made, or -1 when no process could be started
ZOL_EXPORT int run_script_background_return_pid(const char *format, ...) __attribute__((format(printf, 1, 2)));
}

extern "C" {
/// The process group of the command that a SET no longer waits for and that has been left to finish; 0 without one. A
/// hosting program that ends its children spares it.
ZOL_EXPORT pid_t zol_unfinished_command(void);
}

namespace zol {

/// Runs one command line of any length, through the shell where it needs one, and waits as the runners do. What the
/// command answers is not looked at.
[[gnu::format(printf, 1, 2)]] void shell(const char *format, ...);

/// The same for a command that takes its time: waits for its end.
[[gnu::format(printf, 1, 2)]] void shell_patiently(const char *format, ...);

/// Runs the first 255 characters of `command` without a shell, split into words, and waits.
/// @return 0, or -1 when no process could be started
int run_words(const char *command);

/// A command line put together piece by piece, of any length.
class CommandLine {
 public:
  [[gnu::format(printf, 2, 3)]] void append(const char *format, ...);
  void clear() { text_.clear(); }
  [[nodiscard]] bool empty() const { return text_.empty(); }
  [[nodiscard]] const char *text() const { return text_.text(); }

  /// Runs the line as `shell` does; a line that memory did not suffice for is not run.
  void run() const;

 private:
  CommandText text_;
};

}  // namespace zol
