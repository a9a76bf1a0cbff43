#include "wdog/echo.hpp"

#include <netinet/icmp6.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace wdog {

uint16_t internet_checksum(const void *bytes, size_t size) {
  uint32_t sum = 0;
  for (size_t at = 0; at < size; at += 2) {
    uint16_t word = 0;
    memcpy(&word, static_cast<const char *>(bytes) + at, size - at == 1 ? 1 : 2);
    sum += ntohs(word);
  }
  while (sum >> 16U != 0) sum = (sum & 0xffffU) + (sum >> 16U);
  return htons(static_cast<uint16_t>(~sum & 0xffffU));
}

EchoSocket::~EchoSocket() {
  if (descriptor_ != -1) close(descriptor_);
}

bool EchoSocket::open() {
  if (descriptor_ != -1) return true;
  const int protocol = family_ == AF_INET ? static_cast<int>(IPPROTO_ICMP) : static_cast<int>(IPPROTO_ICMPV6);
  constexpr int flags = SOCK_NONBLOCK | SOCK_CLOEXEC;
  descriptor_ = socket(family_, SOCK_DGRAM | flags, protocol);
  if (descriptor_ != -1) return true;
  descriptor_ = socket(family_, SOCK_RAW | flags, protocol);
  has_header_ = family_ == AF_INET;
  if (descriptor_ != -1 && family_ == AF_INET6) {
    icmp6_filter filter{};
    ICMP6_FILTER_SETBLOCKALL(&filter);
    // What ICMP6_FILTER_SETPASS does, which not every C library writes without a change of sign.
    filter.icmp6_filt[ICMP6_ECHO_REPLY / 32] &= ~(1U << ICMP6_ECHO_REPLY % 32U);
    setsockopt(descriptor_, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter);
  }
  return descriptor_ != -1;
}

bool EchoSocket::ask(const Address &address, uint16_t round, uint64_t token) {
  if (!open()) return false;
  EchoPacket packet{};
  packet.type = family_ == AF_INET ? ICMP_ECHO : ICMP6_ECHO_REQUEST;
  packet.identifier = static_cast<uint16_t>(token);
  packet.sequence = htons(round);
  packet.token = token;
  // Over IPv6 the kernel computes it, since the addresses count as well.
  if (family_ == AF_INET) packet.checksum = internet_checksum(&packet, sizeof packet);
  sendto(descriptor_, &packet, sizeof packet, 0, reinterpret_cast<const sockaddr *>(&address.bytes), address.length);
  return true;
}

std::optional<uint16_t> EchoSocket::answered(uint64_t token) const {
  const uint8_t wanted = family_ == AF_INET ? ICMP_ECHOREPLY : ICMP6_ECHO_REPLY;
  std::array<uint8_t, 512> bytes;
  ssize_t received = 0;
  while (descriptor_ != -1 && (received = recv(descriptor_, bytes.data(), bytes.size(), 0)) != -1) {
    const size_t header = has_header_ && received > 0 ? (bytes[0] & 0x0fU) * size_t{4} : 0;
    EchoPacket packet;
    if (static_cast<size_t>(received) < header + sizeof packet) continue;
    memcpy(&packet, bytes.data() + header, sizeof packet);
    if (packet.type == wanted && packet.token == token) return ntohs(packet.sequence);
  }
  return std::nullopt;
}

}  // namespace wdog
