#include "core/set_counters.hpp"

namespace {

zol::GuardObserver *told = nullptr;

}  // namespace

constinit zol::SetCounters zol::set_counters{};

void zol::tell_guard_refusals_to(GuardObserver *observer) { told = observer; }

void zol::note_guard_refusal(const char *object) {
  ++set_counters.guarded;
  if (told != nullptr) told(object);
}
