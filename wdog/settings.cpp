#include "wdog/settings.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "core/conf_file.hpp"
#include "core/log.hpp"
#include "core/replaced_file.hpp"
#include "core/text.hpp"
#include "core/value_store.hpp"
#include "wdog/files.hpp"
#include "wdog/values.hpp"

namespace wdog {

namespace {

constexpr const char *section = "ping";

/// Longer than any legal value.
using Value = std::array<char, 2048>;

enum Index { failures, targets, interval, timeout, grace, action, script, limit };

bool is_action(const char *text) {
  return strcmp(text, "reboot") == 0 || strcmp(text, "network") == 0 || strcmp(text, "script") == 0;
}

ConfFile *open_section() {
  ConfFile *file = confOpen(path_of(File::settings));
  if (file != nullptr && confSection(file, section) == 0) return file;
  confClose(file);
  return nullptr;
}

/// The text of a setting, its preset when the file (which may be null) has none.
Value read(ConfFile *file, Index index) {
  const PingSetting &setting = ping_settings[index];
  Value value;
  if (file == nullptr || confRead(file, setting.key, value.data(), value.size()) != 0) {
    zol::copy_text(value, setting.preset);
  }
  return value;
}

int number(ConfFile *file, Index index) { return number_in(read(file, index).data()).value_or(0); }

const char *illegal_setting(ConfFile *file) {
  for (size_t index = 0; index < ping_settings.size(); ++index) {
    if (!ping_settings[index].is_legal(read(file, static_cast<Index>(index)).data())) return ping_settings[index].key;
  }
  return nullptr;
}

void take_targets(PingSettings &settings, const char *text) {
  for (settings.target_count = 0; *text != '\0'; ++settings.target_count) {
    const size_t length = strcspn(text, " ");
    settings.targets[static_cast<size_t>(settings.target_count)].set(text, length);
    text += length + strspn(text + length, " ");
  }
}

PingSettings::Action action_of(const char *text) {
  if (strcmp(text, "network") == 0) return PingSettings::Action::network;
  return strcmp(text, "script") == 0 ? PingSettings::Action::script : PingSettings::Action::reboot;
}

/// Why the settings, each of them legal, make no watchdog; null when they do.
const char *missing_setting(const PingSettings &settings) {
  if (settings.target_count == 0) return "targets";
  const bool needs_script = settings.action == PingSettings::Action::script;
  return needs_script && settings.script.is("") ? "script" : nullptr;
}

}  // namespace

const std::array<PingSetting, 8> ping_settings = {{
    {"failures", "0", [](const char *text) { return is_number(text, 0, 100); },
     "Rounds in a row without an answer that lead to the action, 0 to 100; 0: the watchdog is off."},
    {"targets", "", is_targets, "Who is asked: up to four names or addresses, with a blank between."},
    {"interval", "60", [](const char *text) { return is_number(text, 1, 3600); },
     "Seconds from one round to the next, 1 to 3600."},
    {"timeout", "5", [](const char *text) { return is_number(text, 1, 60); },
     "Seconds in which an answer is in time, 1 to 60."},
    {"grace", "300", [](const char *text) { return is_number(text, 0, 3600); },
     "Seconds of uptime before the first round, 0 to 3600."},
    {"action", "reboot", is_action, "reboot; network (restarts it); script (runs the script)."},
    {"script", "", is_script, "An absolute path. It is run without a shell and without arguments."},
    {"limit", "3", [](const char *text) { return is_number(text, 0, 100); },
     "Reboots after which only a line is logged, 0 to 100, until the device has been up for 24 hours."},
}};

std::optional<Schedule> stored_schedule() {
  Value text;
  zol::read_value(switch_key, text);
  if (zol::to_int32(text.data()) != 1) return Schedule{};
  zol::read_value(schedule_key, text);
  if (text[0] == '\0') return Schedule{};
  const std::optional<Schedule> schedule = parse_schedule(text.data());
  if (!schedule) zol::log_line("the stored schedule is not understood: %s", text.data());
  return schedule;
}

void read_ping_settings(PingSettings &settings) {
  ConfFile *file = open_section();
  settings.failures = 0;
  if (const char *illegal = illegal_setting(file)) {
    zol::log_line("%s: the ping watchdog is off: illegal value of %s", path_of(File::settings), illegal);
  } else {
    take_targets(settings, read(file, targets).data());
    settings.interval = number(file, interval);
    settings.timeout = number(file, timeout);
    settings.grace = number(file, grace);
    settings.action = action_of(read(file, action).data());
    settings.script.set(read(file, script).data());
    settings.limit = number(file, limit);
    settings.failures = number(file, failures);
    const char *missing = settings.is_on() ? missing_setting(settings) : nullptr;
    if (missing != nullptr) {
      zol::log_line("%s: the ping watchdog is off: no %s", path_of(File::settings), missing);
      settings.failures = 0;
    }
  }
  confClose(file);
}

bool make_settings_file() {
  const char *path = path_of(File::settings);
  if (access(path, F_OK) == 0) return true;
  std::array<char, 4096> text;
  size_t size = 0;
  const auto append = [&](const char *part) {
    zol::copy_text({text.data() + size, text.size() - size}, part);
    size += strlen(text.data() + size);
  };
  append(
      "# The ping watchdog of wdog(8). The schedule of reboots is not here: wdog keeps it in the value "
      "store.\n\n[ping]\n");
  for (const PingSetting &setting : ping_settings) {
    for (const char *part : {"# ", setting.comment, "\n", setting.key, "=", setting.preset, "\n"}) append(part);
  }
  return zol::replace_file(path, {text.data(), size}, -1) && chmod(path, 0644) == 0;
}

bool read_ping_setting(const PingSetting &setting, Text &text) {
  ConfFile *file = open_section();
  Value value;
  const bool found = file != nullptr && confRead(file, setting.key, value.data(), value.size()) == 0;
  confClose(file);
  return found && text.set(value.data());
}

bool write_ping_setting(const PingSetting &setting, const char *text) {
  ConfFile *file = make_settings_file() ? confOpen(path_of(File::settings)) : nullptr;
  if (file == nullptr) return false;
  const bool written = confAdd(file, section) == 0 && confWrite(file, setting.key, text) == 0;
  return confClose(file) == 0 && written;
}

}  // namespace wdog
