#include "core/command/once.hpp"

#include <cstdlib>
#include <cstring>

#include "core/lock.hpp"
#include "core/switches.hpp"

namespace zol {

namespace {

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
Collection *collections = nullptr;

}  // namespace

struct Collection::Entry {
  Entry *next;
  size_t command_size;
  size_t output_size;

  /// The command with its terminator, and then the output.
  [[nodiscard]] char *text() { return reinterpret_cast<char *>(this + 1); }
};

Collection::Collection() : thread_(pthread_self()) {
  const Lock lock(guard);
  next_ = collections;
  collections = this;
}

Collection::~Collection() {
  {
    const Lock lock(guard);
    Collection **link = &collections;
    while (*link != this) link = &(*link)->next_;
    *link = next_;
  }
  while (entries_ != nullptr) {
    Entry *first = entries_;
    entries_ = first->next;
    free(first);
  }
}

Collection *Collection::current() {
  if (!reuse_is_on()) return nullptr;
  const Lock lock(guard);
  Collection *own = collections;
  while (own != nullptr && pthread_equal(own->thread_, pthread_self()) == 0) own = own->next_;
  return own;
}

bool Collection::find(const char *command, kept::Output &output) const {
  for (Entry *entry = entries_; entry != nullptr; entry = entry->next) {
    if (strcmp(entry->text(), command) == 0)
      return output.append(entry->text() + entry->command_size, entry->output_size);
  }
  return false;
}

void Collection::keep(const char *command, const kept::Output &output) {
  const size_t command_size = strlen(command) + 1;
  auto *entry = static_cast<Entry *>(malloc(sizeof(Entry) + command_size + output.size()));
  if (entry == nullptr) return;
  *entry = {entries_, command_size, output.size()};
  memcpy(entry->text(), command, command_size);
  if (output.size() > 0) memcpy(entry->text() + command_size, output.data(), output.size());
  entries_ = entry;
}

}  // namespace zol
