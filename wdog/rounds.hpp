#pragma once

// The ping watchdog's count of failures: when a round begins, when it has failed, and when that is enough.

#include <array>
#include <cstdint>
#include <optional>

namespace wdog {

/// Times are in milliseconds of a clock that nobody sets.
class Rounds {
 public:
  Rounds() = default;
  /// @param failures rounds in a row without an answer in time that are enough, at least 1
  /// @param interval, timeout in seconds
  Rounds(int failures, int interval, int timeout, int64_t now)
      : failures_(failures), interval_(interval * 1000LL), timeout_(timeout * 1000LL), next_(now) {}

  /// The number of the round that begins now, if one does.
  std::optional<uint16_t> begin(int64_t now);
  /// Somebody has answered a round, in time or late.
  void answer(uint16_t round);
  /// Ends the rounds whose time is over. True when enough of them have failed: the count then begins anew.
  bool have_failed(int64_t now);
  /// When there will be something to do.
  [[nodiscard]] int64_t next() const;

 private:
  struct Round {
    uint16_t number;
    bool answered;
    int64_t end;
  };
  /// Of a timeout of 60 seconds and an interval of one.
  static constexpr size_t most_pending = 64;

  int failures_ = 0;
  int64_t interval_ = 0;
  int64_t timeout_ = 0;
  int64_t next_ = 0;
  uint16_t number_ = 0;
  int failed_ = 0;
  /// The oldest first.
  std::array<Round, most_pending> pending_{};
  size_t pending_count_ = 0;
};

}  // namespace wdog
