#include "core/value_store.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/log.hpp"
#include "core/text.hpp"

// The file holds one "key=text" line per key; in the text a newline is written "\n" and a backslash "\\".

namespace {

constexpr size_t text_size = 256;
constexpr size_t line_size = 64 + 2 * text_size;

using Line = std::array<char, line_size>;
using Path = std::array<char, PATH_MAX>;

const char *store_path() {
  const char *moved = getenv("ZOLARC_VALUE_STORE");
  return moved != nullptr ? moved : ZOL_VALUE_STORE;
}

/// Reads a line without its newline, which the last one may lack; a line that is too long for any text is cut.
bool read_line(FILE *file, Line &line) {
  size_t length = 0;
  int character = fgetc(file);
  if (character == EOF) return false;
  for (; character != '\n' && character != EOF; character = fgetc(file)) {
    if (length + 1 < line.size()) line[length++] = static_cast<char>(character);
  }
  line[length] = '\0';
  return true;
}

/// The escaped text of `line` when it is the line of `key`, else null.
const char *text_of(const char *line, const char *key) {
  const size_t length = strlen(key);
  return strncmp(line, key, length) == 0 && line[length] == '=' ? line + length + 1 : nullptr;
}

void unescape(const char *from, std::span<char> text) {
  size_t length = 0;
  for (; *from != '\0' && length + 1 < text.size(); ++from) {
    char character = *from;
    if (character == '\\' && from[1] != '\0') {
      ++from;
      character = *from == 'n' ? '\n' : *from;
    }
    text[length++] = character;
  }
  text[length] = '\0';
}

void print_escaped(FILE *file, const char *text) {
  for (; *text != '\0'; ++text) {
    if (*text == '\n') {
      fputs("\\n", file);
    } else {
      if (*text == '\\') fputc('\\', file);
      fputc(*text, file);
    }
  }
}

bool is_key(const char *key) { return *key != '\0' && strlen(key) < 64 && strpbrk(key, "=\n") == nullptr; }

/// Holds the lock of the store for as long as it lives. The lock is a file of its own, since the store is replaced.
class Lock {
 public:
  explicit Lock(const char *path) : descriptor_(open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    while (descriptor_ != -1 && flock(descriptor_, LOCK_EX) == -1) {
      if (errno == EINTR) continue;
      close(descriptor_);
      descriptor_ = -1;
    }
  }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;
  ~Lock() {
    if (descriptor_ != -1) close(descriptor_);
  }
  explicit operator bool() const { return descriptor_ != -1; }

 private:
  int descriptor_;
};

/// Writes the store with the text of `key` replaced (or added) to `target`. False when anything could not be written.
bool write_copy(const char *source, const char *target, const char *key, const char *text) {
  const int descriptor = open(target, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  FILE *copy = descriptor == -1 ? nullptr : fdopen(descriptor, "w");
  if (copy == nullptr) {
    if (descriptor != -1) close(descriptor);
    return false;
  }
  if (FILE *present = fopen(source, "re")) {
    Line line;
    while (read_line(present, line)) {
      if (text_of(line.data(), key) == nullptr) fprintf(copy, "%s\n", line.data());
    }
    fclose(present);
  } else if (errno != ENOENT) {
    // A store that is there but cannot be read must not be replaced by one that has lost its other texts.
    fclose(copy);
    return false;
  }
  fprintf(copy, "%s=", key);
  print_escaped(copy, text);
  fputc('\n', copy);
  // On the flash only synced data survives a power cut, and it must be there before the name is.
  bool written = fflush(copy) == 0 && ferror(copy) == 0 && fsync(descriptor) == 0;
  written = fclose(copy) == 0 && written;
  return written;
}

void sync_directory_of(const char *path) {
  Path directory;
  zol::copy_text(directory, path);
  char *slash = strrchr(directory.data(), '/');
  if (slash == nullptr) return;
  slash[slash == directory.data() ? 1 : 0] = '\0';
  const int descriptor = open(directory.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor == -1) return;
  fsync(descriptor);
  close(descriptor);
}

bool replace(const char *path, const char *key, const char *text) {
  Path lock_path;
  Path copy_path;
  snprintf(lock_path.data(), lock_path.size(), "%s.lock", path);
  snprintf(copy_path.data(), copy_path.size(), "%s.new", path);
  const Lock lock(lock_path.data());
  if (!lock) return false;
  if (!write_copy(path, copy_path.data(), key, text) || rename(copy_path.data(), path) == -1) {
    const int reason = errno;
    unlink(copy_path.data());
    errno = reason;
    return false;
  }
  sync_directory_of(path);
  return true;
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
  FILE *file = fopen(store_path(), "re");
  if (file == nullptr) return;
  Line line;
  while (read_line(file, line)) {
    if (const char *found = text_of(line.data(), key)) {
      unescape(found, text);
      break;
    }
  }
  fclose(file);
}

}  // namespace zol
