#pragma once

// How the services' objects read and write UCI options: each form that several objects share stands here once.

#include <array>
#include <cstdint>

#include "core/address.hpp"
#include "core/command.hpp"

namespace zol::services {

/// What switches answer and take.
constexpr int32_t on = 1;
constexpr int32_t off = 2;

/// Where a short line ends the reading: fewer characters than this, the newline included.
constexpr size_t shortest_line = 6;

/// The value in the line that `output` stands at: what follows "=", up to another "="; empty when there is none.
class Value {
 public:
  explicit Value(const LineReader &output);
  [[nodiscard]] const char *text() const { return text_.data(); }
  [[nodiscard]] bool is(const char *text) const;

 private:
  std::array<char, 256> text_{};
};

/// Takes the address "a.b.c.d" that `text` begins with; `address` is left as it was when there is none.
void take_address(const char *text, Ipv4 *address);

// The readers answer 0, or -1 when the command could not be started.

/// The address in the last line, up to a short one; `address` is left as it was when no line holds one.
int read_address(LineReader &&output, Ipv4 *address);

/// The number in the first line, 0 without one.
int read_number(LineReader &&output, int32_t *number);

/// `on` when a line contains `enabled`, else `off`.
int read_switch(LineReader &&output, const char *enabled, int32_t *state);

/// A list holds at most 256 characters.
constexpr size_t list_size = 257;

/// The value in the line that `output` stands at as a list, whose entries UCI separates by blanks and managers by ";".
/// `list`, of `list_size` bytes, is left as it was when the line has no value.
void take_list(const LineReader &output, char *list);

/// Reads a text when its module is started.
template <auto get, auto &text>
bool read_first() {
  get(text);
  return true;
}

/// Reads a number that only the start of its module reads; the module does not register when that cannot be done.
template <auto read, auto &number>
bool must_read_first() {
  return read(&number) == 0;
}

// The writers answer 0 always: what a command answers is told to nobody.

/// Runs "uci set <option>=<value>;uci commit <package>"; the package is the option's first part.
int store_number(const char *option, int32_t value);
int store_address(const char *option, Ipv4 address);

/// A setting that is changed by one command line for each of its states.
struct Switch {
  const char *turn_on;
  const char *turn_off;

  /// Runs nothing for a state other than `on` and `off`.
  int operator()(int32_t state) const;
};

}  // namespace zol::services
