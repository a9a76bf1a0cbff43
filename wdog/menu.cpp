#include "wdog/menu.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <span>

#include "core/label.hpp"
#include "wdog/settings.hpp"
#include "wdog/values.hpp"

namespace wdog {

namespace {

struct Item {
  Place place;
  /// Null of what is only shown.
  bool (*accepts)(const char *);
  /// The key of the text that says what is accepted.
  const char *expectation;
  Fact fact = Fact::next_reboot;
  bool is_secret = false;
};

bool is_kind(const char *text) { return strcmp(text, "time") == 0 || strcmp(text, "hours") == 0; }
bool is_name(const char *text) { return is_line(text, 1, 32); }
bool is_community(const char *text) { return is_line(text, 1, 64); }
bool is_channel(const char *text) { return strcmp(text, "auto") == 0 || is_number(text, 1, 255); }
bool is_port(const char *text) { return is_number(text, 0, 65535); }

template <size_t index>
bool is_ping_setting(const char *text) {
  return ping_settings[index].is_legal(text);
}

enum TaskItem { kind, time, hours, next, last, task_switch };

constexpr Item task_items[] = {
    {Place::schedule, is_kind, "wdog.bad.kind"},
    {Place::schedule, is_time, "wdog.bad.time"},
    {Place::schedule, is_hours, "wdog.bad.hours"},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::next_reboot},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::last_reboot},
    {Place::schedule_switch, is_switch, "wdog.bad.switch"},
};

constexpr Item ping_items[] = {
    {Place::ping, is_ping_setting<0>, "wdog.bad.failures"}, {Place::ping, is_ping_setting<1>, "wdog.bad.targets"},
    {Place::ping, is_ping_setting<2>, "wdog.bad.interval"}, {Place::ping, is_ping_setting<3>, "wdog.bad.timeout"},
    {Place::ping, is_ping_setting<4>, "wdog.bad.grace"},    {Place::ping, is_ping_setting<5>, "wdog.bad.action"},
    {Place::ping, is_ping_setting<6>, "wdog.bad.script"},   {Place::ping, is_ping_setting<7>, "wdog.bad.limit"},
};

constexpr Item address_items[] = {
    {Place::host_name, is_name, "wdog.bad.name"},
    {Place::lan_address, is_address, "wdog.bad.address"},
    {Place::netmask, is_netmask, "wdog.bad.netmask"},
    {Place::gateway, is_address, "wdog.bad.address"},
};

/// Of every radio.
constexpr Item radio_items[] = {
    {Place::radio_switch, is_switch, "wdog.bad.switch"},
    {Place::radio_channel, is_channel, "wdog.bad.channel"},
};

constexpr Item snmp_items[] = {
    {Place::snmp_switch, is_switch, "wdog.bad.switch"},
    {Place::read_community, is_community, "wdog.bad.community", Fact::next_reboot, true},
    {Place::write_community, is_community, "wdog.bad.community", Fact::next_reboot, true},
    {Place::traps, is_switch, "wdog.bad.switch"},
    {Place::trap_receiver, is_address, "wdog.bad.address"},
    {Place::trap_port, is_port, "wdog.bad.port"},
};

constexpr Item state_items[] = {
    {Place::schedule, nullptr, "wdog.bad.told", Fact::process},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::uptime},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::schedule},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::ping},
    {Place::schedule, nullptr, "wdog.bad.told", Fact::count},
};

constexpr int task_page = 1;
constexpr int ping_page = 2;
constexpr int radio_page = 4;

constexpr std::span<const Item> pages_items[Menu::pages] = {{},          task_items, ping_items, address_items,
                                                            radio_items, snmp_items, state_items};

const Item &item_of(int page, int item) {
  const std::span<const Item> items = pages_items[page];
  return items[static_cast<size_t>(page == radio_page ? item % 2 : item)];
}

/// The number of the radio or of the ping setting, 0 of anything else.
int index_of(int page, int item) { return page == radio_page ? item / 2 : page == ping_page ? item : 0; }

bool is_blank(char character) { return isspace(static_cast<unsigned char>(character)) != 0; }

/// Whether a line says just this, but for blanks around it.
bool says(const char *line, const char *word) {
  while (is_blank(*line)) ++line;
  const size_t length = strlen(word);
  if (strncmp(line, word, length) != 0) return false;
  return std::all_of(line + length, line + strlen(line), is_blank);
}

void print_value(FILE *file, const char *value) {
  for (; *value != '\0'; ++value) fputc(iscntrl(static_cast<unsigned char>(*value)) != 0 ? '?' : *value, file);
}

}  // namespace

int Menu::item_count(int page) const {
  if (page == 0) return pages - 1;
  return page == radio_page ? std::min(2 * radios_, most_items) : static_cast<int>(pages_items[page].size());
}

const char *Menu::label(int page, int item, Label &made) const {
  if (item < 0) {
    snprintf(made.data(), made.size(), "wdog.%d", page);
  } else {
    snprintf(made.data(), made.size(), "wdog.%d.%d", page, item + 1);
  }
  if (const char *text = zol::find_label(made.data())) return text;
  snprintf(made.data(), made.size(), "wifi%d %s", item / 2, item % 2 == 0 ? "switch (y, n)" : "channel");
  return made.data();
}

Schedule Menu::edited_schedule() const {
  const auto &values = values_[task_page];
  const bool by_hour = values[kind].now.is("hours");
  Schedule schedule;
  if (const auto number = by_hour ? hours_in(values[hours].now.get()) : time_of_day(values[time].now.get())) {
    schedule = {by_hour ? Schedule::Kind::by_hour : Schedule::Kind::by_time, *number};
  }
  return schedule;
}

void Menu::refuse(const char *reason) {
  if (refusal_count_ == refusals_.size()) return;
  auto &line = refusals_[refusal_count_++];
  snprintf(line.data(), line.size(), "%s", zol_label(reason));
}

void Menu::refuse(int page, int item, const char *reason) {
  if (refusal_count_ == refusals_.size()) return;
  Label made;
  auto &line = refusals_[refusal_count_++];
  snprintf(line.data(), line.size(), "%s: %s", label(page, item, made), zol_label(reason));
}

bool Menu::has_unsaved() const {
  return std::any_of(values_.begin(), values_.end(), [](const auto &page) {
    return std::any_of(page.begin(), page.end(), [](const Value &value) { return value.is_set; });
  });
}

void Menu::key(const char *line) {
  refusal_count_ = 0;
  asks_for_help_ = has_saved_ = has_changed_monitor_ = false;
  if (chosen_ >= 0) {
    const int item = chosen_;
    chosen_ = -1;
    set(item, line);
  } else {
    command(line);
  }
}

void Menu::command(const char *text) {
  while (is_blank(*text)) ++text;
  if (*text == '\0') return;
  if (says(text, "~")) {
    page_ = 0;
  } else if (says(text, "e")) {
    has_ended_ = true;
  } else if (says(text, "?")) {
    asks_for_help_ = true;
  } else if (says(text, "s")) {
    save();
  } else if (isdigit(static_cast<unsigned char>(*text)) != 0) {
    number(text);
  } else {
    refuse("wdog.bad.key");
  }
}

/// "n" or "n:value"
void Menu::number(const char *text) {
  constexpr size_t most_digits = 3;
  const size_t digits = strspn(text, "0123456789");
  const bool has_value = text[digits] == ':';
  const int item = digits <= most_digits ? atoi(text) - 1 : -1;
  if (!has_value && !says(text + digits, "")) {
    refuse("wdog.bad.key");
  } else if (item < 0 || item >= item_count(page_) || (has_value && page_ == 0)) {
    refuse("wdog.bad.number");
  } else if (page_ == 0) {
    enter(item + 1);
  } else if (item_of(page_, item).accepts == nullptr) {
    refuse(page_, item, item_of(page_, item).expectation);
  } else if (has_value) {
    set(item, text + digits + 1);
  } else {
    chosen_ = item;
  }
}

/// What was set and not saved stays as it is.
void Menu::enter(int page) {
  page_ = page;
  if (page == radio_page) radios_ = backend_.count_radios(backend_.context);
  if (page == task_page) load_schedule();
  for (int item = 0; item < item_count(page); ++item) {
    const Item &described = item_of(page, item);
    Value &value = values_[static_cast<size_t>(page)][static_cast<size_t>(item)];
    if (described.accepts == nullptr || described.place == Place::schedule || value.is_set) continue;
    value.is_stored = backend_.read(backend_.context, described.place, index_of(page, item), value.stored);
    value.now.set(value.stored.get());
  }
}

void Menu::load_schedule() {
  auto &values = values_[task_page];
  if (values[kind].is_set || values[time].is_set || values[hours].is_set) return;
  backend_.read(backend_.context, Place::schedule, 0, schedule_);
  const char *equals = strchr(schedule_.get(), '=');
  const char *when = equals == nullptr ? "" : equals + 1;
  const bool by_hour = strncmp(schedule_.get(), "--by-hour=", strlen("--by-hour=")) == 0;
  values[kind].now.set(by_hour ? "hours" : "time");
  values[time].now.set(by_hour ? "" : when);
  values[hours].now.set(by_hour ? when : "");
}

void Menu::set(int item, const char *text) {
  const Item &described = item_of(page_, item);
  Value &value = values_[static_cast<size_t>(page_)][static_cast<size_t>(item)];
  if (!described.accepts(text)) {
    refuse(page_, item, described.expectation);
  } else if (!value.now.set(text)) {
    refuse(page_, item, "wdog.bad.memory");
  } else {
    value.is_set = true;
  }
}

void Menu::save() {
  save_schedule();
  for (int page = 1; page < pages; ++page) {
    for (int item = 0; item < item_count(page); ++item) save_item(page, item);
  }
  has_saved_ = refusal_count_ == 0;
}

void Menu::save_schedule() {
  auto &values = values_[task_page];
  if (!values[kind].is_set && !values[time].is_set && !values[hours].is_set) return;
  const Schedule schedule = edited_schedule();
  if (schedule.kind == Schedule::Kind::off) {
    refuse("wdog.bad.schedule");
    return;
  }
  const auto text = print_schedule(schedule);
  // The same schedule may be stored in other words, such as --by-hour=09.
  if (parse_schedule(schedule_.get()) != schedule) {
    if (!backend_.write(backend_.context, Place::schedule, 0, text.data()) || !schedule_.set(text.data())) {
      refuse(task_page, kind, "wdog.bad.save");
      return;
    }
    has_changed_monitor_ = true;
  }
  for (const TaskItem item : {kind, time, hours}) values[item].is_set = false;
  load_schedule();
}

void Menu::save_item(int page, int item) {
  Value &value = values_[static_cast<size_t>(page)][static_cast<size_t>(item)];
  const Item &described = item_of(page, item);
  if (!value.is_set || described.place == Place::schedule) return;
  const bool switches_on = described.place == Place::schedule_switch && value.now.is("y");
  if (switches_on && !parse_schedule(schedule_.get())) {
    refuse("wdog.bad.schedule");
    return;
  }
  if (!value.is_stored || !value.stored.is(value.now.get())) {
    if (!backend_.write(backend_.context, described.place, index_of(page, item), value.now.get())) {
      refuse(page, item, "wdog.bad.save");
      return;
    }
    has_changed_monitor_ |= page == task_page || page == ping_page;
  }
  value.is_stored = value.stored.set(value.now.get());
  value.is_set = false;
}

void Menu::print(FILE *file) const {
  Label made;
  const char *title = label(page_, -1, made);
  if (page_ == 0) {
    fprintf(file, "[~] %s\n", title);
  } else {
    fprintf(file, "[%d] %s\n", page_, title);
  }
  for (size_t i = 0; i < refusal_count_; ++i) fprintf(file, "! %s\n", refusals_[i].data());
  for (int item = 0; item < item_count(page_); ++item) {
    if (page_ == 0) {
      fprintf(file, "%d. %s\n", item + 1, label(item + 1, -1, made));
      continue;
    }
    const Item &described = item_of(page_, item);
    Text fact;
    const Text &value = values_[static_cast<size_t>(page_)][static_cast<size_t>(item)].now;
    const Schedule next_schedule = values_[task_page][task_switch].now.is("y") ? edited_schedule() : Schedule{};
    if (described.accepts == nullptr) backend_.tell(backend_.context, described.fact, next_schedule, fact);
    fprintf(file, "%d. %s: ", item + 1, label(page_, item, made));
    const char *shown = described.accepts == nullptr ? fact.get() : value.get();
    print_value(file, described.is_secret && *shown != '\0' ? "*" : shown);
    fputc('\n', file);
  }
  fputc('\n', file);
}

}  // namespace wdog
