#pragma once

#include <cstdint>
#include <optional>

#include "wdog/schedule.hpp"

namespace wdog {

/// What the arguments ask for.
struct Options {
  enum class Mode { menu, daemon, dry_run, test, help, version };
  Mode mode = Mode::menu;
  /// Null for the usual one.
  const char *folder = nullptr;
  std::optional<Schedule> schedule;
  /// Of a dry run: seconds since 1970.
  std::optional<int64_t> now;
  /// Of a test.
  const char *keys = nullptr;
};

/// @return null, or the argument that cannot be understood
const char *parse_options(int count, const char *const *arguments, Options &options);

}  // namespace wdog
