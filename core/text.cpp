#include "core/text.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

struct Field {
  const char *begin;
  size_t length;
};

/// Field `index` of `source`, or a null `begin`.
Field find_field(const char *source, unsigned index, char separator) {
  const char separators[] = {separator, '\0'};
  const char *begin = source + strspn(source, separators);
  while (*begin != '\0') {
    const size_t length = strcspn(begin, separators);
    if (index == 0) return {begin, length};
    --index;
    begin += length;
    begin += strspn(begin, separators);
  }
  return {nullptr, 0};
}

bool is_digit(char character) { return isdigit(static_cast<unsigned char>(character)) != 0; }

const char *skip_blanks(const char *text) {
  while (isspace(static_cast<unsigned char>(*text)) != 0) ++text;
  return text;
}

}  // namespace

int zoel_getElementOf_(char *dst, const char *src, unsigned short index, char delim) {
  const Field field = find_field(src, index, delim);
  if (field.begin != nullptr) {
    // The target may be the source itself: the field then moves to its front.
    memmove(dst, field.begin, field.length);
    dst[field.length] = '\0';
  }
  return 0;
}

int zol_getElementOf_(char *dst, const char *src, unsigned short index, char delim) {
  return zoel_getElementOf_(dst, src, index, delim);
}

int zol_countElementOf_(const char *src, char delim) {
  int count = 0;
  for (Field field = find_field(src, 0, delim); field.begin != nullptr;
       field = find_field(field.begin + field.length, 0, delim)) {
    ++count;
  }
  return count;
}

void zol_replace_a_char(char *text, char from, char to) {
  for (; *text != '\0'; ++text) {
    if (*text == from) *text = to;
  }
}

char *zol_strtoupper(char *text) {
  for (char *character = text; *character != '\0'; ++character) {
    *character = static_cast<char>(toupper(static_cast<unsigned char>(*character)));
  }
  return text;
}

namespace zol {

void copy_text(std::span<char> target, const char *source) {
  const size_t length = std::min(strlen(source), target.size() - 1);
  memmove(target.data(), source, length);
  target[length] = '\0';
}

bool copy_field(std::span<char> target, const char *source, unsigned index, char separator) {
  const Field field = find_field(source, index, separator);
  if (field.begin == nullptr) return false;
  const size_t length = std::min(field.length, target.size() - 1);
  memmove(target.data(), field.begin, length);
  target[length] = '\0';
  return true;
}

void preset_text(char *target, size_t limit, const char *value) {
  const size_t length = strlen(value);
  if (length < limit) {
    memcpy(target, value, length + 1);
    return;
  }
  memcpy(target, value, limit - 3);
  memcpy(target + limit - 3, "...", sizeof "...");
}

int32_t to_int32(const char *text) { return scan_int32(text).value_or(0); }

std::optional<int32_t> scan_int32(const char *&cursor) {
  char *end = nullptr;
  const long long number = strtoll(cursor, &end, 10);
  if (end == cursor) return std::nullopt;
  cursor = end;
  return static_cast<int32_t>(static_cast<uint32_t>(number));
}

std::optional<int32_t> scan_second_number(const char *text, const char *label, const char *blanks) {
  if (!scan_int32(text)) return std::nullopt;
  text += strspn(text, blanks);
  const size_t length = strlen(label);
  if (strncmp(text, label, length) != 0) return std::nullopt;
  text += length;
  return scan_int32(text);
}

const char *skip_words(const char *text, int count) {
  for (; count > 0; --count) {
    text = skip_blanks(text);
    text += strcspn(text, " \t\n\v\f\r");
  }
  return text;
}

std::optional<uint64_t> scan_count(const char *&cursor) {
  if (!is_digit(*cursor)) return std::nullopt;
  uint64_t number = 0;
  for (; is_digit(*cursor); ++cursor) {
    const auto digit = static_cast<uint64_t>(*cursor - '0');
    number = number > (UINT64_MAX - digit) / 10 ? UINT64_MAX : number * 10 + digit;
  }
  return number;
}

std::optional<uint32_t> scan_thousandths(const char *cursor) {
  cursor = skip_blanks(cursor);
  const auto whole = scan_count(cursor);
  if (!whole) return std::nullopt;
  uint64_t value = std::min<uint64_t>(*whole, UINT32_MAX) * 1000;
  if (*cursor == '.') {
    for (uint64_t unit = 100; is_digit(*++cursor) && unit > 0; unit /= 10) {
      value += unit * static_cast<uint64_t>(*cursor - '0');
    }
  }
  return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

bool in_word(char character) { return isalnum(static_cast<unsigned char>(character)) != 0 || character == '_'; }

const char *behind_word(const char *text, const char *label) {
  for (const char *found = strstr(text, label); found != nullptr; found = strstr(found + 1, label)) {
    if (found == text || !in_word(found[-1])) return found + strlen(label);
  }
  return nullptr;
}

bool scan_word(std::span<char> target, const char *text) {
  const char *begin = skip_blanks(text);
  size_t length = 0;
  while (begin[length] != '\0' && isspace(static_cast<unsigned char>(begin[length])) == 0) ++length;
  if (length == 0) return false;
  length = std::min(length, target.size() - 1);
  memmove(target.data(), begin, length);
  target[length] = '\0';
  return true;
}

void fill_field(std::span<char> field, const char *source) {
  const size_t length = strnlen(source, field.size());
  memcpy(field.data(), source, length);
  memset(field.data() + length, '\0', field.size() - length);
}

const char *text_after(const char *line, const char *marker, size_t gap) {
  const char *found = strstr(line, marker);
  if (found == nullptr) return nullptr;
  found += strlen(marker);
  return found + strnlen(found, gap);
}

}  // namespace zol
