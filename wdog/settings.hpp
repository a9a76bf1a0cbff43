#pragma once

// What is configured: the schedule in the value store, the ping watchdog in wdog.conf.

#include <array>
#include <optional>

#include "wdog/schedule.hpp"
#include "wdog/text.hpp"

namespace wdog {

/// Keys of the value store.
constexpr const char *switch_key = "0.3.19";
constexpr const char *schedule_key = "0.3.20";

/// The schedule by which the device is to reboot; nothing, and a line in the log, when it is switched on and cannot be
/// understood.
std::optional<Schedule> stored_schedule();

/// One setting of the ping watchdog, in the order of its menu.
struct PingSetting {
  const char *key;
  const char *preset;
  bool (*is_legal)(const char *);
  /// What the file says about it.
  const char *comment;
};
extern const std::array<PingSetting, 8> ping_settings;

struct PingSettings {
  enum class Action { reboot, network, script };
  static constexpr int most_targets = 4;

  int failures = 0;
  std::array<Text, most_targets> targets;
  int target_count = 0;
  /// In seconds; the last is one of uptime.
  int interval = 0;
  int timeout = 0;
  int grace = 0;
  Action action = Action::reboot;
  Text script;
  int limit = 0;

  [[nodiscard]] bool is_on() const { return failures > 0; }
};

/// Reads them from wdog.conf. What is illegal switches the watchdog off, with a line in the log.
void read_ping_settings(PingSettings &settings);

/// Makes wdog.conf with its presets when it is missing. False when it cannot.
bool make_settings_file();

/// A setting as the file has it. False when it has none.
bool read_ping_setting(const PingSetting &setting, Text &text);
bool write_ping_setting(const PingSetting &setting, const char *text);

}  // namespace wdog
