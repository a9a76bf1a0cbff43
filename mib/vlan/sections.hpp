#pragma once

#include <cstddef>
#include <cstdint>

namespace zol::vlan {

/// Where one kind of VLAN is kept.
struct Kind {
  const char *package;
  /// The list option with the 32 bridge flags.
  const char *flags;
};

constexpr Kind managed{"vlan", "wifibridge"};
constexpr Kind trunk{"vlansw", "wifibridge1"};

/// Where the search for a VLAN ended: at its section, or behind the last one.
struct Place {
  bool found;
  int section;
};

/// Searches the sections in order for a VLAN id. The first missing section ends the search, so a VLAN behind a gap in
/// the numbering is not found.
Place find_section(const Kind &kind, int32_t id);

}  // namespace zol::vlan
