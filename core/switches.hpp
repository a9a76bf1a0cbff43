#pragma once

// What goes beyond the plain tree is switched by tokens of the agent's configuration, all of them in one table.

#include <atomic>
#include <cstdint>
#include <span>

namespace zol {

/// One token. Without its line, and again when a configuration that is read anew lacks it, the default holds.
struct Switch {
  const char *name;
  /// The words it takes, separated by '|' (the value is the word's place), or "LOW..HIGH" for a number.
  const char *values;
  int32_t initial;
  /// For the manual page.
  const char *sentence;
  std::atomic<int32_t> *value;
};

std::span<const Switch> switches();

/// Has the agent read the tokens; taking them back restores the defaults.
void add_switches();
void remove_switches();

/// Seconds that a reader waits for its command at most; 0 waits for ever.
int32_t deadline_seconds();
/// Whether what `uci` has printed is kept while the configuration stays as it is.
bool reuse_is_on();
/// Whether texts that come from outside are quoted for the shell.
bool guard_is_on();
/// Whether the objects beside the tree, and the notifications with names of their own, are there.
bool extensions_are_on();
/// Seconds between two collections of the stations.
int32_t collect_seconds();

enum class Notifications : uint8_t { generic, named, both };
/// In which form a station that comes or goes is announced.
Notifications notifications();

}  // namespace zol
