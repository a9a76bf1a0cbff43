#pragma once

// The kernel's interface to wireless drivers, included in one place: its header wants the C library's before it.

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
// clang-format off
#include <linux/wireless.h>
// clang-format on
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "core/text.hpp"

namespace zol {

/// Asks drivers about their interfaces, by ioctls on a datagram socket; false when there is none.
class WirelessDriver {
 public:
  WirelessDriver() : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
  WirelessDriver(const WirelessDriver &) = delete;
  WirelessDriver &operator=(const WirelessDriver &) = delete;
  ~WirelessDriver() {
    if (*this) close(descriptor_);
  }
  explicit operator bool() const { return descriptor_ >= 0; }

  /// One wireless request about `interface`; false when the driver refuses it.
  bool ask(const char *interface, unsigned long request, iwreq &answer) const {
    copy_text(answer.ifr_ifrn.ifrn_name, interface);
    return call(ioctl, request, &answer) >= 0;
  }

  /// The same with room for an answer of its own; how long that is, or -1.
  int ask(const char *interface, unsigned long request, void *room, size_t size) const {
    iwreq answer{};
    answer.u.data.pointer = room;
    answer.u.data.length = static_cast<uint16_t>(size);
    if (!ask(interface, request, answer)) return -1;
    return answer.u.data.length;
  }

 private:
  /// The C libraries do not agree on the type of a request.
  template <class Request>
  int call(int (*control)(int, Request, ...), unsigned long request, iwreq *answer) const {
    return control(descriptor_, static_cast<Request>(request), answer);
  }

  int descriptor_;
};

}  // namespace zol
