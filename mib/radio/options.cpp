#include "mib/radio/options.hpp"

#include <cstdio>
#include <cstring>

#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/radio/radio.hpp"

namespace zol {

SectionName::SectionName(Owner owner, int index) {
  if (owner == Owner::radio) {
    snprintf(text_, sizeof text_, "wifi%d", index);
  } else {
    snprintf(text_, sizeof text_, "@wifi-iface[%d]", index);
  }
}

int store_number(Owner owner, const char *option, int32_t number) {
  shell("uci set wireless.%s.%s=%d;uci commit wireless", SectionName(owner, wlan_index).text(), option, number);
  return 0;
}

int store_word(Owner owner, const char *option, const char *word) {
  shell("uci set wireless.%s.%s=%s;uci commit wireless", SectionName(owner, wlan_index).text(), option, word);
  return 0;
}

std::optional<int32_t> number_in(const char *line) {
  const char *text = text_after(line, "=");
  return text == nullptr ? std::nullopt : scan_int32(text);
}

void take_flag(const char *line, int32_t *value) {
  const char *flag = text_after(line, "=");
  if (flag == nullptr) return;
  if (strcmp(flag, "1") == 0) *value = 1;
  if (strcmp(flag, "0") == 0) *value = 2;
}

}  // namespace zol
