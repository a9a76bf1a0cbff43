#include "wdog/rounds.hpp"

#include <algorithm>

namespace wdog {

std::optional<uint16_t> Rounds::begin(int64_t now) {
  if (now < next_ || pending_count_ == pending_.size()) return std::nullopt;
  // A process that was held up does not make up for it by a burst.
  next_ = now - next_ < interval_ ? next_ + interval_ : now + interval_;
  pending_[pending_count_++] = {++number_, false, now + timeout_};
  return number_;
}

void Rounds::answer(uint16_t round) {
  failed_ = 0;
  for (size_t i = 0; i < pending_count_; ++i) {
    if (pending_[i].number == round) pending_[i].answered = true;
  }
}

bool Rounds::have_failed(int64_t now) {
  while (pending_count_ > 0 && pending_[0].end <= now) {
    if (!pending_[0].answered) ++failed_;
    std::move(pending_.begin() + 1, pending_.begin() + static_cast<ptrdiff_t>(pending_count_), pending_.begin());
    --pending_count_;
    if (failed_ < failures_) continue;
    // What was asked before the action says nothing about its success.
    failed_ = 0;
    pending_count_ = 0;
    return true;
  }
  return false;
}

int64_t Rounds::next() const { return pending_count_ > 0 ? std::min(next_, pending_[0].end) : next_; }

}  // namespace wdog
