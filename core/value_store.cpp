#include "core/value_store.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/arena.hpp"
#include "core/log.hpp"
#include "core/replaced_file.hpp"

// The file holds one "key=text" line per key; in the text a newline is written "\n" and a backslash "\\".

using namespace zol;

namespace {

constexpr size_t text_size = 256;

using Line = std::string_view;

const char *store_path() {
  const char *moved = getenv("ZOLARC_VALUE_STORE");
  return moved != nullptr ? moved : ZOL_VALUE_STORE;
}

/// Takes the first line, without its newline, which the last one may lack.
Line take_line(Line &rest) {
  const Line line(rest.data(), std::min(rest.find('\n'), rest.size()));
  rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  return line;
}

/// Whether `line` is the line of `key`: its escaped text stands behind the "=".
bool is_line_of(Line line, Line key) {
  return line.size() > key.size() && Line(line.data(), key.size()) == key && line[key.size()] == '=';
}

void unescape(Line from, std::span<char> text) {
  size_t length = 0;
  for (; !from.empty() && length + 1 < text.size(); from.remove_prefix(1)) {
    if (from[0] == '\\' && from.size() > 1) {
      from.remove_prefix(1);
      text[length++] = from[0] == 'n' ? '\n' : from[0];
    } else {
      text[length++] = from[0];
    }
  }
  text[length] = '\0';
}

/// Writes at `to`, and returns what follows.
char *append(char *to, Line text) {
  return text.empty() ? to : static_cast<char *>(memmove(to, text.data(), text.size())) + text.size();
}

char *append_escaped(char *to, const char *text) {
  for (; *text != '\0'; ++text) {
    if (*text == '\n' || *text == '\\') *to++ = '\\';
    *to++ = *text == '\n' ? 'n' : *text;
  }
  return to;
}

/// Memory that is given back at the end.
struct Memory : Arena {
  Memory() = default;
  Memory(const Memory &) = delete;
  Memory &operator=(const Memory &) = delete;
  ~Memory() { release(); }
};

bool is_key(const char *key) { return *key != '\0' && strlen(key) < 64 && strpbrk(key, "=\n") == nullptr; }

/// Replaces the text of `key` or adds it. False, and errno, when anything could not be read or written: a store that
/// has lost its other texts must not take the place of this one.
bool replace(const char *path, const char *key, const char *text) {
  // One that is not there yet begins empty.
  const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (file == -1) return false;
  close(file);
  const FileLock lock(path);
  if (!lock) return false;
  Memory memory;
  size_t size = 0;
  const size_t room_for_line = strlen(key) + 2 * strlen(text) + strlen("\n=\n");
  char *store = read_all(lock.descriptor(), memory, size, room_for_line);
  if (store == nullptr) return false;
  // The other lines move up, and the new one goes behind them.
  char *end = store;
  for (Line rest(store, size); !rest.empty();) {
    const bool is_last = rest.find('\n') == Line::npos;
    const Line line = take_line(rest);
    if (is_line_of(line, key)) continue;
    end = append(end, {line.data(), line.size() + (is_last ? 0 : 1)});
    if (is_last) end = append(end, "\n");
  }
  end = append(append_escaped(append(append(end, key), "="), text), "\n");
  return replace_file(path, {store, static_cast<size_t>(end - store)}, -1);
}

}  // namespace

int snmp_read2file(const char *key, char *buffer) {
  std::array<char, text_size> text{};
  zol::read_value(key, text);
  // Copied at its own length: a caller's buffer may be just large enough for its own texts.
  memcpy(buffer, text.data(), strlen(text.data()) + 1);
  return 0;
}

int snmp_write2file(const char *key, const char *text) {
  if (!is_key(key) || strlen(text) >= text_size) {
    zol::log_line("value store: a key or text that is too long was not stored");
    return -1;
  }
  const char *path = store_path();
  // Every GET of a stored text asks to store it.
  static constinit zol::Complaint unwritable;
  if (replace(path, key, text)) {
    unwritable.over();
    return 0;
  }
  unwritable.raise("value store %s: cannot store: %s", path, strerror(errno));
  return -1;
}

namespace zol {

void read_value(const char *key, std::span<char> text) {
  text[0] = '\0';
  const int file = open(store_path(), O_RDONLY | O_CLOEXEC);
  if (file == -1) return;
  Memory memory;
  size_t size = 0;
  const char *store = read_all(file, memory, size);
  close(file);
  for (Line rest(store, store == nullptr ? 0 : size); !rest.empty();) {
    Line line = take_line(rest);
    if (!is_line_of(line, key)) continue;
    line.remove_prefix(strlen(key) + 1);
    unescape(line, text);
    return;
  }
}

}  // namespace zol
