#include "core/command/request.hpp"

#include <atomic>

#include "core/command/process.hpp"

namespace zol {

namespace {

// Requests live on one thread at a time, the agent's; the sampling threads only ask whether theirs is that one.
constinit std::atomic<pthread_t> thread{};
constinit std::atomic<bool> known = false;
Request *innermost = nullptr;

}  // namespace

Request::Request(const char *object) : object_(object) {
  thread = pthread_self();
  known = true;
  outer_ = innermost;
  innermost = this;
}

Request::~Request() {
  innermost = outer_;
  process::tend_from_the_agent();
}

Request *Request::current() { return known && pthread_equal(thread, pthread_self()) != 0 ? innermost : nullptr; }

}  // namespace zol
