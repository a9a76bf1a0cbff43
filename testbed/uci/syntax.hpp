#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "uci/model.hpp"

namespace uci {

/// Splits the text of a configuration file into statements, each a list of words.
///
/// Words are separated by blanks and may be quoted in part: nothing is special between single quotes, a backslash takes
/// the next character as it is between double quotes and outside quotes. Quoted text may span lines. A backslash at the
/// end of a line continues it. "#" starts a comment, ";" ends a statement.
class StatementReader {
 public:
  explicit StatementReader(std::string_view text) : text_(text) {}

  /// The next statement; an empty list at the end. @throws Error for an unterminated quotation
  std::vector<std::string> next();
  /// The failure of the statement that was read last.
  [[nodiscard]] Error error(std::string_view reason) const;

 private:
  [[nodiscard]] bool at_end() const { return position_ == text_.size(); }
  char take();
  void skip_comment();
  std::string take_word();
  void take_quoted(char quote, std::string &word);

  std::string_view text_;
  size_t position_ = 0;
  size_t line_start_ = 0;
  unsigned line_ = 1;
};

/// Reads a configuration file's text into `package`. @throws Error naming the line of the first fault
void parse(std::string_view text, Package &package);

/// The text of a configuration file that reads back as `package`.
std::string format(const Package &package);

/// `text` in single quotes, such that it reads back as one word.
std::string quoted(std::string_view text);

}  // namespace uci
