#pragma once

// What a command prints, line after line.

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "core/command/asked_option.hpp"
#include "core/command/deadline.hpp"
#include "core/command/dialect.hpp"
#include "core/command/kept.hpp"
#include "core/command/process.hpp"
#include "core/command/text.hpp"

namespace zol {

/// How long a reader waits for its command, and how much it reads of it, where that is not the usual.
struct Limits {
  /// Seconds; 0 waits for ever. -1 is what the agent's configuration says.
  int32_t seconds = -1;
  /// Of more output a command is ended, and what was read counts.
  size_t bytes = 262144;
};

/// Reads what a command prints, line by line: the part of `CommandOutput` that does not depend on its line length.
/// What a `uci show` prints in quotes is read without them (dialect.hpp), and lines that are no answer to a question
/// about one option are passed over (asked_option.hpp).
class LineReader {
 public:
  LineReader(const LineReader &) = delete;
  LineReader &operator=(const LineReader &) = delete;

  /// Whether the command could be started, or its output was at hand.
  explicit operator bool() const { return started_; }

  /// Whether the command missed its deadline, or was not started because others have: nothing of it counts.
  [[nodiscard]] bool late() const { return late_; }

  /// From now on no line is passed over.
  void keep_other_options() { asked_ = AskedOption(); }

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

  /// Whether the line last read ended in a newline: a longer one's rest is the next line.
  [[nodiscard]] bool is_whole() const { return is_whole_; }

  /// How long the line last read was before its last character was dropped.
  [[nodiscard]] size_t length_as_read() const { return length_as_read_; }

  /// Ends the reading. @return what the command has answered: its exit status; -1 when it was ended by a signal, was
  /// late, or has not ended
  int finish();

 protected:
  LineReader(char *line, size_t size) : line_(line), size_(size) {}
  ~LineReader() { finish(); }
  [[gnu::format(printf, 3, 0)]] void start(const Limits &limits, const char *format, va_list arguments);

 private:
  bool read();
  bool read_piece();
  void run(const Limits &limits);
  void reuse_or_run(const Limits &limits);
  bool read_whole();
  void hand_out_whole();
  void run_and_keep(const Limits &limits, const kept::Sources &sources);
  bool has_more();
  bool refill();
  bool read_block();
  void give_up();
  void end();

  char *line_;
  size_t size_;
  size_t length_as_read_ = 0;
  bool is_whole_ = false;
  bool started_ = false;
  bool late_ = false;
  int status_ = -1;

  CommandText command_;
  Unquoter unquoter_;
  AskedOption asked_;
  /// Whether a line has been begun, and whether it is passed over.
  bool in_line_ = false;
  bool passes_over_ = false;
  process::Child child_;
  Deadline deadline_{0};
  int64_t started_at_ = 0;
  int64_t deadline_ms_ = 0;
  size_t left_ = 0;
  /// What was read ahead, as a whole or block by block, and what of it was not handed out yet.
  kept::Output whole_;
  std::array<char, 1024> block_;
  const char *cursor_ = nullptr;
  const char *end_ = nullptr;
  const char *rest_ = nullptr;
  const char *rest_end_ = nullptr;
};

/// A running command and the line of its output that is being looked at. Starts the command when it is made and takes
/// it back when it goes out of scope. The rest of a line of `Size` characters or more is the next line.
template <size_t Size = 128>
class CommandOutput : public LineReader {
 public:
  [[gnu::format(printf, 2, 3)]] explicit CommandOutput(const char *format, ...) : LineReader(buffer_, Size) {
    va_list arguments;
    va_start(arguments, format);
    start({}, format, arguments);
    va_end(arguments);
  }
  [[gnu::format(printf, 3, 4)]] CommandOutput(const Limits &limits, const char *format, ...)
      : LineReader(buffer_, Size) {
    va_list arguments;
    va_start(arguments, format);
    start(limits, format, arguments);
    va_end(arguments);
  }

 private:
  char buffer_[Size];
};

}  // namespace zol
