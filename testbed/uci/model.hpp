#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

/// What a command fails with; the text is what follows "uci: " on standard error.
struct Error : std::runtime_error {
  using runtime_error::runtime_error;
};

inline Error not_found() { return Error("Entry not found"); }
inline Error invalid_argument() { return Error("Invalid argument"); }
inline Error io_error() { return Error("I/O error"); }

/// An option has one value; a list has any number of items.
struct Option {
  std::string name;
  bool is_list = false;
  std::vector<std::string> values;

  /// The value as it is printed: a list's items joined by blanks.
  [[nodiscard]] std::string text() const;
};

struct Section {
  std::string type;
  std::string name;
  /// An anonymous section has a made-up name that is not written to the file.
  bool anonymous = false;
  std::vector<Option> options;

  Option *find(std::string_view option);
  /// Sets an option, or replaces what it was.
  void set(std::string_view option, std::string value);
  /// Appends to a list; a plain option becomes the list's first item.
  void add(std::string_view option, std::string value);
};

/// One configuration file.
class Package {
 public:
  explicit Package(std::string name) : name_(std::move(name)) {}

  [[nodiscard]] const std::string &name() const { return name_; }
  std::vector<Section> &sections() { return sections_; }
  [[nodiscard]] const std::vector<Section> &sections() const { return sections_; }

  Section *find(std::string_view section);
  /// The `index`-th section of a type (any type when it is empty), counted from the end when `index` is negative.
  Section *find(std::string_view type, int index);
  /// `@type[n]` for an anonymous section, the name for any other.
  [[nodiscard]] std::string reference(const Section &section) const;

  Section &add_named(std::string_view type, std::string_view section);
  /// `section` is the made-up name of a section that was added earlier and not yet written.
  Section &add_anonymous(std::string_view type, std::string_view section = {});

 private:
  std::string name_;
  std::vector<Section> sections_;
  unsigned counter_ = 0;
};

/// Names of packages, sections and options: letters, digits and "_"; packages may hold "-" too.
bool valid_name(std::string_view text);
bool valid_package(std::string_view text);
/// Types: printable characters without blanks.
bool valid_type(std::string_view text);

}  // namespace uci
