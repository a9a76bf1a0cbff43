#include "core/option.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "core/text.hpp"

namespace {

constexpr size_t longest_line = 4096;

enum class Found : uint8_t { text, nothing, no_command };

Found find_option(const char *key, std::span<char> text) {
  text[0] = '\0';
  zol::CommandOutput<longest_line> output("uci show -q %-s", key);
  if (!output) return Found::no_command;
  // The section may be printed under another name than it was asked for; the option's own name tells.
  const char *dot = strrchr(key, '.');
  std::array<char, 128> marker{};
  snprintf(marker.data(), marker.size(), "%s=", dot == nullptr ? key : dot);
  if (!output.next_without_newline() || strstr(output.line(), marker.data()) == nullptr) return Found::nothing;
  zol::copy_field(text, output.line(), 1, '=');
  return Found::text;
}

}  // namespace

int services_get_string(const char *key, char *out) {
  return find_option(key, {out, longest_line}) == Found::text ? 0 : -1;
}

namespace zol {

Value::Value(const char *line) : line_(line) { copy_field(text_, line, 1, '='); }

bool Value::is(const char *text, Part part) const { return strcmp((this->*part)(), text) == 0; }

const char *Value::rest() const {
  const char *behind = text_after(line_, "=");
  return behind == nullptr ? "" : behind;
}

std::optional<int32_t> Value::number(Part part) const {
  const char *digits = (this->*part)();
  return scan_int32(digits);
}

bool Value::in_line_with(const char *part) const { return strstr(line_, part) != nullptr; }

int read_option(const char *key, std::span<char> text) { return find_option(key, text) == Found::no_command ? -1 : 0; }

int read_number(LineReader &&output, int32_t preset, int32_t *number, Value::Part part) {
  *number = preset;
  return take_first(std::move(output), [=](const Value &value) { *number = value.number(part).value_or(preset); });
}

int find_number(LineReader &&output, const char *marker, int32_t preset, int32_t *number, Value::Part part) {
  *number = preset;
  return take_found(std::move(output), marker,
                    [=](const Value &value) { *number = value.number(part).value_or(preset); });
}

int read_flag(LineReader &&output, int32_t preset, int32_t *state, size_t shortest, Value::Part part) {
  *state = preset;
  const auto take = [=](const Value &value) {
    if (value.is("1", part)) *state = on;
    if (value.is("0", part)) *state = off;
  };
  return take_all(std::move(output), take, shortest);
}

int read_switch(LineReader &&output, const char *enabled, int32_t *state) {
  *state = off;
  return take_found(std::move(output), enabled, [=](const Value &) { *state = on; });
}

int take_first(LineReader &&output, TakeValue take, size_t shortest) {
  if (!output) return -1;
  if (output.next_of_at_least(shortest)) take(Value(output.line()));
  return 0;
}

int take_found(LineReader &&output, const char *marker, TakeValue take) {
  if (!output) return -1;
  if (output.find(marker) != nullptr) take(Value(output.line()));
  return 0;
}

int take_all(LineReader &&output, TakeValue take, size_t shortest) {
  if (!output) return -1;
  while (output.next_of_at_least(shortest)) take(Value(output.line()));
  return 0;
}

OptionName::OptionName(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text_.data(), text_.size(), format, arguments);
  va_end(arguments);
}

namespace {

/// The package that an option belongs to.
struct Package {
  explicit Package(const char *option) { copy_field(name, option, 0, '.'); }
  char name[32]{};
};

}  // namespace

int store_number(const char *option, int32_t number) {
  shell("uci set %-s=%d;uci commit %-s", option, number, Package(option).name);
  return 0;
}

int store_switch(const char *option, int32_t state) {
  return state == on || state == off ? store_number(option, state == on ? 1 : 0) : 0;
}

int store_word(const char *option, const char *word) {
  shell("uci set %-s=%s;uci commit %-s", option, word, Package(option).name);
  return 0;
}

int store_text(const char *option, const char *text) {
  shell("uci set %-s='%s';uci commit %-s", option, text, Package(option).name);
  return 0;
}

int store_address(const char *option, Ipv4 address) { return store_word(option, DottedQuad(address).text()); }

int store_addresses(const char *option, Ipv4 first, Ipv4 second) {
  shell("uci set %-s=\"%s %s\";uci commit %-s", option, DottedQuad(first).text(), DottedQuad(second).text(),
        Package(option).name);
  return 0;
}

}  // namespace zol
