#pragma once

// The text of a configuration file in memory: what a line of it says, and how one is changed without touching another
// byte. `conf_file.hpp` describes the format.

#include <cstddef>
#include <optional>
#include <string_view>

namespace zol {

struct ConfLine {
  enum class Kind { nothing, section, key };
  Kind kind = Kind::nothing;
  /// The section's name, or the key.
  std::string_view name;
  std::string_view value;
};

/// What a line says. Blanks at both ends do not count, and nothing behind a NUL does.
/// @param sectioned whether "[name]" begins a section
ConfLine parse_conf_line(std::string_view line, bool sectioned);

/// A file's text, which belongs to somebody else. Sections are told by their names; "" stands for the keys before the
/// first one. Of two sections or keys with the same name the first one counts.
class ConfText {
 public:
  ConfText() = default;
  /// @param text has room for `capacity` bytes, of which `size` are the file's
  ConfText(char *text, size_t size, size_t capacity, bool sectioned)
      : text_(text), size_(size), capacity_(capacity), sectioned_(sectioned) {}

  [[nodiscard]] std::string_view text() const { return {text_, size_}; }
  [[nodiscard]] bool has_section(std::string_view section) const { return find_section(section).has_value(); }
  [[nodiscard]] std::optional<std::string_view> find(std::string_view section, std::string_view key) const;

  // What is added goes behind the last key of its section, a section goes to the end, with line ends as they are there.
  // Each answers false when there is no room: a line takes up to 3 bytes, a section up to 6 more than its texts.

  bool add_section(std::string_view section);
  /// Also adds the section when there is none.
  bool set(std::string_view section, std::string_view key, std::string_view value);
  /// Removes every line with the key from the section.
  void remove(std::string_view section, std::string_view key);

 private:
  /// The bytes between a section's name and the next section.
  struct Region {
    size_t begin;
    size_t end;
  };
  [[nodiscard]] std::optional<Region> find_section(std::string_view section) const;
  [[nodiscard]] size_t end_of_line(size_t at) const;
  [[nodiscard]] size_t place_for_key(Region region) const;
  bool add_line(size_t at, std::string_view first, std::string_view second, std::string_view third);
  bool replace(size_t at, size_t length, std::string_view by);

  char *text_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
  bool sectioned_ = false;
};

}  // namespace zol
