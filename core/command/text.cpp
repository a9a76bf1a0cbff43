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
  bool is_size = false;
  char letter = '\0';
};

/// The conversion that begins with the '%' at `text`.
Conversion read_conversion(const char *text) {
  Conversion conversion{text, text + 1};
  for (; *conversion.end != '\0'; ++conversion.end) {
    const char character = *conversion.end;
    if (character == '-') {
      conversion.own = true;
    } else if (character == '*') {
      conversion.has_precision_argument = true;
    } else if (character == 'z') {
      conversion.is_size = true;
    } else if (strchr("0123456789.", character) == nullptr) {
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
  const bool quoted_as_a_whole = quoting_ == Quoting::bare && !std::all_of(text, text + length, is_ordinary);
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
  while (complete_ && *format != '\0') {
    const size_t literal = strcspn(format, "%");
    add_literal(format, literal);
    format += literal;
    if (*format == '\0') return;
    const Conversion conversion = read_conversion(format);
    format = conversion.end;
    const int most = conversion.has_precision_argument ? va_arg(arguments, int) : -1;
    if (conversion.letter == 's') {
      const char *text = va_arg(arguments, const char *);
      const size_t length = most < 0 ? strlen(text) : strnlen(text, static_cast<size_t>(most));
      if (conversion.own || !guard_is_on()) {
        add(text, length);
      } else {
        add_guarded(text, length);
      }
      continue;
    }
    if (conversion.letter == '%') {
      add_literal("%", 1);
      continue;
    }
    char plain[16] = "";
    char number[32] = "";
    memcpy(plain, conversion.begin, std::min<size_t>(sizeof plain - 1, static_cast<size_t>(format - conversion.begin)));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (conversion.is_size) {
      snprintf(number, sizeof number, plain, va_arg(arguments, size_t));
    } else {
      snprintf(number, sizeof number, plain, va_arg(arguments, int));
    }
#pragma GCC diagnostic pop
    add(number, strlen(number));
  }
}

}  // namespace zol
