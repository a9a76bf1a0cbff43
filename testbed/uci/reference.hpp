#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "uci/model.hpp"

namespace uci {

/// What a command line names: `package[.section[.option]][=value]`, where a section may be `@type[n]`.
struct Reference {
  std::string package;
  std::string section;
  std::string option;
  std::optional<std::string> value;

  /// @throws Error when it is malformed
  static Reference parse(std::string_view text);

  /// The section it names, or null.
  [[nodiscard]] Section *find_section(Package &in) const;
};

}  // namespace uci
