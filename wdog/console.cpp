#include "wdog/console.hpp"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/label.hpp"
#include "wdog/daemon.hpp"

namespace wdog {

namespace {

/// Lets the process in the background read what was saved. @return what to say
const char *tell_daemon() {
  const pid_t daemon = find_daemon();
  return daemon != -1 && kill(daemon, SIGHUP) == 0 ? "wdog.saved" : "wdog.no_daemon";
}

void comment(const Menu &menu) {
  const char *told = menu.has_changed_monitor() ? tell_daemon() : "wdog.saved";
  if (menu.has_saved()) puts(zol_label(told));
  if (menu.asks_for_help()) puts(zol_label("wdog.help"));
}

}  // namespace

bool play(Menu &menu, const char *keys) {
  bool is_well = true;
  while (*keys != '\0' && !menu.has_ended()) {
    const size_t length = strcspn(keys, ";");
    Text key;
    if (!key.set(keys, length)) return false;
    keys += length + (keys[length] == ';' ? 1 : 0);
    menu.key(key.get());
    is_well = is_well && !menu.has_refused();
    if (!menu.has_ended()) menu.print(stdout);
  }
  return is_well;
}

void converse(Menu &menu) {
  char *line = nullptr;
  size_t size = 0;
  menu.print(stdout);
  while (!menu.has_ended()) {
    fputs(menu.wants_value() ? "= " : "> ", stdout);
    fflush(stdout);
    if (getline(&line, &size, stdin) == -1) break;
    line[strcspn(line, "\r\n")] = '\0';
    menu.key(line);
    comment(menu);
    if (!menu.has_ended() && !menu.wants_value()) menu.print(stdout);
  }
  if (menu.has_unsaved()) puts(zol_label("wdog.unsaved"));
  free(line);
}

}  // namespace wdog
