#pragma once

// Which texts are legal values.

#include <cstddef>
#include <optional>

namespace wdog {

/// A decimal number of at most 9 digits and nothing else.
std::optional<int> number_in(const char *text);

bool is_number(const char *text, int low, int high);

/// "HH:MM" as minutes since midnight.
std::optional<int> time_of_day(const char *text);

/// Hours between reboots: 1 to 23, in one or two digits.
std::optional<int> hours_in(const char *text);

bool is_time(const char *text);
bool is_hours(const char *text);

/// "y" or "n"
bool is_switch(const char *text);

/// An IPv4 address.
bool is_address(const char *text);
bool is_netmask(const char *text);

/// At most four names or addresses, each followed by one blank or more but the last.
bool is_targets(const char *text);

/// An absolute path, or nothing.
bool is_script(const char *text);

/// Between `shortest` and `longest` bytes, none of them a control character.
bool is_line(const char *text, size_t shortest, size_t longest);

}  // namespace wdog
