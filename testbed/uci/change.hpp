#pragma once

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
  /// Empty for a change of the section itself.
  std::string option;
  /// The new value, type, name or position; empty for `remove`.
  std::string value;
};

/// Carries out a change. One whose section is gone is passed over: whoever removed it wins.
void apply(const Change &change, Package &package);

/// The text of a file of changes, and back. @throws Error for a file that is none
std::string format(const Change &change);
std::vector<Change> parse_changes(std::string_view text);

/// The change as the command `changes` prints it.
std::string describe(const Change &change, std::string_view package);

}  // namespace uci
