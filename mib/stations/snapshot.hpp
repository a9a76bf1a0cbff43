#pragma once

// What one collection finds of every station, and the place in which the agent's thread finds one.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/address.hpp"

namespace zol {

/// What is known of a station only when it was printed.
enum class Figure : uint8_t { signal, noise, chains, tx_rate, rx_rate, quality, address, name };

/// The driver's counters that are read.
enum class Counter : uint8_t {
  tx_bytes,
  rx_bytes,
  tx_data,
  rx_data,
  tx_retries,
  tx_discard,
  rx_decryptcrc,
  rx_demicfail,
};
constexpr size_t counters = 8;

/// Octets in one direction, followed from collection to collection.
struct OctetCount {
  /// Follows `now`, which the driver printed `elapsed` milliseconds after `before` was printed. A counter of 32 bits
  /// that has passed its end goes on; one that fell by less began anew.
  static OctetCount following(const OctetCount &before, uint64_t now, int64_t elapsed);

  uint64_t octets;
  /// As the driver printed it.
  uint64_t printed;
  /// Kbit/s since the collection before; 0 in the first.
  uint32_t kbps;
  bool known;
};

/// One station.
struct StationRecord {
  [[nodiscard]] bool knows(Figure figure) const { return (known & 1U << static_cast<unsigned>(figure)) != 0; }
  [[nodiscard]] bool counts(Counter counter) const { return (counted & 1U << static_cast<unsigned>(counter)) != 0; }
  [[nodiscard]] uint64_t count(Counter counter) const { return printed[static_cast<size_t>(counter)]; }
  void learn(Figure figure) { known = static_cast<uint16_t>(known | 1U << static_cast<unsigned>(figure)); }
  void forget(Figure figure) { known = static_cast<uint16_t>(known & ~(1U << static_cast<unsigned>(figure))); }
  void learn(Counter counter, uint64_t value);

  Mac mac;
  /// N of the interface athN.
  uint8_t interface;
  /// What is known: a bit for each `Figure`, and for each `Counter`.
  uint8_t counted;
  uint16_t known;
  /// dBm.
  int32_t signal;
  int32_t noise;
  /// Per cent.
  uint32_t quality;
  /// Kbit/s.
  uint32_t tx_rate;
  uint32_t rx_rate;
  /// Of its lease: the address, and when it ends, in seconds since the epoch.
  Ipv4 address;
  uint64_t lease_end;
  /// As the driver writes them.
  char chains[32];
  char name[64];
  std::array<uint64_t, counters> printed;
  OctetCount tx;
  OctetCount rx;
  /// When the counters were printed, and when the station was first found on its interface: milliseconds of
  /// `monotonic_ms`.
  int64_t counted_at;
  int64_t found_at;
};

/// A wireless interface as the configuration has it.
struct InterfaceRecord {
  char ssid[65];
  bool has_ssid;
  /// N of wifiN; -1 without one.
  int8_t radio;
};
constexpr size_t most_interfaces = 32;

/// The stations of one collection, each once, in the order of their addresses. On the heap; keeps its room for the next
/// collection.
class Snapshot {
 public:
  Snapshot() = default;
  Snapshot(const Snapshot &) = delete;
  Snapshot &operator=(const Snapshot &) = delete;

  /// Begins a collection, at a time of `monotonic_ms`.
  void begin(int64_t now);
  /// Adds a station as it is listed. False when memory does not suffice.
  bool add(const Mac &mac, uint8_t interface);
  /// Puts the added stations in order. One that was listed on two interfaces is on the higher one.
  void sort();
  /// Carries on what only a series of collections tells.
  void follow(const Snapshot &before);
  /// Gives its room back.
  void release();

  [[nodiscard]] std::span<StationRecord> stations() { return {stations_, count_}; }
  [[nodiscard]] std::span<const StationRecord> stations() const { return {stations_, count_}; }
  /// The first station whose address is `mac` or greater; the end of `stations()` when there is none.
  [[nodiscard]] size_t position(const Mac &mac) const;
  [[nodiscard]] const StationRecord *find(const Mac &mac) const;
  [[nodiscard]] StationRecord *find(const Mac &mac);

  std::array<InterfaceRecord, most_interfaces> interfaces{};
  int64_t began = 0;
  /// Milliseconds that the collection took.
  uint32_t duration = 0;

 private:
  StationRecord *stations_ = nullptr;
  size_t count_ = 0;
  size_t capacity_ = 0;
};

/// More than any access point serves: what a tool lists beyond is left out.
constexpr size_t most_listed_stations = 4096;

/// Tells `left` and `joined` what two collections differ in. A station on another interface has left and joined.
template <class Left, class Joined>
void compare(const Snapshot &before, const Snapshot &after, Left left, Joined joined) {
  const auto gone = before.stations();
  const auto present = after.stations();
  size_t i = 0;
  size_t j = 0;
  while (i < gone.size() || j < present.size()) {
    const bool only_before = j == present.size() || (i < gone.size() && gone[i].mac < present[j].mac);
    const bool only_after = i == gone.size() || (j < present.size() && present[j].mac < gone[i].mac);
    const bool stays = !only_before && !only_after && gone[i].interface == present[j].interface;
    if (!only_after && !stays) left(before, gone[i]);
    if (!only_before && !stays) joined(after, present[j]);
    i += only_after ? 0 : 1;
    j += only_before ? 0 : 1;
  }
}

}  // namespace zol
