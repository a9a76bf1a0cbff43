#include "core/conf_file.hpp"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/text.hpp"

struct ConfFile {
  FILE *stream;
  std::array<char, 64> section;
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

bool is_blank(char character) { return isspace(static_cast<unsigned char>(character)) != 0; }

/// Takes the blanks off both ends of `text`, in place.
char *trim(char *text) {
  while (is_blank(*text)) ++text;
  size_t length = strlen(text);
  while (length > 0 && is_blank(text[length - 1])) --length;
  text[length] = '\0';
  return text;
}

/// Hands every line that says something to `visit`, blanks taken off, until it answers true.
template <class Visit>
bool any_line(FILE *stream, Visit visit) {
  rewind(stream);
  std::array<char, 1024> buffer{};
  while (fgets(buffer.data(), buffer.size(), stream) != nullptr) {
    char *line = trim(buffer.data());
    if (*line != '\0' && *line != '#' && *line != ';' && visit(line)) return true;
  }
  return false;
}

/// The name in "[name]", or null for any other line.
const char *section_name(char *line) {
  char *end = strrchr(line, ']');
  if (*line != '[' || end == nullptr) return nullptr;
  *end = '\0';
  return trim(line + 1);
}

}  // namespace

int confAlias(const char *path, const char *alias) {
  if (*alias == '\0' || strlen(alias) >= sizeof Alias::name || strlen(path) >= sizeof Alias::path) return -1;
  Alias *place = find_alias(alias);
  if (place == nullptr) place = find_alias("");
  if (place == nullptr) return -1;
  zol::copy_text(place->name, alias);
  zol::copy_text(place->path, path);
  return 0;
}

ConfFile *confOpen(const char *name) {
  const Alias *alias = *name == '\0' ? nullptr : find_alias(name);
  FILE *stream = fopen(alias == nullptr ? name : alias->path.data(), "re");
  if (stream == nullptr) return nullptr;
  auto *file = static_cast<ConfFile *>(calloc(1, sizeof(ConfFile)));
  if (file == nullptr) {
    fclose(stream);
    return nullptr;
  }
  file->stream = stream;
  return file;
}

int confSection(ConfFile *file, const char *section) {
  if (strlen(section) >= file->section.size()) return -1;
  const bool found = any_line(file->stream, [section](char *line) {
    const char *name = section_name(line);
    return name != nullptr && strcmp(name, section) == 0;
  });
  if (!found) return -1;
  zol::copy_text(file->section, section);
  return 0;
}

int confRead(ConfFile *file, const char *key, char *value, size_t size) {
  bool selected = file->section[0] == '\0';
  bool passed = false;
  const bool found = any_line(file->stream, [&](char *line) {
    if (const char *name = section_name(line)) {
      passed = passed || selected;
      selected = !passed && strcmp(name, file->section.data()) == 0;
      return false;
    }
    char *equals = strchr(line, '=');
    if (!selected || equals == nullptr) return false;
    *equals = '\0';
    if (strcmp(trim(line), key) != 0) return false;
    zol::copy_text({value, size}, trim(equals + 1));
    return true;
  });
  return found ? 0 : -1;
}

void confClose(ConfFile *file) {
  if (file == nullptr) return;
  fclose(file->stream);
  free(file);
}
