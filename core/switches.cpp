#include "core/switches.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "core/net_snmp.hpp"
#include "core/text.hpp"

namespace zol {

namespace {

constinit std::atomic<int32_t> deadline = 5;
constinit std::atomic<int32_t> reuse = 0;
constinit std::atomic<int32_t> guard = 0;
constinit std::atomic<int32_t> notification_form = 0;
constinit std::atomic<int32_t> extensions = 1;
constinit std::atomic<int32_t> collect = 11;

constexpr Switch table[] = {
    {"zolarcDeadline", "0..3600", 5,
     "How many seconds an object waits for its command before it answers noSuchInstance; 0 waits for ever.", &deadline},
    {"zolarcReuse", "no|yes", 0,
     "Keeps what uci has printed as long as the configuration files and their staged changes stay as they were, and "
     "runs no command twice within one collection of the stations.",
     &reuse},
    {"zolarcGuard", "no|yes", 0,
     "Quotes every text that a manager sets, so that it reaches its program as it was sent and is never shell syntax.",
     &guard},
    {"zolarcNotifications", "generic|named|both", 0,
     "Announces stations that come and go by the generic traps, by the notifications with names, or by both.",
     &notification_form},
    {"zolarcExtensions", "no|yes", 1,
     "Adds the objects beside the tree: the table of all stations, the agent's own health, the notifications.",
     &extensions},
    {"zolarcCollect", "1..3600", 11, "How many seconds lie between two collections of all stations.", &collect},
};

/// The number that `text` stands for, or nothing when the token does not take it.
std::optional<int32_t> value_of(const Switch &which, const char *text) {
  if (const char *dots = strstr(which.values, "..")) {
    char *end = nullptr;
    const long number = strtol(text, &end, 10);
    const bool fits = end != text && *end == '\0' && number >= to_int32(which.values) && number <= to_int32(dots + 2);
    return fits ? std::optional(static_cast<int32_t>(number)) : std::nullopt;
  }
  char word[16];
  for (unsigned place = 0; copy_field(word, which.values, place, '|'); ++place) {
    if (strcmp(word, text) == 0) return static_cast<int32_t>(place);
  }
  return std::nullopt;
}

void parse(const char *token, char *line) {
  char text[16] = "";
  scan_word(text, line);
  for (const Switch &which : table) {
    if (strcasecmp(which.name, token) != 0) continue;
    if (const auto value = value_of(which, text)) {
      *which.value = *value;
    } else {
      char complaint[96];
      snprintf(complaint, sizeof complaint, "%s takes %s, not '%s'", which.name, which.values, text);
      config_perror(complaint);
    }
  }
}

void restore_defaults() {
  for (const Switch &which : table) *which.value = which.initial;
}

bool registered = false;

}  // namespace

std::span<const Switch> switches() { return table; }

void add_switches() {
  remove_switches();
  for (const Switch &which : table) {
    // One release of all is enough: it runs before a configuration is read again.
    snmpd_register_config_handler(which.name, parse, &which == table ? restore_defaults : nullptr, which.values);
  }
  registered = true;
}

void remove_switches() {
  if (!registered) return;
  registered = false;
  for (const Switch &which : table) snmpd_unregister_config_handler(which.name);
  restore_defaults();
}

int32_t deadline_seconds() { return deadline; }
bool reuse_is_on() { return reuse != 0; }
bool guard_is_on() { return guard != 0; }
bool extensions_are_on() { return extensions != 0; }
int32_t collect_seconds() { return collect; }
Notifications notifications() { return static_cast<Notifications>(notification_form.load()); }

}  // namespace zol
