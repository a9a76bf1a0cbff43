#include "wdog/uci.hpp"

#include <cstdio>
#include <cstring>

#include "wdog/programs.hpp"

namespace wdog {

namespace {

/// Looks through the lines of `output` for one with this beginning of its option's last word. @return what is behind it
const char *find_line(const char *output, const char *last_word, size_t &length) {
  const size_t word = strlen(last_word);
  for (const char *line = output; *line != '\0';) {
    const size_t size = strcspn(line, "\n");
    // An anonymous section may be printed by its own name. The option is what stands behind the last dot.
    const size_t key = strcspn(line, "=\n");
    if (key < size && key > word && line[key - word - 1] == '.' && strncmp(line + key - word, last_word, word) == 0) {
      length = size - key - 1;
      return line + key + 1;
    }
    line += size + (line[size] == '\n' ? 1 : 0);
  }
  return nullptr;
}

bool quotes_printed = false;

/// Later releases of uci put values between quotes.
void set_unquoted(Text &value, const char *text, size_t length) {
  quotes_printed = length >= 2 && text[0] == '\'' && text[length - 1] == '\'';
  if (!quotes_printed) {
    value.set(text, length);
    return;
  }
  constexpr const char *escaped = "'\\''";
  auto *plain = static_cast<char *>(malloc(length));
  size_t size = 0;
  for (size_t at = 1; plain != nullptr && at + 1 < length; ++size) {
    const bool is_quote = at + strlen(escaped) < length && strncmp(text + at, escaped, strlen(escaped)) == 0;
    plain[size] = text[at];
    at += is_quote ? strlen(escaped) : 1;
  }
  value.set(plain == nullptr ? "" : plain, size);
  free(plain);
}

}  // namespace

bool read_option(const char *option, Text &value) {
  const char *const words[] = {"uci", "show", option, nullptr};
  Text output;
  size_t length = 0;
  const char *found = run(words, &output) == 0 ? find_line(output.get(), strrchr(option, '.') + 1, length) : nullptr;
  if (found == nullptr) return false;
  set_unquoted(value, found, length);
  return true;
}

bool prints_quotes() { return quotes_printed; }

int count_radios() {
  constexpr const char *words[] = {"uci", "show", "wireless", nullptr};
  Text output;
  if (run(words, &output) != 0) return 0;
  int count = 0;
  char line[64];
  do {
    snprintf(line, sizeof line, "wireless.wifi%d=wifi-device", count);
    const char *found = strstr(output.get(), line);
    if (found == nullptr || (found != output.get() && found[-1] != '\n')) return count;
  } while (++count < 100);
  return count;
}

bool write_option(const char *option, const char *value) {
  const auto package = static_cast<int>(strcspn(option, "."));
  const size_t size = strlen(option) + strlen(value) + sizeof "=";
  auto *assignment = static_cast<char *>(malloc(size));
  if (assignment == nullptr) return false;
  snprintf(assignment, size, "%s=%s", option, value);
  const char *const set[] = {"uci", "set", assignment, nullptr};
  char name[32];
  snprintf(name, sizeof name, "%.*s", package, option);
  const char *const commit[] = {"uci", "commit", name, nullptr};
  const bool written = run(set, nullptr) == 0 && run(commit, nullptr) == 0;
  free(assignment);
  return written;
}

}  // namespace wdog
