#pragma once

// The guard: with the switch on, a text that is set reaches its program as it was sent, or is refused before anything
// has run. Quoting is the affair of core/command/text; here stands what cannot be quoted.

#include <cstddef>
#include <cstdint>
#include <span>

namespace zol {

/// Whether a text may be set as far as its own object knows; asked with the guard on only.
using GuardCheck = bool(const char *text, size_t length);

/// No control characters (0x00 to 0x1f, 0x7f): what holds for every text.
bool has_no_control_characters(const char *text, size_t length);

/// Whether the guard lets a text through. A refusal is logged, without the text, and counted.
/// @param check what else is asked of the text; may be null
bool guard_lets_through(const char *object, const unsigned char *bytes, size_t length, GuardCheck *check);

/// How many texts the guard has refused; wraps.
uint32_t guard_refusals();

/// Is told the object of every refusal, on the agent's thread; null tells nobody.
using RefusalObserver = void(const char *object);
void tell_refusals_to(RefusalObserver *observer);

/// Writes `text` so that `echo -e` prints it as it is. Without the guard a plain copy; cut where it is too long.
void escape_for_echo(std::span<char> target, const char *text);

/// Writes `text` as a part of a URL: all but letters, digits and `_ . -` as "%XX", and '/' too unless it is `path`.
/// Without the guard a plain copy; cut where it is too long.
void escape_for_url(std::span<char> target, const char *text, bool path);

}  // namespace zol
