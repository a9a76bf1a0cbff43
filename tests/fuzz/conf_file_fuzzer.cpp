#include "core/conf_file.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fuzz/printed.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

const std::string &path() {
  static const std::string name = "/dev/shm/zolarc-conf-" + std::to_string(getpid());
  static const bool removed_at_exit = [] { return atexit([] { unlink(name.c_str()); }) == 0; }();
  require(removed_at_exit, "the file can be removed");
  return name;
}

void put(const std::string &text) { std::ofstream(path(), std::ios::binary) << text; }

std::string held() {
  std::ostringstream text;
  text << std::ifstream(path(), std::ios::binary).rdbuf();
  return text.str();
}

/// Takes the next text off the input: what comes before a byte of 1.
std::string take(std::string &input) {
  const std::string text = input.substr(0, input.find('\1'));
  input.erase(0, text.size() + 1);
  return text.substr(0, text.find('\0'));
}

std::optional<std::string> value_of(ConfFile *file, const std::string &key) {
  std::vector<char> value(1 << 16);
  if (confRead(file, key.c_str(), value.data(), value.size()) != 0) return std::nullopt;
  return value.data();
}

/// Whether the lines of `part` are all in `whole`, in their order.
bool is_within(const std::string &part, const std::string &whole) {
  size_t at = 0;
  for (size_t from = 0, end = 0; from < part.size(); from = end + 1) {
    end = std::min(part.find('\n', from), part.size());
    const std::string line = part.substr(from, end - from);
    at = whole.find(line, at);
    if (at == std::string::npos) return false;
    at += line.size();
  }
  return true;
}

}  // namespace

/// The input: section, key, value, another key, and the file, with a byte of 1 between them.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string input(reinterpret_cast<const char *>(data), size);
  const std::string section = take(input);
  const std::string key = take(input);
  const std::string value = take(input);
  const std::string other = take(input);
  const bool sectioned = section.empty() || section[0] != '!';
  put(input);
  ConfFile *file = sectioned ? confOpen(path().c_str()) : cfopen(path().c_str());
  require(file != nullptr, "it opens");
  const bool selected = !sectioned || section.empty() || confSection(file, section.c_str()) == 0;
  const std::optional<std::string> before = value_of(file, other);
  const bool added = selected || confAdd(file, section.c_str()) == 0;
  const bool was_there = value_of(file, key).has_value();
  const bool written = confWrite(file, key.c_str(), value.c_str()) == 0;
  require(confClose(file) == 0, "it closes");

  file = sectioned ? confOpen(path().c_str()) : cfopen(path().c_str());
  if (sectioned && !section.empty() && added) require(confSection(file, section.c_str()) == 0, "the section is there");
  if (written) require(value_of(file, key) == value, "what was written reads back");
  if (other != key && selected) require(value_of(file, other) == before, "other keys stay");
  const std::string after = held();
  if (!written && selected) require(after == input, "what is refused changes nothing");
  if (!was_there) {
    require(is_within(input, after), "every line stays");
    require(confWrite(file, key.c_str(), nullptr) == 0 || !written, "what was written can be removed");
    require(confClose(file) == 0 && (selected || !added || is_within(input, held())), "and nothing else goes");
  } else {
    confClose(file);
  }
  return 0;
}
