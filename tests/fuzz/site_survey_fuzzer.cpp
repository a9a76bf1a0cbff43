#include <cstring>
#include <memory>

#include "mib/tables/tables.hpp"
#include "tests/fuzz/printed.hpp"
#include "tests/unit/request.hpp"

extern "C" {
zol::FindMethod var_scanning_table;
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
}

namespace {

std::optional<Answer> cell(oid column, oid row) {
  return get(var_scanning_table, {19, 1, column, row}, static_cast<unsigned char>(column));
}

/// A cell of every column and every registered row: it is answered if and only if the row lives.
void walk() {
  // The first cell surveys.
  cell(1, 1);
  require(ssid_number <= zol::most_scan_records, "the rows fit");
  for (oid row = 1; row <= zol::most_scan_records; ++row) {
    for (oid column = 1; column <= 4; ++column) {
      const auto answer = cell(column, row);
      require(answer.has_value() == (row <= ssid_number), "rows that live answer");
      if (!answer) continue;
      const size_t length = answer->bytes.size();
      require(column == 1 ? length <= 29 : length == (column == 3 ? 6U : 4U), "a value has its length");
    }
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  printed.assign(reinterpret_cast<const char *>(data), size);
  walk();
  // Memory of its exact size, which a sanitizer guards.
  const auto records = std::make_unique<zol::ScanRecord[]>(zol::most_scan_records);
  uint32_t count = 0;
  require(get_zol_mac_scan(3, records.get(), &count) == 0, "the commands were started");
  require(memcmp(records.get(), zol_mac_scan_all, ssid_number * sizeof(zol::ScanRecord)) == 0,
          "the first interfaces' networks come first");

  // Nothing of it stays.
  printed = "Address: 02:00:00:00:00:01\nESSID: \"n\"\nChannel: 6\nSignal: -7 dBm\n";
  walk();
  require(ssid_number == 2 && cell(1, 2)->bytes == "n" && cell(2, 2)->integer() == 6, "the next survey is right");
  const zol::ScanRecord expected{{2, 0, 0, 0, 0, 1}, "n", "6", "-7"};
  require(memcmp(&zol_mac_scan_all[1], &expected, sizeof expected) == 0, "the next survey holds nothing else");
  return 0;
}
