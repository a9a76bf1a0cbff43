#include "wdog/values.hpp"

#include <arpa/inet.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace wdog {

namespace {

bool is_digit(char character) { return character >= '0' && character <= '9'; }

bool is_in_target(char character) {
  return isalnum(static_cast<unsigned char>(character)) != 0 || strchr(".:-_%", character) != nullptr;
}

}  // namespace

std::optional<int> number_in(const char *text) {
  const size_t digits = strspn(text, "0123456789");
  if (digits == 0 || digits > 9 || text[digits] != '\0') return std::nullopt;
  return static_cast<int>(strtol(text, nullptr, 10));
}

bool is_number(const char *text, int low, int high) {
  const std::optional<int> number = number_in(text);
  return number && *number >= low && *number <= high;
}

std::optional<int> time_of_day(const char *text) {
  if (strlen(text) != strlen("HH:MM") || text[2] != ':') return std::nullopt;
  for (const int at : {0, 1, 3, 4}) {
    if (!is_digit(text[at])) return std::nullopt;
  }
  const auto pair = [&](int at) { return 10 * (text[at] - '0') + text[at + 1] - '0'; };
  if (pair(0) > 23 || pair(3) > 59) return std::nullopt;
  return 60 * pair(0) + pair(3);
}

std::optional<int> hours_in(const char *text) {
  return strlen(text) <= 2 && is_number(text, 1, 23) ? number_in(text) : std::nullopt;
}

bool is_time(const char *text) { return time_of_day(text).has_value(); }
bool is_hours(const char *text) { return hours_in(text).has_value(); }
bool is_switch(const char *text) { return strcmp(text, "y") == 0 || strcmp(text, "n") == 0; }

bool is_address(const char *text) {
  in_addr address{};
  return inet_pton(AF_INET, text, &address) == 1;
}

bool is_netmask(const char *text) {
  in_addr address{};
  if (inet_pton(AF_INET, text, &address) != 1) return false;
  const uint32_t hosts = ~ntohl(address.s_addr);
  return (hosts & (hosts + 1)) == 0;
}

bool is_targets(const char *text) {
  constexpr int most = 4;
  constexpr size_t longest = 253;
  int count = 0;
  for (const char *at = text; *at != '\0'; ++count) {
    size_t length = 0;
    while (at[length] != '\0' && is_in_target(at[length])) ++length;
    if (length == 0 || length > longest || *at == '-') return false;
    at += length;
    const size_t gap = strspn(at, " ");
    if (*at != '\0' && (gap == 0 || at[gap] == '\0')) return false;
    at += gap;
  }
  return count <= most;
}

bool is_script(const char *text) {
  constexpr size_t longest = 255;
  const size_t length = strlen(text);
  return length == 0 || (text[0] == '/' && text[length - 1] != ' ' && is_line(text, 2, longest));
}

bool is_line(const char *text, size_t shortest, size_t longest) {
  const size_t length = strlen(text);
  for (const char *at = text; *at != '\0'; ++at) {
    if (iscntrl(static_cast<unsigned char>(*at)) != 0) return false;
  }
  return length >= shortest && length <= longest;
}

}  // namespace wdog
