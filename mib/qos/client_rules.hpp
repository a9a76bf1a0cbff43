#pragma once

// The shaper's rules for single clients. A rule is an anonymous section of type `classify` in the UCI package qos that
// holds `target`, the package, `srchost` (upload) or `dsthost` (download), the client's address, and `client`, its
// hardware address, by which it is found wherever the client goes. One without `client`, of an earlier version, is that
// of the station with the address. Every other classify section is an administrator's and is never touched.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "core/address.hpp"

namespace zol::qos {

enum class Direction : uint8_t { download, upload };

/// Packages count from 1: Priority, Express, Normal, Bulk. No rule is package 0.
constexpr int32_t most_packages = 4;

struct Client {
  Mac mac{};
  /// Of its lease; 0 when it is not present or has none.
  Ipv4 address = 0;
};

struct Rule {
  /// Its place among all classify sections, which is what the commands count, whatever `uci show` does.
  int32_t section;
  Direction direction;
  int32_t package;
  Ipv4 address;
  /// Nothing for a rule of an earlier version.
  std::optional<Mac> client;

  [[nodiscard]] bool is_of(const Client &other) const {
    return client ? *client == other.mac : other.address != 0 && address == other.address;
  }
};

/// The rules as they are configured, in their order.
class Rules {
 public:
  /// Asks for them by "uci show qos". False, and none, when the command cannot be started or does not come to its end.
  bool load();
  [[nodiscard]] std::span<const Rule> all() const { return {rules_.data(), count_}; }
  /// The first rule of the client, which counts for the shaper; null without one.
  [[nodiscard]] const Rule *find(const Client &client) const;
  [[nodiscard]] const Rule *find(const Client &client, Direction direction) const;

 private:
  void add(const Rule &rule) {
    if (count_ < rules_.size()) rules_[count_++] = rule;
  }

  std::array<Rule, 128> rules_{};
  size_t count_ = 0;
};

/// Changes the client's rule or adds one before all other sections; package 0 deletes all that it has in this
/// direction. Its rules are marked as its own, and stand for its present address then. Runs nothing when there is
/// nothing to change or the rules cannot be read.
void set_client_package(Direction direction, const Client &client, int32_t package);

/// Moves the rules of present clients to the addresses that they have now. Asks for the rules only if any station's
/// address is another than the last time.
void follow_clients();

}  // namespace zol::qos
