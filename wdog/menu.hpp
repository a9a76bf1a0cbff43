#pragma once

// The configuration menu: what a key does, and what the screen shows then. It touches nothing itself; values come from
// and go to a `Backend`.

#include <array>
#include <cstdio>

#include "wdog/schedule.hpp"
#include "wdog/text.hpp"

namespace wdog {

/// What can be set.
enum class Place {
  schedule_switch,
  schedule,
  ping,
  host_name,
  lan_address,
  netmask,
  gateway,
  radio_switch,
  radio_channel,
  snmp_switch,
  read_community,
  write_community,
  traps,
  trap_receiver,
  trap_port,
};

/// What is only shown.
enum class Fact { next_reboot, last_reboot, process, uptime, schedule, ping, count };

/// Where values are kept. All functions get `context`.
struct Backend {
  void *context;
  int (*count_radios)(void *context);
  /// What a value is. False when it is not stored so: it is the one that counts without any. `index` is the number of
  /// the radio or of the ping setting.
  bool (*read)(void *context, Place place, int index, Text &text);
  /// False when it cannot be stored.
  bool (*write)(void *context, Place place, int index, const char *text);
  /// @param edited the schedule as it stands in the menu
  void (*tell)(void *context, Fact fact, const Schedule &edited, Text &text);
};

class Menu {
 public:
  static constexpr int pages = 7;
  static constexpr int most_items = 16;

  explicit Menu(const Backend &backend) : backend_(backend) {}

  /// Takes a line: a command, or the value of the item that was chosen before.
  void key(const char *line);

  [[nodiscard]] bool has_ended() const { return has_ended_; }
  /// Whether the last key was refused, or not all could be saved.
  [[nodiscard]] bool has_refused() const { return refusal_count_ > 0; }
  [[nodiscard]] bool asks_for_help() const { return asks_for_help_; }
  /// Whether the last key has saved everything.
  [[nodiscard]] bool has_saved() const { return has_saved_; }
  /// Whether the last key has saved what the process in the background goes by.
  [[nodiscard]] bool has_changed_monitor() const { return has_changed_monitor_; }
  [[nodiscard]] bool has_unsaved() const;
  /// Whether the next line is a value.
  [[nodiscard]] bool wants_value() const { return chosen_ >= 0; }

  void print(FILE *file) const;

 private:
  struct Value {
    Text stored;
    Text now;
    bool is_stored = false;
    bool is_set = false;
  };
  using Label = std::array<char, 64>;

  [[nodiscard]] int item_count(int page) const;
  [[nodiscard]] const char *label(int page, int item, Label &made) const;
  [[nodiscard]] Schedule edited_schedule() const;
  void refuse(const char *reason);
  void refuse(int page, int item, const char *reason);

  void command(const char *text);
  void number(const char *text);
  void enter(int page);
  void load_schedule();
  void set(int item, const char *text);
  void save();
  void save_schedule();
  void save_item(int page, int item);

  Backend backend_;
  int page_ = 0;
  int chosen_ = -1;
  int radios_ = 0;
  std::array<std::array<Value, most_items>, pages> values_;
  /// "--by-time=HH:MM", of which the menu shows the parts.
  Text schedule_;
  bool has_ended_ = false;
  bool asks_for_help_ = false;
  bool has_saved_ = false;
  bool has_changed_monitor_ = false;
  std::array<std::array<char, 256>, 8> refusals_;
  size_t refusal_count_ = 0;
};

}  // namespace wdog
