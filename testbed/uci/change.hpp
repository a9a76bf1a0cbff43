#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "uci/model.hpp"

namespace uci {

/// One staged change. Sections are named by their own names, made-up ones included.
struct Change {
  enum class Kind { set, add_section, remove, add_list, remove_list, rename, reorder };

  Kind kind;
  std::string section;
  /// Missing for a change of the section itself.
  std::optional<std::string> option;
  /// The new value, type, name or position; for `remove` the place in a list, if only one item goes.
  std::optional<std::string> value;
};

/// Carries out a change. @return the change that it comes to: none when nothing changes, `remove` where a value is set
/// to nothing. @throws Error when the package has no place for it
std::optional<Change> apply(const Change &change, Package &package);

/// The line of a file of changes.
std::string format(const Change &change, std::string_view package);

/// The changes that the text of such a file holds for a package. Lines that are none are passed over, or not: then an
/// Error is thrown.
enum class Faulty { passed_over, refused };
std::vector<Change> parse_changes(std::string_view text, std::string_view package, Faulty faulty = Faulty::passed_over);

/// The change as the command `changes` prints it.
std::string describe(const Change &change, std::string_view package);

}  // namespace uci
