#include "core/command/text.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/log.hpp"
#include "core/switches.hpp"

namespace zol {

namespace {

/// One conversion of a format, as far as commands need them.
struct Conversion {
  const char *begin;
  const char *end;
  /// The library's own text.
  bool own = false;
  bool has_precision_argument = false;
  int precision = -1;
  /// How many a number is: a long is as large as a size.
  int longs = 0;
  char letter = '\0';
};

/// The conversion that begins with the '%' at `text`.
Conversion read_conversion(const char *text) {
  Conversion conversion{text, text + 1};
  for (; *conversion.end != '\0'; ++conversion.end) {
    const char character = *conversion.end;
    if (character == '-') {
      conversion.own = true;
    } else if (character == '.') {
      conversion.precision = 0;
    } else if (character == '*') {
      conversion.has_precision_argument = true;
    } else if (character == 'l' || character == 'z') {
      ++conversion.longs;
    } else if (character >= '0' && character <= '9') {
      if (conversion.precision >= 0) conversion.precision = 10 * conversion.precision + (character - '0');
    } else if (strchr(" +#h", character) == nullptr) {
      conversion.letter = character;
      ++conversion.end;
      break;
    }
  }
  return conversion;
}

/// A character that no shell looks at, wherever it stands.
bool is_ordinary(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || (character != '\0' && strchr("_./:@=,+%-", character) != nullptr);
}

}  // namespace

CommandText::~CommandText() {
  if (text_ != buffer_.data()) free(text_);
}

void CommandText::clear() {
  length_ = 0;
  text_[0] = '\0';
  quoting_ = Quoting::bare;
  after_backslash_ = false;
}

bool CommandText::reserve(size_t more) {
  if (length_ + more < capacity_) return true;
  const size_t capacity = 2 * (length_ + more) + 1;
  const bool in_buffer = text_ == buffer_.data();
  auto *larger = static_cast<char *>(realloc(in_buffer ? nullptr : text_, capacity));
  if (larger == nullptr) {
    log_line("out of memory: a command was not run");
    complete_ = false;
    return false;
  }
  if (in_buffer) memcpy(larger, buffer_.data(), length_);
  text_ = larger;
  capacity_ = capacity;
  return true;
}

void CommandText::add(const char *text, size_t length) {
  if (!complete_ || !reserve(length)) return;
  memcpy(text_ + length_, text, length);
  length_ += length;
  text_[length_] = '\0';
}

/// Text of the format itself, which decides what quoting the next insertion stands in.
void CommandText::add_literal(const char *text, size_t length) {
  add(text, length);
  for (size_t i = 0; i < length; ++i) {
    if (after_backslash_) {
      after_backslash_ = false;
    } else if (text[i] == '\\') {
      after_backslash_ = quoting_ != Quoting::in_single;
    } else if (text[i] == '\'' && quoting_ != Quoting::in_double) {
      quoting_ = quoting_ == Quoting::bare ? Quoting::in_single : Quoting::bare;
    } else if (text[i] == '"' && quoting_ != Quoting::in_single) {
      quoting_ = quoting_ == Quoting::bare ? Quoting::in_double : Quoting::bare;
    }
  }
}

void CommandText::add_guarded(const char *text, size_t length) {
  if (for_ == For::words) {
    add_hidden(text, length);
  } else {
    add_escaped(text, length);
  }
}

void CommandText::add_hidden(const char *text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (strchr(hidden_blanks, text[i]) != nullptr) {
      log_line("a command was not run: control characters in a text");
      complete_ = false;
      return;
    }
    const char *blank = strchr(blanks, text[i]);
    add(blank != nullptr ? &hidden_blanks[blank - blanks] : text + i, 1);
  }
}

void CommandText::add_escaped(const char *text, size_t length) {
  const bool quoted_as_a_whole = quoting_ == Quoting::bare && !std::ranges::all_of(text, text + length, is_ordinary);
  const bool in_single = quoting_ == Quoting::in_single || quoted_as_a_whole;
  if (quoted_as_a_whole) add("'", 1);
  for (size_t i = 0; i < length; ++i) {
    if (in_single && text[i] == '\'') {
      add("'\\''", 4);
    } else {
      if (quoting_ == Quoting::in_double && strchr("\"$`\\", text[i]) != nullptr) add("\\", 1);
      add(text + i, 1);
    }
  }
  if (quoted_as_a_whole) add("'", 1);
}

void CommandText::append(const char *format, va_list arguments) {
  if (guard_is_on()) {
    append_guarded(format, arguments);
  } else {
    append_as_it_is(format, arguments);
  }
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

void CommandText::append_as_it_is(const char *format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const size_t room = capacity_ - length_;
  const int length = complete_ ? vsnprintf(text_ + length_, room, format, arguments) : -1;
  if (length >= 0 && reserve(static_cast<size_t>(length))) {
    if (static_cast<size_t>(length) >= room) vsnprintf(text_ + length_, capacity_ - length_, format, again);
    length_ += static_cast<size_t>(length);
  } else {
    complete_ = false;
  }
  va_end(again);
}

void CommandText::append_guarded(const char *format, va_list arguments) {
  while (complete_ && *format != '\0') {
    const size_t literal = strcspn(format, "%");
    add_literal(format, literal);
    format += literal;
    if (*format == '\0') return;
    const Conversion conversion = read_conversion(format);
    format = conversion.end;
    if (conversion.letter == '%') {
      add_literal("%", 1);
      continue;
    }
    const int most = conversion.has_precision_argument ? va_arg(arguments, int) : conversion.precision;
    char plain[16] = "";
    char written[64] = "";
    const auto length = static_cast<size_t>(conversion.end - conversion.begin);
    memcpy(plain, conversion.begin, std::min(sizeof plain - 1, length));
    const char *text = written;
    if (conversion.letter == 's') {
      text = va_arg(arguments, const char *);
      if (text == nullptr) text = "(null)";
    } else if (conversion.letter == 'c') {
      written[0] = static_cast<char>(va_arg(arguments, int));
    } else if (conversion.letter == '\0' || strchr("diuoxX", conversion.letter) == nullptr || length >= sizeof plain ||
               conversion.longs > 1) {
      log_line("a command was not run: %s cannot stand in it", plain);
      complete_ = false;
    } else if (conversion.longs == 1) {  // NOLINT(bugprone-branch-clone): the arguments' types differ
      snprintf(written, sizeof written, plain, va_arg(arguments, long));
    } else {
      snprintf(written, sizeof written, plain, va_arg(arguments, int));
    }
    const bool from_outside = conversion.letter == 'c' || conversion.letter == 's';
    const size_t shown = strnlen(text, from_outside ? static_cast<size_t>(most) : sizeof written);
    if (from_outside && !conversion.own) {
      add_guarded(text, shown);
    } else {
      add(text, shown);
    }
  }
}

#pragma GCC diagnostic pop

}  // namespace zol
