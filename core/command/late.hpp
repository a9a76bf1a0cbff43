#pragma once

// Commands that hang. What is known of them decides how long the next ones may take, so that an agent with a hundred
// hung objects is not deaf for a hundred deadlines, and a program that answers again is believed again.

#include <cstdint>
#include <optional>

namespace zol::late {

/// How many milliseconds `text` may take when its deadline is `deadline_ms` (0: for ever); nothing when it is not to be
/// started, because it, or its program, was late a moment ago.
std::optional<int64_t> time_for(const char *text, int64_t deadline_ms);

/// Remembers that `text` was not ready after `waited_ms`, of the deadline that it asked for.
void remember(const char *text, int64_t waited_ms, int64_t deadline_ms);

/// Remembers that `text` was ready in time.
void clear(const char *text);

/// Forgets everything.
void forget_all();

}  // namespace zol::late
