#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

/// The command changed between the years: values are printed in quotes now, anonymous sections are counted differently.
inline constexpr bool newer = UCI_YEAR >= 2025;

/// What a command fails with; the text is what follows "uci: " on standard error.
struct Error : std::runtime_error {
  Error(int number, const std::string &text) : std::runtime_error(text), code(number) {}

  /// The exit status of `add`; all other commands answer 1.
  int code;
};

inline Error invalid_argument() { return {2, "Invalid argument"}; }
inline Error not_found() { return {3, "Entry not found"}; }
inline Error io_error() { return {4, "I/O error"}; }
inline Error parse_error(const std::string &details = {}) { return {5, "Parse error" + details}; }

/// An option has one value; a list has any number of items.
struct Option {
  std::string name;
  bool is_list = false;
  std::vector<std::string> values;
};

struct Section {
  std::string type;
  std::string name;
  /// An anonymous section has a made-up name that is not written to the file.
  bool anonymous = false;
  std::vector<Option> options;

  Option *find(std::string_view option);
  void erase(const Option &option);
  /// Sets an option to a text. @return false when it held that text already
  bool set(std::string_view option, std::string value);
  /// Appends to a list; a plain option becomes the list's first item.
  void add(std::string_view option, std::string value);

 private:
  Option &place_for(std::string_view option);
};

/// One configuration file.
class Package {
 public:
  explicit Package(std::string name) : name_(std::move(name)) {}

  [[nodiscard]] const std::string &name() const { return name_; }
  std::vector<Section> &sections() { return sections_; }
  [[nodiscard]] const std::vector<Section> &sections() const { return sections_; }

  Section *find(std::string_view section);
  /// The section that `@type[n]` names (any type when there is none; counted from the end when n is negative), or null.
  /// @throws Error when it is malformed
  Section *find_by_position(const std::string &text);
  /// What the section is called where the whole package is shown: `@type[n]` for an anonymous one.
  [[nodiscard]] std::string reference(const Section &section) const;

  Section &add_named(std::string_view type, std::string_view section);
  Section &add_anonymous(std::string_view type);

 private:
  std::string name_;
  std::vector<Section> sections_;
  unsigned counter_ = 0;
};

/// Names of sections and options: letters, digits and "_".
bool valid_name(std::string_view text);
/// Types and names of packages: printable characters without blanks.
bool valid_type(std::string_view text);

/// What a command line names: `package[.section[.option]][=value]`, where a section may be `@type[n]`.
struct Reference {
  std::string package;
  std::optional<std::string> section;
  std::optional<std::string> option;
  std::optional<std::string> value;

  /// @throws Error when it is malformed
  static Reference parse(std::string_view text);
};

}  // namespace uci
