#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "mib/tables/tables.hpp"
#include "tests/fuzz/printed.hpp"
#include "tests/unit/objects.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr const char *columns[] = {"zol_mac_active", "zol_host_active", "zol_lease_time", "zol_ip_active"};
constexpr size_t longest[] = {6, 30, sizeof "4294967295 Days -23:-59:-59" - 1, 4};

/// The number of rows that live.
int walk() {
  int rows = 0;
  while (rows < static_cast<int>(zol::most_lease_records) && get(columns[0], rows + 1)) ++rows;
  for (int row = 1; row <= static_cast<int>(zol::most_lease_records); ++row) {
    for (size_t column = 0; column < std::size(columns); ++column) {
      const auto answer = get(columns[column], row);
      require(answer.has_value() == (row <= rows), "rows that live answer");
      if (!answer) continue;
      require(answer->bytes.size() <= longest[column], "a value fits");
      require(column != 2 || answer->bytes.find(" Days ") != std::string::npos, "a time is one");
    }
  }
  return rows;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  registered_rows();
  printed.assign(reinterpret_cast<const char *>(data), size);
  const int rows = walk();
  // Memory of its exact size, which a sanitizer guards.
  const auto records = std::make_unique<zol::LeaseRecord[]>(zol::most_lease_records);
  uint32_t count = 0;
  require(get_zol_mac_active(records.get(), &count) == 0 && static_cast<int>(count) == rows,
          "both ways find as many leases");

  // Nothing of it stays.
  printed = "7 02:00:00:00:00:01 10.0.0.2 h *\n";
  require(walk() == 1, "the next walk is right");
  const zol::LeaseRecord expected{{2, 0, 0, 0, 0, 1}, "h", {10, 0, 0, 2}, 7};
  require(memcmp(zol_mac_active_all, &expected, sizeof expected) == 0, "the next walk holds nothing else");
  const auto *unused = reinterpret_cast<const char *>(zol_mac_active_all + 1);
  require(std::all_of(unused, reinterpret_cast<const char *>(std::end(zol_mac_active_all)),
                      [](char byte) { return byte == 0; }),
          "no lease, no bytes");
  return 0;
}
