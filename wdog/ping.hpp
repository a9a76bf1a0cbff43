#pragma once

#include <poll.h>

#include <utility>

#include "wdog/clocks.hpp"
#include "wdog/echo.hpp"
#include "wdog/resolver.hpp"
#include "wdog/rounds.hpp"
#include "wdog/settings.hpp"

namespace wdog {

/// Asks the targets in rounds and says when the action is due.
class PingWatchdog {
 public:
  static constexpr size_t most_descriptors = 3;

  /// Begins anew with the settings of wdog.conf.
  void configure(const Moment &now);
  [[nodiscard]] const PingSettings &settings() const { return settings_; }

  /// Takes the answers, ends rounds and begins them. True when the action is due.
  bool work(const Moment &now);
  /// Whether anybody has answered since this was asked last.
  bool has_answered() { return std::exchange(answered_, false); }

  /// What to wait for. @return how many descriptors that are
  size_t wait_for(pollfd *descriptors) const;
  /// How many milliseconds to wait at most.
  [[nodiscard]] int64_t patience(const Moment &now) const;

 private:
  void take_answers(const EchoSocket &socket);
  void look_names_up(const Moment &now);
  void ask();

  PingSettings settings_;
  Rounds rounds_;
  bool in_grace_ = true;
  bool answered_ = false;
  bool told_unable_ = false;
  uint64_t token_ = 0;
  EchoSocket ipv4_{AF_INET};
  EchoSocket ipv6_{AF_INET6};
  Resolver resolver_;
  Addresses addresses_{};
  /// When names were looked up last.
  int64_t looked_up_ = 0;
  uint16_t round_ = 0;
  /// Who was asked in the present round.
  std::array<bool, PingSettings::most_targets> asked_{};
};

}  // namespace wdog
