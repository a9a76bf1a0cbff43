#include "wdog/ping.hpp"

#include <fcntl.h>
#include <unistd.h>

#include "core/log.hpp"

namespace wdog {

namespace {

constexpr int64_t ms = 1000;

uint64_t random_token(const Moment &now) {
  auto token = static_cast<uint64_t>(now.elapsed) << 32U ^ static_cast<uint64_t>(getpid());
  const int descriptor = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (descriptor == -1 || read(descriptor, &token, sizeof token) == -1) {
    zol::log_line("/dev/urandom cannot be read");
  }
  if (descriptor != -1) close(descriptor);
  return token;
}

}  // namespace

void PingWatchdog::configure(const Moment &now) {
  resolver_.stop();
  read_ping_settings(settings_);
  addresses_ = {};
  for (size_t i = 0; i < static_cast<size_t>(settings_.target_count); ++i) {
    read_address(settings_.targets[i].get(), addresses_[i]);
  }
  looked_up_ = now.elapsed - 60 * ms;
  in_grace_ = true;
  answered_ = true;
  if (settings_.is_on()) token_ = random_token(now);
}

bool PingWatchdog::work(const Moment &now) {
  if (!settings_.is_on() || now.uptime < settings_.grace) return false;
  if (in_grace_) rounds_ = Rounds(settings_.failures, settings_.interval, settings_.timeout, now.elapsed);
  in_grace_ = false;
  take_answers(ipv4_);
  take_answers(ipv6_);
  resolver_.take(addresses_);
  const bool failed = rounds_.have_failed(now.elapsed);
  if (const auto round = rounds_.begin(now.elapsed)) {
    round_ = *round;
    asked_ = {};
    look_names_up(now);
  }
  ask();
  return failed;
}

void PingWatchdog::take_answers(const EchoSocket &socket) {
  while (const auto round = socket.answered(token_)) {
    rounds_.answer(*round);
    answered_ = true;
  }
}

/// Once a minute, and in every round while the address of a name is not known.
void PingWatchdog::look_names_up(const Moment &now) {
  bool is_missing = false;
  for (size_t i = 0; i < static_cast<size_t>(settings_.target_count); ++i) is_missing |= addresses_[i].length == 0;
  if (!is_missing && now.elapsed - looked_up_ < 60 * ms) return;
  looked_up_ = now.elapsed;
  resolver_.start(settings_);
}

/// Who has an address and was not asked in this round; a name may get its address while the round lasts.
void PingWatchdog::ask() {
  bool has_asked = false;
  bool is_unable = false;
  for (size_t i = 0; i < static_cast<size_t>(settings_.target_count); ++i) {
    if (asked_[i] || addresses_[i].length == 0) continue;
    asked_[i] = true;
    EchoSocket &socket = addresses_[i].bytes.ss_family == AF_INET ? ipv4_ : ipv6_;
    (socket.ask(addresses_[i], round_, token_) ? has_asked : is_unable) = true;
  }
  if (!is_unable || has_asked) return;
  // That is no silence of the hosts.
  rounds_.answer(round_);
  if (!told_unable_) zol::log_line("the targets cannot be asked: no socket for ICMP");
  told_unable_ = true;
}

size_t PingWatchdog::wait_for(pollfd *descriptors) const {
  size_t count = 0;
  for (const int descriptor : {ipv4_.descriptor(), ipv6_.descriptor(), resolver_.descriptor()}) {
    if (settings_.is_on() && descriptor != -1) descriptors[count++] = {descriptor, POLLIN, 0};
  }
  return count;
}

int64_t PingWatchdog::patience(const Moment &now) const {
  return settings_.is_on() && !in_grace_ ? rounds_.next() - now.elapsed : 60 * ms;
}

}  // namespace wdog
