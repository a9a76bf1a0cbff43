#include "core/command/asked_option.hpp"

#include <cctype>
#include <cstring>

namespace zol {

namespace {

bool is_name(char character) { return isalnum(static_cast<unsigned char>(character)) != 0 || character == '_'; }

size_t name_length(const char *text) {
  size_t length = 0;
  while (is_name(text[length])) ++length;
  return length;
}

/// A section's own name, or "@type[n]" instead of it.
size_t section_length(const char *text) {
  if (*text != '@') return name_length(text);
  const size_t length = strcspn(text, "].= \n");
  return text[length] == ']' ? length + 1 : 0;
}

size_t package_length(const char *text) {
  size_t length = 0;
  while (is_name(text[length]) || text[length] == '-') ++length;
  return length;
}

/// Whether it is the made-up name of an anonymous section, "cfg" and at least six hexadecimal digits: which section
/// that is, a question that counts sections does not tell.
bool is_made_up(const char *section, size_t length) {
  return length >= 9 && strncmp(section, "cfg", 3) == 0 && strspn(section + 3, "0123456789abcdef") >= length - 3;
}

const char *behind(const char *text, const char *prefix) {
  const size_t length = strlen(prefix);
  return strncmp(text, prefix, length) == 0 ? text + length : text;
}

}  // namespace

bool AskedOption::Part::is(const char *other, size_t other_length) const {
  return length == other_length && strncmp(text, other, length) == 0;
}

AskedOption::AskedOption(const char *command) {
  const char *text = behind(command, "uci show ");
  if (text == command) return;
  text = behind(text, "-q ");
  const Part package{text, package_length(text)};
  if (package.length == 0 || text[package.length] != '.') return;
  text += package.length + 1;
  const Part section{text, section_length(text)};
  if (section.length == 0 || text[section.length] != '.') return;
  text += section.length + 1;
  const Part option{text, name_length(text)};
  if (option.length == 0 || text[option.length] != '\0') return;
  package_ = package;
  section_ = section;
  option_ = option;
}

bool AskedOption::is_other(const char *line) {
  if (package_.length == 0) return false;
  const size_t package = package_length(line);
  if (!package_.is(line, package) || line[package] != '.') return false;
  const char *section = line + package + 1;
  const size_t length = section_length(section);
  if (length == 0) return false;
  if (section[length] == '=') {
    in_dump_ = true;
    return true;
  }
  if (!in_dump_ || section[length] != '.') return false;
  const char *option = section + length + 1;
  const size_t option_length = name_length(option);
  if (option_length == 0 || option[option_length] != '=') return false;
  return !option_.is(option, option_length) || (!section_.is(section, length) && !is_made_up(section, length));
}

}  // namespace zol
