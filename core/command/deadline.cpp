#include "core/command/deadline.hpp"

#include <algorithm>
#include <atomic>
#include <climits>

#include "core/command/request.hpp"
#include "core/net_snmp.hpp"

namespace zol {

namespace {

/// What is left when nothing is worth a wait: a command that is about to end still does.
constexpr int64_t hurried_ms = 200;

constinit std::atomic<bool> collections_hurry = false;

}  // namespace

Deadline::Deadline(int64_t milliseconds) : at_(milliseconds == 0 ? INT64_MAX : monotonic_ms() + milliseconds) {
  look_up(false);
}

int Deadline::slice(int most) const { return static_cast<int>(std::clamp<int64_t>(at_ - monotonic_ms(), 0, most)); }

void Deadline::look_up(bool interrupted) {
  const bool of_the_agent = Request::current() != nullptr;
  if (of_the_agent ? interrupted || !agent_runs() : collections_hurry.load()) draw_near(hurried_ms);
}

void Deadline::draw_near(int64_t milliseconds) {
  if (cut_short_) return;
  cut_short_ = true;
  at_ = std::min(at_, monotonic_ms() + milliseconds);
}

void hurry_collections(bool hurry) { collections_hurry = hurry; }

}  // namespace zol
