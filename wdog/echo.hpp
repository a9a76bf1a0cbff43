#pragma once

// Asking hosts by ICMP, over IPv4 and IPv6.

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>

namespace wdog {

struct Address {
  sockaddr_storage bytes{};
  /// 0: not known.
  socklen_t length = 0;
};

/// The packet of a request or an answer, as it is on the line behind the address.
struct EchoPacket {
  uint8_t type;
  uint8_t code;
  uint16_t checksum;
  uint16_t identifier;
  uint16_t sequence;
  /// Tells answers to this process from all others.
  uint64_t token;
};

uint16_t internet_checksum(const void *bytes, size_t size);

/// A socket for one family. The kernel's own kind for pings is taken where it is allowed, a raw one elsewhere.
class EchoSocket {
 public:
  explicit EchoSocket(int family) : family_(family) {}
  EchoSocket(const EchoSocket &) = delete;
  EchoSocket &operator=(const EchoSocket &) = delete;
  ~EchoSocket();

  /// False when no socket can be had. A request that cannot be sent is one that nobody answers.
  bool ask(const Address &address, uint16_t round, uint64_t token);
  /// The round of the next answer that has come in.
  [[nodiscard]] std::optional<uint16_t> answered(uint64_t token) const;
  /// -1 when it is not open.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  bool open();

  int family_;
  int descriptor_ = -1;
  bool has_header_ = false;
};

}  // namespace wdog
