#pragma once

// What a reader hands to the agent, by the type of its object.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/address.hpp"
#include "core/net_snmp.hpp"

namespace zol {

/// Octets that answer a request. The bytes stay valid until the next one.
struct Octets {
  const void *data;
  size_t length;
};

/// The answer for a text: as long as the text is.
inline Octets text_answer(const char *text) { return {text, strlen(text)}; }

/// A reader; which one it is follows from the object's type.
template <class... Arguments>
union Reader {
  int32_t (*integer)(Arguments...);
  Ipv4 (*address)(Arguments...);
  Octets (*octets)(Arguments...);
};

/// The answer to the request that is being served: the agent is pointed here for numbers and addresses.
class Answer {
 public:
  template <class... Arguments>
  unsigned char *of(uint8_t type, const Reader<Arguments...> &read, size_t *length, Arguments... arguments) {
    if (type == ASN_OCTET_STR) {
      const Octets octets = read.octets(arguments...);
      *length = octets.length;
      return static_cast<unsigned char *>(const_cast<void *>(octets.data));
    }
    number_ =
        type == ASN_IPADDRESS ? htonl(read.address(arguments...)) : static_cast<uint32_t>(read.integer(arguments...));
    return reinterpret_cast<unsigned char *>(&number_);
  }

 private:
  uint32_t number_ = 0;
};

}  // namespace zol
