#include "mib/vlan/sections.hpp"

#include <cstring>

#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/vlan/vlan.hpp"

using namespace zol;

namespace {

constexpr const char *no_section = "unknown";

/// More than there are VLANs: a command that never tells an end must not keep the agent for ever.
constexpr int most_sections = 4096;

}  // namespace

char *get_vlan_vlanid(const char *package, int n) {
  static char id[128];
  copy_text(id, no_section);
  CommandOutput output("uci show %-s -q | grep \"vlan\\[%d\\].vlanid=\"", package, n);
  if (output.next()) {
    if (const char *text = text_after(output.line(), "vlanid=")) copy_text(id, text);
  }
  return id;
}

vlan::Place vlan::find_section(const Kind &kind, int32_t id) {
  int section = 0;
  for (; section < most_sections; ++section) {
    const char *text = get_vlan_vlanid(kind.package, section);
    if (strcmp(text, no_section) == 0) break;
    // An id of 0 marks a section that is not in use.
    if (strcmp(text, "0") != 0 && to_int32(text) == id) return {true, section};
  }
  return {false, section};
}
