#include "wdog/device.hpp"

#include <array>
#include <cstdio>

#include "core/clock.hpp"
#include "core/text.hpp"
#include "core/value_store.hpp"
#include "wdog/clocks.hpp"
#include "wdog/daemon.hpp"
#include "wdog/history.hpp"
#include "wdog/programs.hpp"
#include "wdog/settings.hpp"
#include "wdog/uci.hpp"

namespace wdog {

namespace {

constexpr const char *host_name_key = "0.3.1";

/// How UCI keeps a value.
struct Option {
  Place place;
  /// With "%d" for the number of the radio.
  const char *name;
  /// What stands for y and n; null of a value that is no switch.
  const char *yes = nullptr;
  const char *no = nullptr;
  /// What counts when the option is missing.
  const char *preset = "";
};

constexpr Option options[] = {
    {Place::host_name, "system.@system[0].hostname"},
    {Place::lan_address, "network.lan.ipaddr"},
    {Place::netmask, "network.lan.netmask"},
    {Place::gateway, "network.lan.gateway"},
    {Place::radio_switch, "wireless.wifi%d.disabled", "0", "1", "y"},
    {Place::radio_channel, "wireless.wifi%d.channel"},
    {Place::snmp_switch, "snmpd.main.enabled", "1", "0", "n"},
    {Place::read_community, "snmpd.main.v2read"},
    {Place::write_community, "snmpd.main.v2write"},
    {Place::traps, "snmpd.main.trapen", "1", "0", "n"},
    {Place::trap_receiver, "snmpd.main.trapip"},
    {Place::trap_port, "snmpd.main.trapport"},
};

const Option &option_of(Place place) {
  const Option *option = options;
  while (option->place != place) ++option;
  return *option;
}

using Name = std::array<char, 64>;

/// The option's name with the radio's number in it.
Name name_of(const Option &option, int radio) {
  Name name;
  const char *number = strstr(option.name, "%d");
  if (number == nullptr) {
    zol::copy_text(name, option.name);
  } else {
    snprintf(name.data(), name.size(), "%.*s%d%s", static_cast<int>(number - option.name), option.name, radio,
             number + 2);
  }
  return name;
}

bool read_uci(Place place, int radio, Text &text) {
  const Option &option = option_of(place);
  Text stored;
  if (!read_option(name_of(option, radio).data(), stored)) {
    text.set(option.preset);
    return false;
  }
  if (option.yes == nullptr) return text.set(stored.get());
  const bool is_yes = stored.is(option.yes);
  const bool is_no = stored.is(option.no);
  text.set(is_yes ? "y" : is_no ? "n" : option.preset);
  return is_yes || is_no;
}

bool switch_snmp_script(const char *text) {
  const char *const words[] = {"/etc/init.d/snmpd", strcmp(text, "y") == 0 ? "enable" : "disable", nullptr};
  return run(words, nullptr) == 0;
}

/// What the objects over SNMP change along with an option is changed here too.
bool write_uci(Place place, int radio, const char *text) {
  const Option &option = option_of(place);
  if (place == Place::snmp_switch && !switch_snmp_script(text)) return false;
  if (place == Place::host_name && snmp_write2file(host_name_key, text) != 0) return false;
  const char *value = option.yes == nullptr ? text : strcmp(text, "y") == 0 ? option.yes : option.no;
  const auto name = name_of(option, radio);
  if (!write_option(name.data(), value)) return false;
  if (place != Place::host_name) return true;
  Text written;
  read_option(name.data(), written);
  return write_option(prints_quotes() ? "snmpd.@system[0].sysName" : "snmpd.cfg10e48a.sysName", text);
}

bool read_switch(Text &text) {
  std::array<char, 16> stored;
  zol::read_value(switch_key, stored);
  const bool is_on = zol::to_int32(stored.data()) == 1;
  text.set(is_on ? "y" : "n");
  return is_on || strcmp(stored.data(), "2") == 0;
}

bool read_schedule(Text &text) {
  std::array<char, 256> stored;
  zol::read_value(schedule_key, stored);
  return text.set(stored.data()) && stored[0] != '\0';
}

bool read_ping(int index, Text &text) {
  const PingSetting &setting = ping_settings[static_cast<size_t>(index)];
  if (read_ping_setting(setting, text)) return true;
  text.set(setting.preset);
  return false;
}

bool read(void * /*context*/, Place place, int index, Text &text) {
  if (place == Place::schedule_switch) return read_switch(text);
  if (place == Place::schedule) return read_schedule(text);
  return place == Place::ping ? read_ping(index, text) : read_uci(place, index, text);
}

bool write(void * /*context*/, Place place, int index, const char *text) {
  if (place == Place::schedule_switch) return snmp_write2file(switch_key, strcmp(text, "y") == 0 ? "1" : "2") == 0;
  if (place == Place::schedule) return snmp_write2file(schedule_key, text) == 0;
  if (place == Place::ping) return write_ping_setting(ping_settings[static_cast<size_t>(index)], text);
  return write_uci(place, index, text);
}

using Line = std::array<char, 320>;

Line last_reboot() {
  const History history = read_history();
  Line line{"-"};
  if (history.last != 0) {
    snprintf(line.data(), line.size(), "%s, %s", print_moment(history.last).data(), history.reason.data());
  }
  return line;
}

Line reboots() {
  Line line;
  snprintf(line.data(), line.size(), "%d", read_history().count);
  return line;
}

Line process() {
  const pid_t daemon = find_daemon();
  Line line{"-"};
  if (daemon != -1) snprintf(line.data(), line.size(), "%d", static_cast<int>(daemon));
  return line;
}

Line uptime() {
  Line line;
  getTimeString(static_cast<int32_t>(read_clocks().uptime), line.data(), line.size());
  return line;
}

Line forecast(const Schedule &schedule) {
  Line line{"-"};
  if (schedule.kind == Schedule::Kind::off) return line;
  const Moment now = read_clocks();
  zol::copy_text(line, print_moment(next_reboot(schedule, now.wall, now.uptime)).data());
  return line;
}

Line running_schedule() {
  Line line;
  zol::copy_text(line, print_schedule(stored_schedule().value_or(Schedule{})).data());
  return line;
}

Line ping_state() {
  PingSettings settings;
  read_ping_settings(settings);
  return settings.is_on() ? Line{"on"} : Line{"off"};
}

Line fact_of(Fact fact, const Schedule &edited) {
  switch (fact) {
    case Fact::next_reboot:
      return forecast(edited);
    case Fact::last_reboot:
      return last_reboot();
    case Fact::process:
      return process();
    case Fact::uptime:
      return uptime();
    case Fact::schedule:
      return running_schedule();
    case Fact::ping:
      return ping_state();
    case Fact::count:
      return reboots();
  }
  return {};
}

void tell(void * /*context*/, Fact fact, const Schedule &edited, Text &text) { text.set(fact_of(fact, edited).data()); }

}  // namespace

Backend device_values() {
  return {nullptr, [](void *) { return count_radios(); }, read, write, tell};
}

}  // namespace wdog
