#include "core/conf_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/arena.hpp"
#include "core/conf_text.hpp"
#include "core/replaced_file.hpp"
#include "core/text.hpp"

namespace {

constexpr size_t most_section_characters = 63;

/// What is to be written. Without a key it is a section to be added, without a value a key to be removed.
struct Change {
  const char *section;
  const char *key;
  const char *value;
  Change *next;
};

}  // namespace

struct ConfFile {
  zol::Arena arena;
  const char *path;
  bool sectioned;
  zol::ConfText text;
  /// "" where none is selected.
  const char *section;
  /// In the order in which they were made.
  Change *changes;
};

namespace {

struct Alias {
  std::array<char, 32> name;
  std::array<char, 128> path;
};

/// Free places have no name. Aliases are made while modules start, before anything else runs.
std::array<Alias, 8> aliases;

Alias *find_alias(const char *name) {
  for (Alias &alias : aliases) {
    if (strcmp(alias.name.data(), name) == 0) return &alias;
  }
  return nullptr;
}

/// The file itself lies in the memory that it owns.
ConfFile *make_file(int descriptor, const char *path, bool sectioned) {
  zol::Arena arena;
  auto *file = static_cast<ConfFile *>(arena.allocate(sizeof(ConfFile)));
  const char *name = arena.copy(path);
  size_t size = 0;
  char *text = zol::read_all(descriptor, arena, size);
  if (file == nullptr || name == nullptr || text == nullptr) {
    arena.release();
    return nullptr;
  }
  *file = {arena, name, sectioned, {text, size, size, sectioned}, "", nullptr};
  return file;
}

ConfFile *open_file(const char *name, bool sectioned) {
  const char *alias = zol::path_of_alias(name);
  const char *path = alias == nullptr ? name : alias;
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor == -1) return nullptr;
  ConfFile *file = make_file(descriptor, path, sectioned);
  const int reason = errno;
  close(descriptor);
  errno = reason;
  return file;
}

/// The change of a key (null: of the section itself) that waits in the selected section.
Change *find_change(const ConfFile &file, const char *section, const char *key) {
  for (Change *change = file.changes; change != nullptr; change = change->next) {
    const bool same_key = key == nullptr || change->key == nullptr ? key == change->key : strcmp(change->key, key) == 0;
    if (same_key && strcmp(change->section, section) == 0) return change;
  }
  return nullptr;
}

/// Makes a change, or makes the one that waits for the same key another.
bool note_change(ConfFile &file, const char *section, const char *key, const char *value) {
  if (Change *change = find_change(file, section, key)) {
    change->value = value;
    return true;
  }
  auto *change = static_cast<Change *>(file.arena.allocate(sizeof(Change)));
  if (change == nullptr) return false;
  *change = {section, key, value, nullptr};
  Change **last = &file.changes;
  while (*last != nullptr) last = &(*last)->next;
  *last = change;
  return true;
}

/// The three texts as one; null when there is no memory.
const char *join(zol::Arena &arena, std::string_view first, std::string_view second, std::string_view third) {
  auto *line = static_cast<char *>(arena.allocate(first.size() + second.size() + third.size() + 1));
  if (line == nullptr) return nullptr;
  char *at = line;
  for (const std::string_view part : {first, second, third}) {
    if (!part.empty()) memcpy(at, part.data(), part.size());
    at += part.size();
  }
  return line;
}

bool says(const char *line, bool sectioned, zol::ConfLine::Kind kind, const char *name, const char *value) {
  if (line == nullptr || strchr(line, '\n') != nullptr) return false;
  const zol::ConfLine said = zol::parse_conf_line(line, sectioned);
  return said.kind == kind && said.name == name && said.value == value;
}

bool apply(const Change &change, zol::ConfText &text) {
  if (change.key == nullptr) return text.add_section(change.section);
  if (change.value != nullptr) return text.set(change.section, change.key, change.value);
  text.remove(change.section, change.key);
  return true;
}

/// The most bytes that the changes add.
size_t growth(const ConfFile &file) {
  constexpr size_t around = 16;
  size_t bytes = 0;
  for (const Change *change = file.changes; change != nullptr; change = change->next) {
    bytes += around + strlen(change->section);
    if (change->value != nullptr) bytes += strlen(change->key) + strlen(change->value);
  }
  return bytes;
}

bool write_changes(ConfFile &file) {
  std::array<char, PATH_MAX> path;
  if (realpath(file.path, path.data()) == nullptr) return false;
  const zol::FileLock lock(path.data());
  const size_t spare = growth(file);
  size_t size = 0;
  char *present = lock ? zol::read_all(lock.descriptor(), file.arena, size, spare) : nullptr;
  if (present == nullptr) return false;
  const char *before = file.arena.copy({present, size});
  zol::ConfText text(present, size, size + spare, file.sectioned);
  for (const Change *change = file.changes; change != nullptr; change = change->next) {
    if (!apply(*change, text)) return false;
  }
  if (before != nullptr && text.text() == std::string_view(before, size)) return true;
  return zol::replace_file(path.data(), text.text(), lock.descriptor());
}

}  // namespace

namespace zol {

const char *path_of_alias(const char *alias) {
  const Alias *found = *alias == '\0' ? nullptr : find_alias(alias);
  return found == nullptr ? nullptr : found->path.data();
}

}  // namespace zol

int confAlias(const char *path, const char *alias) {
  if (*alias == '\0' || strlen(alias) >= sizeof Alias::name || strlen(path) >= sizeof Alias::path) return -1;
  Alias *place = find_alias(alias);
  if (place == nullptr) place = find_alias("");
  if (place == nullptr) return -1;
  zol::copy_text(place->name, alias);
  zol::copy_text(place->path, path);
  return 0;
}

ConfFile *confOpen(const char *name) { return open_file(name, true); }

int confSection(ConfFile *file, const char *section) {
  if (!file->sectioned || *section == '\0' || strlen(section) > most_section_characters) return -1;
  if (!file->text.has_section(section) && find_change(*file, section, nullptr) == nullptr) return -1;
  const char *name = file->arena.copy(section);
  if (name == nullptr) return -1;
  file->section = name;
  return 0;
}

int confRead(ConfFile *file, const char *key, char *value, size_t size) {
  std::optional<std::string_view> found = file->text.find(file->section, key);
  if (const Change *change = find_change(*file, file->section, key)) {
    found.reset();
    if (change->value != nullptr) found = change->value;
  }
  if (!found) return -1;
  const size_t length = found->size() < size ? found->size() : size - 1;
  memcpy(value, found->data(), length);
  value[length] = '\0';
  return 0;
}

int confAdd(ConfFile *file, const char *section) {
  if (confSection(file, section) == 0) return 0;
  if (*section == '\0' || strlen(section) > most_section_characters) return -1;
  const char *line = join(file->arena, "[", section, "]");
  const char *name = file->arena.copy(section);
  if (name == nullptr || !says(line, file->sectioned, zol::ConfLine::Kind::section, section, "")) return -1;
  if (!note_change(*file, name, nullptr, nullptr)) return -1;
  file->section = name;
  return 0;
}

int confWrite(ConfFile *file, const char *key, const char *value) {
  const char *line = join(file->arena, key, "=", value == nullptr ? "" : value);
  if (!says(line, file->sectioned, zol::ConfLine::Kind::key, key, value == nullptr ? "" : value)) return -1;
  const char *name = file->arena.copy(key);
  if (name == nullptr) return -1;
  const char *text = value == nullptr ? nullptr : line + strlen(key) + 1;
  return note_change(*file, file->section, name, text) ? 0 : -1;
}

int confClose(ConfFile *file) {
  if (file == nullptr) return 0;
  const bool written = file->changes == nullptr || write_changes(*file);
  const int reason = errno;
  zol::Arena arena = file->arena;
  arena.release();
  errno = reason;
  return written ? 0 : -1;
}

ConfFile *cfopen(const char *name) { return open_file(name, false); }
int cfread(ConfFile *file, const char *key, char *value, size_t size) { return confRead(file, key, value, size); }
int cfwrite(ConfFile *file, const char *key, const char *value) { return confWrite(file, key, value); }
int cfclose(ConfFile *file) { return confClose(file); }
