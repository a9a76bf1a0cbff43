#include "mib/services/options.hpp"

#include "core/text.hpp"

namespace zol::services {

void take_address(const char *text, Ipv4 *address) {
  const ScannedIpv4 scanned = scan_ipv4(text);
  if (scanned.octets == 4) *address = scanned.address;
}

int read_address(LineReader &&output, Ipv4 *address) {
  const auto take = [address](const Value &value) { take_address(value.text(), address); };
  return take_all(std::move(output), take, shortest_line);
}

void take_list(const Value &value, char *list) {
  if (copy_field({list, list_size}, value.line(), 1, '=')) zol_replace_a_char(list, ' ', ';');
}

int Switch::operator()(int32_t state) const {
  if (state == on) shell("%-s", turn_on);
  if (state == off) shell("%-s", turn_off);
  return 0;
}

}  // namespace zol::services
