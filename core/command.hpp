#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "core/export.hpp"

// The only place that starts a process.

extern "C" {

/// The four runners format a command of at most 255 characters and 32 words. A command that does not fit is not run and
/// not cut: the runner answers as for a failed start and writes one line to standard error. A command of only blanks
/// starts nothing and counts as run. None of them reports the command's own exit status.

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

namespace zol {

/// Runs one command line of any length through the shell and waits. What the command answers is not looked at.
[[gnu::format(printf, 1, 2)]] void shell(const char *format, ...);

/// Runs the first 255 characters of `command` without a shell, split into words, and waits.
/// @return 0, or -1 when no process could be started
int run_words(const char *command);

/// A command line put together piece by piece, of any length.
class CommandLine {
 public:
  CommandLine() = default;
  CommandLine(const CommandLine &) = delete;
  CommandLine &operator=(const CommandLine &) = delete;
  ~CommandLine();

  [[gnu::format(printf, 2, 3)]] void append(const char *format, ...);
  void clear() { length_ = 0; }
  [[nodiscard]] bool empty() const { return length_ == 0; }
  [[nodiscard]] const char *text() const { return length_ == 0 ? "" : text_; }

  /// Runs the line through the shell and waits; a line that memory did not suffice for is not run.
  void run() const;

 private:
  char *text_ = nullptr;
  size_t length_ = 0;
  size_t capacity_ = 0;
  bool complete_ = true;
};

/// Reads what a command prints, line by line: the part of `CommandOutput` that does not depend on its line length.
class LineReader {
 public:
  LineReader(const LineReader &) = delete;
  LineReader &operator=(const LineReader &) = delete;

  /// Whether the command could be started.
  explicit operator bool() const { return stream_ != nullptr; }

  /// Reads the next line and drops its last character; false at the end of the output.
  bool next();

  /// Reads the next line and drops its newline only: a line that was too long for the buffer keeps its last character.
  bool next_without_newline();

  /// The next line that was at least `shortest` characters long as read, its newline included; false at the end of the
  /// output or at a shorter line, which ends the reading.
  bool next_of_at_least(size_t shortest);

  /// Reads on until a line holds `marker`; where the marker begins in that line, or null when no line holds it.
  const char *find(const char *marker);

  /// The line last read, without its last character.
  [[nodiscard]] const char *line() const { return line_; }

  /// How long the line last read was before its last character was dropped.
  [[nodiscard]] size_t length_as_read() const { return length_as_read_; }

 protected:
  LineReader(char *line, size_t size) : line_(line), size_(size) {}
  ~LineReader() { close(); }
  [[gnu::format(printf, 2, 0)]] void start(const char *format, va_list arguments);

 private:
  bool read();
  void close();

  FILE *stream_ = nullptr;
  char *line_;
  size_t size_;
  size_t length_as_read_ = 0;
};

/// A running command and the line of its output that is being looked at. Starts the command through the shell when it
/// is made and takes it back when it goes out of scope. The rest of a line of `Size` characters or more is the next
/// line.
template <size_t Size = 128>
class CommandOutput : public LineReader {
 public:
  [[gnu::format(printf, 2, 3)]] explicit CommandOutput(const char *format, ...) : LineReader(buffer_, Size) {
    va_list arguments;
    va_start(arguments, format);
    start(format, arguments);
    va_end(arguments);
  }

 private:
  char buffer_[Size];
};

}  // namespace zol
