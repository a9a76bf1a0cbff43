#pragma once

// How the services' objects read and write UCI options: each form that only they share stands here once.

#include <array>
#include <cstdint>

#include "core/address.hpp"
#include "core/command.hpp"
#include "core/option.hpp"

namespace zol::services {

/// Takes the address "a.b.c.d" that `text` begins with; `address` is left as it was when there is none.
void take_address(const char *text, Ipv4 *address);

/// The address in the last line, up to a short one; `address` is left as it was when no line holds one.
/// @return 0, or -1 when the command could not be started
int read_address(LineReader &&output, Ipv4 *address);

/// A list holds at most 256 characters.
constexpr size_t list_size = 257;

/// Takes a list, whose entries UCI separates by blanks and managers by ";". `list`, of `list_size` bytes, is left as it
/// was when the line has no value.
void take_list(const Value &value, char *list);

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

/// A setting that is changed by one command line for each of its states.
struct Switch {
  const char *turn_on;
  const char *turn_off;

  /// Runs nothing for a state other than `on` and `off`. @return 0 always
  int operator()(int32_t state) const;
};

}  // namespace zol::services
