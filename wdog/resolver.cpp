#include "wdog/resolver.hpp"

#include <fcntl.h>
#include <netdb.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "wdog/programs.hpp"

namespace wdog {

namespace {

/// What goes through the pipe, in one piece.
struct Found {
  size_t target;
  Address address;
};

bool look_up(const char *text, int flags, Address &address) {
  addrinfo hints{};
  hints.ai_flags = flags;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo *found = nullptr;
  if (getaddrinfo(text, nullptr, &hints, &found) != 0) return false;
  address.length = found->ai_addrlen;
  memcpy(&address.bytes, found->ai_addr, found->ai_addrlen);
  freeaddrinfo(found);
  return true;
}

[[noreturn]] void look_names_up(const PingSettings &settings, int pipe) {
  constexpr unsigned longest = 30;
  restore_signals();
  alarm(longest);
  for (size_t i = 0; i < static_cast<size_t>(settings.target_count); ++i) {
    Found found{};
    found.target = i;
    if (read_address(settings.targets[i].get(), found.address)) continue;
    if (!look_up(settings.targets[i].get(), AI_ADDRCONFIG, found.address)) continue;
    if (write(pipe, &found, sizeof found) != static_cast<ssize_t>(sizeof found)) break;
  }
  _exit(0);
}

}  // namespace

bool read_address(const char *text, Address &address) { return look_up(text, AI_NUMERICHOST, address); }

void Resolver::start(const PingSettings &settings) {
  int ends[2];
  if (descriptor_ != -1 || pipe2(ends, O_CLOEXEC | O_NONBLOCK) == -1) return;
  process_ = fork();
  if (process_ == 0) look_names_up(settings, ends[1]);
  close(ends[1]);
  descriptor_ = ends[0];
  if (process_ == -1) stop();
}

void Resolver::take(Addresses &addresses) {
  Found found;
  ssize_t size = 0;
  while (descriptor_ != -1 && (size = read(descriptor_, &found, sizeof found)) == static_cast<ssize_t>(sizeof found)) {
    if (found.target < addresses.size()) addresses[found.target] = found.address;
  }
  if (descriptor_ != -1 && (size != -1 || errno != EAGAIN)) stop();
}

void Resolver::stop() {
  if (descriptor_ != -1) close(descriptor_);
  descriptor_ = -1;
  // It may have ended and been waited for with the other programs: then its number is nobody's, or not ours.
  if (process_ > 0 && waitpid(process_, nullptr, WNOHANG) == 0) kill(process_, SIGKILL);
  process_ = -1;
}

}  // namespace wdog
