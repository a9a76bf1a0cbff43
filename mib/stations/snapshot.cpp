#include "mib/stations/snapshot.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace zol {

OctetCount OctetCount::following(const OctetCount &before, uint64_t now, int64_t elapsed) {
  constexpr uint64_t past_the_end = uint64_t{1} << 32U;
  OctetCount count{now, now, 0, true};
  if (!before.known) return count;
  const bool wrapped = before.printed < past_the_end && now < before.printed && before.printed - now > past_the_end / 2;
  if (now < before.printed && !wrapped) return count;
  const uint64_t more = now - before.printed + (wrapped ? past_the_end : 0);
  count.octets = before.octets + more;
  // Octets in milliseconds are kilobytes in a second. More than a radio can carry is no figure to compute with.
  constexpr uint64_t most = UINT64_MAX / 8;
  if (elapsed > 0)
    count.kbps = static_cast<uint32_t>(
        std::min<uint64_t>(std::min(more, most) * 8 / static_cast<uint64_t>(elapsed), UINT32_MAX));
  return count;
}

void StationRecord::learn(Counter counter, uint64_t value) {
  counted = static_cast<uint8_t>(counted | 1U << static_cast<unsigned>(counter));
  printed[static_cast<size_t>(counter)] = value;
}

void Snapshot::begin(int64_t now) {
  count_ = 0;
  interfaces.fill({"", false, -1});
  began = now;
  duration = 0;
}

bool Snapshot::add(const Mac &mac, uint8_t interface) {
  if (count_ == most_listed_stations) return true;
  if (count_ == capacity_) {
    const size_t capacity = std::max<size_t>(16, 2 * capacity_);
    auto *larger = static_cast<StationRecord *>(realloc(stations_, capacity * sizeof(StationRecord)));
    if (larger == nullptr) return false;
    stations_ = larger;
    capacity_ = capacity;
  }
  StationRecord &station = stations_[count_++];
  memset(&station, 0, sizeof station);
  station.mac = mac;
  station.interface = interface;
  station.found_at = began;
  return true;
}

namespace {

/// For qsort, which has a fraction of std::sort's code.
int by_address(const void *one, const void *other) {
  const auto &a = *static_cast<const StationRecord *>(one);
  const auto &b = *static_cast<const StationRecord *>(other);
  const int order = memcmp(a.mac.data(), b.mac.data(), a.mac.size());
  return order != 0 ? order : b.interface - a.interface;
}

}  // namespace

void Snapshot::sort() {
  const auto listed = stations();
  if (!listed.empty()) qsort(listed.data(), listed.size(), sizeof(StationRecord), by_address);
  const auto end = std::unique(listed.begin(), listed.end(),
                               [](const StationRecord &a, const StationRecord &b) { return a.mac == b.mac; });
  count_ = static_cast<size_t>(end - listed.begin());
}

namespace {

/// A count that this collection did not print is remembered for the next one that does.
OctetCount follow(const OctetCount &before, const StationRecord &station, Counter counter, int64_t elapsed) {
  if (station.counts(counter)) return OctetCount::following(before, station.count(counter), elapsed);
  OctetCount kept = before;
  kept.kbps = 0;
  return kept;
}

}  // namespace

void Snapshot::follow(const Snapshot &before) {
  for (StationRecord &station : stations()) {
    static constexpr OctetCount nothing{};
    const StationRecord *former = before.find(station.mac);
    if (former != nullptr && former->interface != station.interface) former = nullptr;
    const bool counted = station.counts(Counter::tx_bytes) || station.counts(Counter::rx_bytes);
    const int64_t elapsed = former != nullptr && counted ? station.counted_at - former->counted_at : 0;
    station.tx = zol::follow(former != nullptr ? former->tx : nothing, station, Counter::tx_bytes, elapsed);
    station.rx = zol::follow(former != nullptr ? former->rx : nothing, station, Counter::rx_bytes, elapsed);
    if (former == nullptr) continue;
    station.found_at = former->found_at;
    if (!counted) station.counted_at = former->counted_at;
  }
}

void Snapshot::release() {
  free(stations_);
  stations_ = nullptr;
  count_ = capacity_ = 0;
}

size_t Snapshot::position(const Mac &mac) const {
  const auto sorted = stations();
  const auto found =
      std::lower_bound(sorted.begin(), sorted.end(), mac,
                       [](const StationRecord &station, const Mac &wanted) { return station.mac < wanted; });
  return static_cast<size_t>(found - sorted.begin());
}

const StationRecord *Snapshot::find(const Mac &mac) const {
  const size_t at = position(mac);
  return at < count_ && stations_[at].mac == mac ? &stations_[at] : nullptr;
}

StationRecord *Snapshot::find(const Mac &mac) {
  return const_cast<StationRecord *>(static_cast<const Snapshot *>(this)->find(mac));
}

}  // namespace zol
