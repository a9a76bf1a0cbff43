#pragma once

// How a format becomes a command text: the only place where one is put together.

#include <array>
#include <cstdarg>
#include <cstddef>

namespace zol {

/// A command text, put together piece by piece, of any length. Formats are those of printf. With the guard on those of
/// an int, a long, %c and %s, where a text is not padded; with any other the text is not complete. In a format
///
///   %s    is a text from outside: a manager's, a file's, a program's. With the guard on it is escaped for the quoting
///         that it stands in (bare, "...", '...'), so that it reaches the program as it is, whatever it holds;
///   %c    is one character of such a text;
///   %-s   is the library's own: the name of a section, a piece of a command. It is never changed.
class CommandText {
 public:
  /// What takes the text apart: a shell, or the runners, which split it at white space and know no quotes. For them a
  /// guarded text keeps its white space as `hidden_blank`s, so that it stays one word.
  enum class For : unsigned char { shell, words };

  explicit CommandText(For whom = For::shell) : for_(whom) {}
  CommandText(const CommandText &) = delete;
  CommandText &operator=(const CommandText &) = delete;
  ~CommandText();

  [[gnu::format(printf, 2, 0)]] void append(const char *format, va_list arguments);
  void clear();

  [[nodiscard]] bool empty() const { return length_ == 0; }
  [[nodiscard]] size_t length() const { return length_; }
  [[nodiscard]] const char *text() const { return text_; }
  /// Whether memory has sufficed for all of it.
  [[nodiscard]] bool complete() const { return complete_; }

 private:
  enum class Quoting : unsigned char { bare, in_double, in_single };

  void add(const char *text, size_t length);
  [[gnu::format(printf, 2, 0)]] void append_as_it_is(const char *format, va_list arguments);
  [[gnu::format(printf, 2, 0)]] void append_guarded(const char *format, va_list arguments);
  void add_literal(const char *text, size_t length);
  void add_guarded(const char *text, size_t length);
  void add_hidden(const char *text, size_t length);
  void add_escaped(const char *text, size_t length);
  bool reserve(size_t more);

  For for_;
  std::array<char, 256> buffer_{};
  char *text_ = buffer_.data();
  size_t length_ = 0;
  size_t capacity_ = buffer_.size();
  Quoting quoting_ = Quoting::bare;
  bool after_backslash_ = false;
  bool complete_ = true;
};

/// White space as the runners see it, and what stands for it in a text that must stay one word: control characters,
/// which no text has that the guard lets through.
constexpr const char *blanks = " \t\n\v\f\r";
constexpr const char *hidden_blanks = "\x01\x02\x03\x04\x05\x06";

}  // namespace zol
