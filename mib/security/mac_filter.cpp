// The MAC address filter of the network that `maclist_index` selects.

#include <cstring>

#include "core/option.hpp"
#include "core/scalar.hpp"

using namespace zol;

namespace {

constexpr size_t list_size = 1152;

/// A line of `uci show` with a whole list in it.
constexpr size_t line_size = 1216;

constexpr const char *policies[] = {"", "allow", "deny"};

}  // namespace

/// Selects the section wireless.@wifi-iface[N] that the other objects here read and write. Only stored.
ZOL_INTEGER(maclist_index, .oid = {12, 1}, .accepts = range(0, 15));
ZOL_STORED(maclist_index)

/// @syntax INTEGER { off(0), allow(1), deny(2) }
/// The policy: no filter, only the stations of the list are let in, or those are kept out (option macpolicy). In force
/// when the wireless network is reloaded.
ZOL_INTEGER(maclist_enabled, .oid = {12, 2}, .accepts = range(0, 2));

int get_maclist_enabled(int32_t *policy) {
  *policy = 0;
  const auto take = [policy](const Value &name) {
    for (const int32_t known : {1, 2}) {
      if (name.in_line_with(".macpolicy") && name.is(policies[known])) *policy = known;
    }
  };
  return take_first(CommandOutput("uci show wireless.@wifi-iface[%d].macpolicy", maclist_index), take, shortest_line);
}

int set_maclist_enabled(int32_t policy) {
  const OptionName option("wireless.@wifi-iface[%d].macpolicy", maclist_index);
  if (policy == 0) return store_text(option, "");
  return policy == 1 || policy == 2 ? store_word(option, policies[policy]) : 0;
}

/// The addresses of the filter, separated by semicolons. A SET replaces the whole list; the addresses are not checked.
/// One that fails in another object of the same request is not taken back.
ZOL_TEXT(maclist_macaddr, list_size, .oid = {12, 3}, .accepts = range(0, list_size - 1), .restores = false);

int get_maclist_macaddr(char *list) {
  list[0] = '\0';
  CommandOutput<line_size> output("uci show wireless.@wifi-iface[%d].maclist", maclist_index);
  if (!output) return -1;
  if (!output.next() || strstr(output.line(), ".maclist=") == nullptr) return 0;
  copy_text({list, list_size}, text_after(output.line(), "="));
  zol_replace_a_char(list, ' ', ';');
  return 0;
}

int set_maclist_macaddr(const char *list) {
  shell("uci delete wireless.@wifi-iface[%d].maclist", maclist_index);
  // There is one entry more than separators. Empty fields are passed over, so the last entries of a list that has some
  // repeat its last address, and an empty list becomes one empty entry; it is meant so.
  char address[list_size] = "";
  const char *separator = list;
  for (unsigned entry = 0; separator != nullptr; ++entry) {
    copy_field(address, list, entry, ';');
    shell("uci add_list wireless.@wifi-iface[%d].maclist=\"%s\"", maclist_index, address);
    separator = strchr(separator, ';');
    if (separator != nullptr) ++separator;
  }
  shell("uci commit wireless");
  return 0;
}
