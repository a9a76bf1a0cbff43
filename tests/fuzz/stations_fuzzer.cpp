#include <cstring>

#include "mib/stations/stations.hpp"
#include "tests/fuzz/printed.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/// Every tool prints the same: lists, associations, counters, leases and settings.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  printed.assign(reinterpret_cast<const char *>(data), size);
  for (int round = 0; round < 2; ++round) {
    require(zol::make_collection() && zol::take_over_collection(), "a collection is taken over");
    const zol::StationRecord *before = nullptr;
    for (const zol::StationRecord &station : zol::present_stations().stations()) {
      require(before == nullptr || before->mac < station.mac, "each station once, in order");
      require(station.interface < 2, "its interface is bridged");
      require(strnlen(station.name, sizeof station.name) < sizeof station.name, "its name ends");
      require(strnlen(station.chains, sizeof station.chains) < sizeof station.chains, "its chains end");
      require(zol::present_stations().find(station.mac) == &station, "it is found");
      before = &station;
    }
  }
  zol::forget_collections();
  return 0;
}
