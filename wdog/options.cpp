#include "wdog/options.hpp"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace wdog {

namespace {

const char *behind(const char *text, const char *prefix) {
  return strncmp(text, prefix, strlen(prefix)) == 0 ? text + strlen(prefix) : nullptr;
}

/// Seconds since 1970 up to the year 9999, as far as the machine can tell them.
std::optional<int64_t> seconds_in(const char *text) {
  constexpr int64_t end_of_9999 = 253402300799;
  constexpr int64_t last = std::numeric_limits<time_t>::max();
  constexpr size_t most_digits = 12;
  const size_t digits = strspn(text, "0123456789");
  if (digits == 0 || digits > most_digits || text[digits] != '\0') return std::nullopt;
  const int64_t seconds = strtoll(text, nullptr, 10);
  // Two years are left for the reboots to come.
  if (seconds > std::min(end_of_9999, last) - int64_t{2} * 366 * 86400) return std::nullopt;
  return seconds;
}

bool choose(Options &options, Options::Mode mode) {
  if (options.mode != Options::Mode::menu) return false;
  options.mode = mode;
  return true;
}

/// Takes the argument, and the one behind it where it needs one. False when it is not understood.
bool take(const char *const *&argument, Options &options) {
  const char *text = *argument;
  const auto is = [text](const char *name) { return strcmp(text, name) == 0; };
  if (const char *folder = behind(text, "path=")) {
    if (*folder == '\0' || options.folder != nullptr) return false;
    options.folder = folder;
    return true;
  }
  if (is("--daemon")) return choose(options, Options::Mode::daemon);
  if (is("--help") || is("-h")) return choose(options, Options::Mode::help);
  if (is("--version") || is("-V")) return choose(options, Options::Mode::version);
  if (is("--dry-run")) return choose(options, Options::Mode::dry_run);
  if (const char *seconds = behind(text, "--dry-run=")) {
    options.now = seconds_in(seconds);
    return options.now && choose(options, Options::Mode::dry_run);
  }
  if (is("--test=1")) {
    if (argument[1] == nullptr) return false;
    options.keys = *++argument;
    return choose(options, Options::Mode::test);
  }
  if (options.schedule) return false;
  options.schedule = parse_schedule(text);
  return options.schedule.has_value();
}

}  // namespace

const char *parse_options(int count, const char *const *arguments, Options &options) {
  const char *const *end = arguments + count;
  const char *schedule = nullptr;
  for (const char *const *argument = arguments + 1; argument < end; ++argument) {
    const char *text = *argument;
    if (!take(argument, options)) return text;
    if (behind(text, "--by-") != nullptr) schedule = text;
  }
  // Only these two go by a schedule.
  const bool uses_schedule = options.mode == Options::Mode::daemon || options.mode == Options::Mode::dry_run;
  return uses_schedule ? nullptr : schedule;
}

}  // namespace wdog
