#include <cstring>
#include <memory>

#include "mib/tables/tables.hpp"
#include "tests/fuzz/printed.hpp"
#include "tests/unit/objects.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr const char *columns[] = {"zol_ssid_name", "zol_fre_scan", "zol_mac_scan", "zol_rssi_scan"};

/// A cell of every column and every registered row: it is answered if and only if the row lives.
void walk() {
  // The first cell surveys.
  get(columns[0], 1);
  require(ssid_number <= zol::most_scan_records, "the rows fit");
  for (uint32_t row = 1; row <= zol::most_scan_records; ++row) {
    for (size_t column = 0; column < std::size(columns); ++column) {
      const auto answer = get(columns[column], static_cast<int>(row));
      require(answer.has_value() == (row <= ssid_number), "rows that live answer");
      if (!answer) continue;
      const size_t length = answer->bytes.size();
      require(column == 0 ? length <= 29 : length == (column == 2 ? 6U : 4U), "a value has its length");
    }
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  registered_rows();
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
  require(ssid_number == 2 && get(columns[0], 2)->bytes == "n" && get(columns[1], 2) == Value(6),
          "the next survey is right");
  const zol::ScanRecord expected{{2, 0, 0, 0, 0, 1}, "n", "6", "-7"};
  require(memcmp(&zol_mac_scan_all[1], &expected, sizeof expected) == 0, "the next survey holds nothing else");
  return 0;
}
