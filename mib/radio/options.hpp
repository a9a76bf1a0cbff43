#pragma once

// The options of the selected wireless interface in the UCI package `wireless`, as the radio objects read and write
// them.

#include <cstdint>
#include <optional>

namespace zol {

/// Whose section an option stands in.
enum class Owner : uint8_t { radio, network };

/// The name of a section: "wifi0" for a radio, "@wifi-iface[0]" for a network.
class SectionName {
 public:
  SectionName(Owner owner, int index);
  [[nodiscard]] const char *text() const { return text_; }

 private:
  char text_[32];
};

/// Stores a value in an option of the selected interface and commits it. @return 0, as set_X does
int store_number(Owner owner, const char *option, int32_t number);
int store_word(Owner owner, const char *option, const char *word);

/// The number right behind the first "=" of a line, if there is one.
std::optional<int32_t> number_in(const char *line);

/// Takes a flag from a line of `uci show`: sets `value` to 1 where the option is "1", to 2 where it is "0"; anything
/// else leaves it.
void take_flag(const char *line, int32_t *value);

}  // namespace zol
