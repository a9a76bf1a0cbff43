// wdog: reboots the device by a schedule or when nobody answers its pings, and is its menu on the console.

#include <syslog.h>

#include <array>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "core/label.hpp"
#include "core/log.hpp"
#include "wdog/clocks.hpp"
#include "wdog/console.hpp"
#include "wdog/daemon.hpp"
#include "wdog/device.hpp"
#include "wdog/dry_run.hpp"
#include "wdog/files.hpp"
#include "wdog/log.hpp"
#include "wdog/monitor.hpp"
#include "wdog/options.hpp"
#include "wdog/settings.hpp"

namespace {

using wdog::Options;

constexpr int not_understood = 2;

constexpr const char *usage =
    "usage: wdog [path=DIR]\n"
    "       wdog [path=DIR] --test=1 KEYS\n"
    "       wdog [path=DIR] --daemon [--by-time=HH:MM | --by-hour=H]\n"
    "       wdog [path=DIR] --dry-run[=SECONDS] [--by-time=HH:MM | --by-hour=H]\n"
    "       wdog --help | --version\n";

[[noreturn]] void stay(const std::optional<wdog::Schedule> &given) {
  if (!wdog::make_settings_file()) fprintf(stderr, "wdog: %s cannot be made\n", path_of(wdog::File::settings));
  wdog::become_daemon();
  wdog::watch(given);
}

int run(const Options &options) {
  if (options.mode == Options::Mode::menu || options.mode == Options::Mode::test) {
    wdog::Menu menu(wdog::device_values());
    if (options.mode == Options::Mode::test) return play(menu, options.keys) ? 0 : 1;
    converse(menu);
    return 0;
  }
  const std::optional<wdog::Schedule> schedule = options.schedule ? options.schedule : wdog::stored_schedule();
  if (!schedule) return not_understood;
  if (options.mode == Options::Mode::daemon) stay(options.schedule);
  wdog::print_dry_run(*schedule, options.now.value_or(wdog::read_clocks().wall));
  return 0;
}

}  // namespace

namespace {

[[gnu::format(printf, 1, 0)]] void log(const char *format, va_list arguments) {
  std::array<char, 512> line;
  vsnprintf(line.data(), line.size(), format, arguments);
  if (wdog::is_logging_to_syslog()) {
    syslog(LOG_NOTICE, "%s", line.data());
  } else {
    fprintf(stderr, "wdog: %s\n", line.data());
  }
}

}  // namespace

namespace zol {

// Where the lines of core/ go as well.

void log_line(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(format, arguments);
  va_end(arguments);
}

bool Complaint::raise(const char *format, ...) {
  if (raised_.exchange(true)) return false;
  va_list arguments;
  va_start(arguments, format);
  log(format, arguments);
  va_end(arguments);
  return true;
}

}  // namespace zol

int main(int count, char **arguments) {
  Options options;
  if (const char *argument = parse_options(count, arguments, options)) {
    fprintf(stderr, "wdog: not understood: %s\n%s", argument, usage);
    return not_understood;
  }
  if (options.mode == Options::Mode::help) return fputs(usage, stdout) < 0 ? 1 : 0;
  if (options.mode == Options::Mode::version) return puts("wdog " ZOL_VERSION) < 0 ? 1 : 0;
  if (options.folder != nullptr && !wdog::use_folder(options.folder)) {
    fprintf(stderr, "wdog: not a folder: %s\n", options.folder);
    return not_understood;
  }
  // Whoever starts it may ignore it: then nothing could be waited for.
  signal(SIGCHLD, SIG_DFL);
  tzset();
  zol::name_language_in(path_of(wdog::File::language));
  return run(options);
}
