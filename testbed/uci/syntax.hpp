#pragma once

#include <string>
#include <string_view>

#include "uci/model.hpp"

namespace uci {

/// Reads a configuration file line by line, and the words of each line.
///
/// Words are separated by blanks and may be quoted in part: nothing is special between single quotes, a backslash takes
/// the next character as it is between double quotes and outside quotes. A backslash at the end of a line continues it.
/// "#" starts a comment, ";" ends a statement. In the newer command quoted text may span lines.
///
/// The words are put together in place, in a buffer that grows as the command's own does: where a fault is reported,
/// and what little is made of some, follows from that.
class LineWords {
 public:
  explicit LineWords(std::string_view text) : text_(text), buffer_(capacity_, '\0') {}

  [[nodiscard]] bool at_end() const { return text_.empty(); }
  void next_line();
  /// The next line of a file of changes, as one word.
  std::string next_change();
  /// The statement's first word; empty at the line's end or at a comment. Then come its arguments.
  std::string next_command();
  /// Moves behind the command's word. @throws Error when there is nothing to move to
  void begin_arguments(const char *missing);
  /// @throws Error when a word that is required is missing, or is no name and must be one
  std::string next_word(bool required, bool name);
  void expect_end();

  /// The failure of the line that was read last; it stands where the last word was begun, or where reading has got to.
  [[nodiscard]] Error error(const std::string &reason) const { return error(reason, position_); }
  [[nodiscard]] Error error_at_word(const std::string &reason) const {
    return error(reason, newer ? position_ : word_);
  }

 private:
  [[nodiscard]] Error error(const std::string &reason, size_t position) const;
  char &at(size_t position);
  char &current() { return at(position_); }
  void read(size_t offset);
  void skip_blanks();
  bool take_backslash();
  void take(size_t &target);
  void take_quoted(char quote, size_t &target);
  void take_word(size_t target);

  std::string_view text_;
  size_t capacity_ = 32;
  std::string buffer_;
  size_t filled_ = 0;
  size_t position_ = 0;
  size_t word_ = 0;
  size_t command_end_ = 0;
  unsigned line_ = 0;
};

/// Reads a configuration file's text into `package`. @throws Error naming the line of the first fault
void parse(std::string_view text, Package &package);

/// The text of a configuration file that reads back as `package`.
std::string format(const Package &package);

/// `text` in single quotes, such that it reads back as one word.
std::string quoted(std::string_view text);

}  // namespace uci
