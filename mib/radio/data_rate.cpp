// The fixed data rate of the selected network: a row of the table of rate masks.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/radio/radio.hpp"

using namespace zol;

// clang-format off
const uint32_t id_list[25] = {
    /*  0, automatic        */ 0,
    /*  1 to  4, legacy     */ 0x0b0b0b0b, 0x0f0f0f0f, 0x0a0a0a0a, 0x0e0e0e0e,
    /*  5 to  8             */ 0x09090909, 0x0d0d0d0d, 0x08080808, 0x0c0c0c0c,
    /*  9 to 12, MCS 0 to 3 */ 0x80808080, 0x81818181, 0x82828282, 0x83838383,
    /* 13 to 16             */ 0x84848484, 0x85858585, 0x86868686, 0x87878787,
    /* 17 to 20             */ 0x88888888, 0x89898989, 0x8a8a8a8a, 0x8b8b8b8b,
    /* 21 to 24             */ 0x8c8c8c8c, 0x8d8d8d8d, 0x8e8e8e8e, 0x8f8f8f8f,
};
// clang-format on

/// @syntax Integer32
/// The fixed rate: 0 automatic, 1 to 8 the legacy rates 1, 2, 5.5, 11 and so on by their masks 0x0b, 0x0f, 0x0a, 0x0e,
/// 0x09, 0x0d, 0x08 and 0x0c, 9 to 24 the MCS 0 to 15 (option manrate). 25 to 32 are accepted and change nothing. A
/// mask that is none of these is answered as a number as it is.
ZOL_INTEGER(wlan_datarate, .oid = {3, 1, 7}, .accepts = range(0, 32));

int get_wlan_datarate(int32_t *rate) {
  *rate = 0;
  CommandOutput output("uci show wireless | grep \"\\[%d\\].manrate\"", wlan_index);
  if (!output) return -1;
  uint32_t mask = 0;
  if (output.find(".manrate") != nullptr) {
    char value[128] = "";
    sscanf(output.line(), "wireless.@wifi-iface[%*d].manrate=%127s", value);
    if (strstr(value, "auto") == nullptr) sscanf(value, "0x%08x", &mask);
  }
  const uint32_t *row = std::ranges::find(id_list, mask);
  // A mask that is not in the table answers as it is; it is meant so.
  *rate = row != std::end(id_list) ? static_cast<int32_t>(row - id_list) : static_cast<int32_t>(mask);
  return 0;
}

int set_wlan_datarate(int32_t rate) {
  const OptionName manrate("wireless.@wifi-iface[%d].manrate", wlan_index);
  if (rate == 0) return store_word(manrate, "auto");
  if (rate < 0 || static_cast<size_t>(rate) >= std::size(id_list)) return 0;
  char mask[sizeof "0x00000000"];
  snprintf(mask, sizeof mask, "0x%08x", id_list[rate]);
  return store_word(manrate, mask);
}
