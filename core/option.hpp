#pragma once

// UCI options: the one way from a line of `uci show` to the value in it, and the one place that stores a value.

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "core/address.hpp"
#include "core/command.hpp"
#include "core/export.hpp"
#include "core/function_ref.hpp"

extern "C" {

/// Reads one UCI option with "uci show -q <key>". The text is what stands between the line's first "=" and its next
/// one; a line is read up to 4095 characters.
/// @param key the full key, for example "apc.setting.apcLoadFlag" or "vlan.@vlan[0].priority"
/// @param out 4096 bytes, or one more than the longest text the option can hold; empty without the option
/// @return 0; -1 when the option is missing or the command cannot be started
ZOL_EXPORT int services_get_string(const char *key, char *out);
}

namespace zol {

/// What most switches answer and take.
constexpr int32_t on = 1;
constexpr int32_t off = 2;

/// Fewer characters than this, the newline included, hold no answer.
constexpr size_t shortest_line = 6;

/// The value in a line "<option>=<value>".
class Value {
 public:
  /// What of the line is looked at.
  using Part = const char *(Value::*)() const;

  explicit Value(const char *line);

  [[nodiscard]] const char *line() const { return line_; }
  /// The second field of the line split at "=", where several in a row count as one; empty when there is none.
  [[nodiscard]] const char *text() const { return text_.data(); }
  /// All that follows the first "="; empty when there is none.
  [[nodiscard]] const char *rest() const;
  [[nodiscard]] bool is(const char *text, Part part = &Value::text) const;
  /// The number that it begins with, if it does.
  [[nodiscard]] std::optional<int32_t> number(Part part = &Value::text) const;
  /// Whether the line holds `part`, wherever it stands.
  [[nodiscard]] bool in_line_with(const char *part) const;

 private:
  const char *line_;
  std::array<char, 256> text_{};
};

// The readers answer what get_X returns: 0, or -1 when the command could not be started.

/// `services_get_string` with a bound; an option that is missing reads as an empty text.
int read_option(const char *key, std::span<char> text);

/// The number in the first line; `preset` without one.
int read_number(LineReader &&output, int32_t preset, int32_t *number, Value::Part part = &Value::text);

/// The number in the first line that holds `marker`; `preset` without one.
int find_number(LineReader &&output, const char *marker, int32_t preset, int32_t *number,
                Value::Part part = &Value::text);

/// `on` for "1" and `off` for "0", by the last line that says either, up to one that has fewer than `shortest`
/// characters; `preset` without one.
int read_flag(LineReader &&output, int32_t preset, int32_t *state, size_t shortest = 0,
              Value::Part part = &Value::text);

/// `on` when a line holds `enabled`, else `off`.
int read_switch(LineReader &&output, const char *enabled, int32_t *state);

// The same for anything else: `take` is called with the value of each line that counts.

using TakeValue = FunctionRef<void(const Value &)>;

/// The first line, unless it has fewer than `shortest` characters.
int take_first(LineReader &&output, TakeValue take, size_t shortest = 0);

/// The first line that holds `marker`.
int take_found(LineReader &&output, const char *marker, TakeValue take);

/// Every line, up to one that has fewer than `shortest` characters.
int take_all(LineReader &&output, TakeValue take, size_t shortest = 0);

/// The full name of an option, "<package>.<section>.<option>", put together as printf does, of at most 95 characters.
/// It stands in commands as it is: its parts are the library's own words and numbers, never a manager's text.
class OptionName {
 public:
  [[gnu::format(printf, 2, 3)]] explicit OptionName(const char *format, ...);
  // NOLINTNEXTLINE(google-explicit-constructor): it stands where a name without numbers is a literal
  operator const char *() const { return text(); }
  [[nodiscard]] const char *text() const { return text_.data(); }

 private:
  std::array<char, 96> text_;
};

// The writers run "uci set <option>=<value>;uci commit <package>" and answer 0 always: what a command answers is told
// to nobody.

int store_number(const char *option, int32_t number);
/// 1 for `on` and 0 for `off`; nothing is run for another state.
int store_switch(const char *option, int32_t state);
/// The text stands in the command as it is, without quotes: a blank ends it, and what the shell reads in it counts; it
/// is meant so.
int store_word(const char *option, const char *word);
/// The text stands between single quotes as it is: a quote in it ends them; it is meant so.
int store_text(const char *option, const char *text);
int store_address(const char *option, Ipv4 address);
/// A list of two addresses.
int store_addresses(const char *option, Ipv4 first, Ipv4 second);

}  // namespace zol
