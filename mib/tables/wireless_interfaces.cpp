// How many wireless interfaces there are, and how many stations each of them serves.

#include <cctype>
#include <cstring>

#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/tables/tables.hpp"

using namespace zol;

int get_virtual_ap_num(uint32_t *count) {
  *count = 0;
  CommandOutput output("brctl show");
  if (!output) return -1;
  while (output.next()) {
    const char *number = text_after(output.line(), "ath");
    if (number != nullptr && isdigit(static_cast<unsigned char>(*number)) != 0) ++*count;
  }
  // A list without an end says nothing, and every interface that is counted would be asked for its stations.
  constexpr uint32_t most_counted = 4096;
  if (*count > most_counted) *count = 0;
  return static_cast<int8_t>(*count);
}

bool zol::is_station_line(const char *line) { return strnlen(line, 6) == 6 && line[2] == ':' && line[5] == ':'; }

int32_t zol::count_stations(const char *interface) {
  int32_t stations = 0;
  CommandOutput output("wlanconfig %s list sta", interface);
  while (output.next()) stations += is_station_line(output.line()) ? 1 : 0;
  return stations;
}
