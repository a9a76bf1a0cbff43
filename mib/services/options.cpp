#include "mib/services/options.hpp"

#include <cstring>

#include "core/text.hpp"

namespace zol::services {

Value::Value(const LineReader &output) { copy_field(text_, output.line(), 1, '='); }

bool Value::is(const char *text) const { return strcmp(text_.data(), text) == 0; }

void take_address(const char *text, Ipv4 *address) {
  const ScannedIpv4 scanned = scan_ipv4(text);
  if (scanned.octets == 4) *address = scanned.address;
}

int read_address(LineReader &&output, Ipv4 *address) {
  if (!output) return -1;
  while (output.next_of_at_least(shortest_line)) take_address(Value(output).text(), address);
  return 0;
}

int read_number(LineReader &&output, int32_t *number) {
  *number = 0;
  if (!output) return -1;
  if (output.next()) *number = to_int32(Value(output).text());
  return 0;
}

int read_switch(LineReader &&output, const char *enabled, int32_t *state) {
  *state = off;
  if (!output) return -1;
  if (output.find(enabled) != nullptr) *state = on;
  return 0;
}

void take_list(const LineReader &output, char *list) {
  if (copy_field({list, list_size}, output.line(), 1, '=')) zol_replace_a_char(list, ' ', ';');
}

namespace {

int store(const char *option, const char *value) {
  const auto package_length = static_cast<int>(strcspn(option, "."));
  shell("uci set %s=%s;uci commit %.*s", option, value, package_length, option);
  return 0;
}

}  // namespace

int store_number(const char *option, int32_t value) {
  std::array<char, 12> text{};
  snprintf(text.data(), text.size(), "%d", value);
  return store(option, text.data());
}

int store_address(const char *option, Ipv4 address) { return store(option, DottedQuad(address).text()); }

int Switch::operator()(int32_t state) const {
  if (state == on) shell("%s", turn_on);
  if (state == off) shell("%s", turn_off);
  return 0;
}

}  // namespace zol::services
