#include "core/command/kept.hpp"

#include <pthread.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/lock.hpp"

namespace zol::kept {

namespace {

// What is kept, the youngest first.

struct Entry {
  Entry *next;
  size_t sources_size;
  size_t command_size;
  size_t output_size;

  // Behind it stand its sources, the command with its terminator, and the output.
  [[nodiscard]] char *sources() { return reinterpret_cast<char *>(this + 1); }
  [[nodiscard]] char *command() { return sources() + sources_size; }
  [[nodiscard]] char *output() { return command() + command_size; }
  [[nodiscard]] size_t size() const { return sizeof(Entry) + sources_size + command_size + output_size; }

  [[nodiscard]] bool has(const Sources &wanted) {
    return std::ranges::equal(std::span<const char>(sources(), sources_size), wanted.bytes());
  }
};

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
Entry *youngest = nullptr;
size_t kept_bytes = 0;

void drop(Entry **link) {
  Entry *entry = *link;
  *link = entry->next;
  kept_bytes -= entry->size();
  free(entry);
}

void drop_oldest() {
  Entry **oldest = nullptr;
  for (Entry **link = &youngest; *link != nullptr; link = &(*link)->next) oldest = link;
  if (oldest != nullptr) drop(oldest);
}

Entry **find_link(const char *command) {
  Entry **link = &youngest;
  while (*link != nullptr && strcmp((*link)->command(), command) != 0) link = &(*link)->next;
  return link;
}

// What commands are kept: "uci [-q] show|get WHAT... [-q] [| grep PATTERN]", also several joined by ';'.

bool is_word(const char *word, size_t length, const char *expected) {
  return length == strlen(expected) && strncmp(word, expected, length) == 0;
}

/// Takes the next word of plain characters from `cursor`; an empty one at the end of the part.
size_t take_word(const char *&cursor, const char *&word) {
  cursor += strspn(cursor, " ");
  word = cursor;
  cursor += strspn(cursor,
                   "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                   "_./:@=,+%-[]");
  return static_cast<size_t>(cursor - word);
}

/// Skips a pattern that the shell hands over as it is: plain, or in quotes without anything that it would look into.
bool skip_pattern(const char *&cursor) {
  cursor += strspn(cursor, " ");
  const char quote = *cursor;
  if (quote != '\'' && quote != '"') {
    const char *word = nullptr;
    return take_word(cursor, word) > 0;
  }
  const char *end = strpbrk(cursor + 1, quote == '"' ? "\"$`" : "'");
  if (end == nullptr || *end != quote) return false;
  cursor = end + 1;
  return true;
}

}  // namespace

Output::~Output() { free(data_); }

bool Output::append(const char *data, size_t size) {
  if (size_ + size > capacity_) {
    const size_t capacity = std::max<size_t>(2 * (size_ + size), 512);
    auto *larger = static_cast<char *>(realloc(data_, capacity));
    if (larger == nullptr) return false;
    data_ = larger;
    capacity_ = capacity;
  }
  if (size > 0) memcpy(data_ + size_, data, size);
  size_ += size;
  return true;
}

Sources::State Sources::state_of(const char *folder, const char *name, size_t length) {
  char path[96];
  struct stat file {};
  snprintf(path, sizeof path, "%s/%.*s", folder, static_cast<int>(length), name);
  if (stat(path, &file) == -1) return {};
  return {file.st_dev,
          file.st_ino,
          static_cast<uint64_t>(file.st_size),
          file.st_mtim.tv_sec,
          file.st_ctim.tv_sec,
          static_cast<int32_t>(file.st_mtim.tv_nsec),
          static_cast<int32_t>(file.st_ctim.tv_nsec)};
}

/// False when the package has no file, or there are too many.
bool Sources::add_package(const char *name, size_t length) {
  if (count_ == most || length == 0 || length > 64 || memchr(name, '/', length) != nullptr) return false;
  const State file = state_of("/etc/config", name, length);
  if (file.inode == 0) return false;
  states_[2 * count_] = file;
  states_[2 * count_ + 1] = state_of("/tmp/.uci", name, length);
  ++count_;
  return true;
}

Sources::Sources(const char *command) {
  const char *cursor = command;
  const char *word = nullptr;
  bool readable = true;
  for (bool more = true; more && readable;) {
    size_t length = take_word(cursor, word);
    readable = is_word(word, length, "uci");
    length = take_word(cursor, word);
    if (is_word(word, length, "-q")) length = take_word(cursor, word);
    readable = readable && (is_word(word, length, "show") || is_word(word, length, "get"));
    size_t packages = 0;
    while (readable && (length = take_word(cursor, word)) > 0) {
      if (is_word(word, length, "-q")) continue;
      readable = *word != '-' && add_package(word, std::min(length, strcspn(word, ".")));
      ++packages;
    }
    readable = readable && packages > 0;
    cursor += strspn(cursor, " ");
    if (*cursor == '|') {
      ++cursor;
      length = take_word(cursor, word);
      readable = readable && is_word(word, length, "grep") && skip_pattern(cursor);
      cursor += strspn(cursor, " ");
    }
    more = *cursor == ';';
    if (more) ++cursor;
  }
  if (!readable || *cursor != '\0') count_ = 0;
}

bool Sources::at_rest() const {
  constexpr long long rest = 2;
  const long long now = time(nullptr);
  return std::ranges::all_of(states_, states_ + 2 * count_, [=](const State &state) {
    return now - state.modified >= rest && now - state.changed >= rest;
  });
}

bool find(const char *command, const Sources &sources, Output &output) {
  const Lock lock(guard);
  Entry *entry = *find_link(command);
  return entry != nullptr && entry->has(sources) && output.append(entry->output(), entry->output_size);
}

void keep(const char *command, const Sources &sources, const Output &output) {
  const size_t command_size = strlen(command) + 1;
  const std::span<const char> states = sources.bytes();
  const size_t size = sizeof(Entry) + states.size() + command_size + output.size();
  if (size > most_bytes) return;
  const Lock lock(guard);
  if (Entry **link = find_link(command); *link != nullptr) drop(link);
  while (kept_bytes + size > most_bytes) drop_oldest();
  auto *entry = static_cast<Entry *>(malloc(size));
  if (entry == nullptr) return;
  *entry = {youngest, states.size(), command_size, output.size()};
  std::ranges::copy(states, entry->sources());
  memcpy(entry->command(), command, command_size);
  if (output.size() > 0) memcpy(entry->output(), output.data(), output.size());
  youngest = entry;
  kept_bytes += size;
}

void forget() {
  const Lock lock(guard);
  while (youngest != nullptr) drop(&youngest);
}

}  // namespace zol::kept
