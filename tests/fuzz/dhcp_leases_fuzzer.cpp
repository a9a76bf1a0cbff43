#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "mib/tables/tables.hpp"
#include "tests/fuzz/printed.hpp"
#include "tests/unit/request.hpp"

extern "C" {
zol::FindMethod var_dhcpactive_table;
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
}

namespace {

std::optional<Answer> cell(oid column, oid row) {
  constexpr unsigned char magics[] = {3, 1, 2, 4};
  return get(var_dhcpactive_table, {11, 1, column, row}, magics[column - 1]);
}

/// The number of rows that live.
oid walk() {
  oid rows = 0;
  while (rows < zol::most_lease_records && cell(1, rows + 1)) ++rows;
  for (oid row = 1; row <= zol::most_lease_records; ++row) {
    for (oid column = 1; column <= 4; ++column) {
      const auto answer = cell(column, row);
      require(answer.has_value() == (row <= rows), "rows that live answer");
      if (!answer) continue;
      const size_t length = answer->bytes.size();
      constexpr size_t longest[] = {6, 30, sizeof "4294967295 Days -23:-59:-59" - 1, 4};
      require(length <= longest[column - 1], "a value fits");
      require(column != 3 || answer->bytes.find(" Days ") != std::string::npos, "a time is one");
    }
  }
  return rows;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  printed.assign(reinterpret_cast<const char *>(data), size);
  const oid rows = walk();
  // Memory of its exact size, which a sanitizer guards.
  const auto records = std::make_unique<zol::LeaseRecord[]>(zol::most_lease_records);
  uint32_t count = 0;
  require(get_zol_mac_active(records.get(), &count) == 0 && count == rows, "both ways find as many leases");

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
