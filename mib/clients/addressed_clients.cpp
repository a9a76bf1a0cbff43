// The stations by their addresses, for the areas that keep settings of single clients.

#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"

std::optional<zol::AddressedClient> zol::addressed_client(int32_t position) {
  ClientRecord record{};
  int32_t found = 0;
  while (client_list::next(record)) {
    if (record.ip_address != 0 && ++found == position) {
      return AddressedClient{mac_octets(record.mac_text), record.ip_address};
    }
  }
  return std::nullopt;
}
