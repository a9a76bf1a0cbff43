// The table of time zones. Its rows are kept in timezones.inc, one a line, and compiled in from there.

#include <algorithm>
#include <string_view>

#include "mib/services/services.hpp"

namespace {

// A text may fill its field without a terminator, which a string literal as an initialiser could not.
consteval Timezone row(std::string_view name, std::string_view rule) {
  Timezone zone{};
  std::copy_n(name.begin(), std::min(name.size(), sizeof zone.name), zone.name);
  std::copy_n(rule.begin(), std::min(rule.size(), sizeof zone.rule), zone.rule);
  return zone;
}

}  // namespace

constinit const Timezone gTimezone[405] = {
#include "mib/services/timezones.inc"
};
