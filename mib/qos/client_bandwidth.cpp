// The bandwidth packages of single clients: the table of the stations that have an address, in the order of the client
// list (13.4), and the row that bandwidth_index selects (13.5). Packages count from 1; 0 stands for no rule.

#include <cstring>
#include <optional>

#include "core/scalar.hpp"
#include "core/static_table.hpp"
#include "mib/clients/clients.hpp"
#include "mib/qos/client_rules.hpp"

using namespace zol;
using qos::Direction;

namespace {

constexpr uint8_t rows = 16;

/// The client of the row that is being answered.
AddressedClient shown{};

bool select_client(Cell cell) {
  const std::optional<AddressedClient> client = addressed_client(cell.row);
  if (client) shown = *client;
  return client.has_value();
}

Octets shown_mac(Cell) { return {shown.mac.data(), mac_length}; }

int32_t shown_package(Direction direction) {
  int32_t package = 0;
  qos::get_client_package(direction, shown.address, &package);
  return package;
}

constexpr Column columns[] = {
    /// @syntax Integer32 (1..16)
    /// The row's number.
    integer_column(1, 1, "client_bandwidth_index", [](Cell cell) { return cell.row; }),
    /// @syntax ZolarcMacAddress
    /// The client's address.
    octets_column(2, 2, "client_bandwidth_macaddr", shown_mac),
    /// The client's IPv4 address.
    address_column(3, 3, "client_bandwidth_ipaddr", [](Cell) { return shown.address; }),
    /// @syntax ZolarcPackage
    /// The package that shapes what the client receives.
    integer_column(4, 4, "client_bandwidth_download", [](Cell) { return shown_package(Direction::download); }),
    /// @syntax ZolarcPackage
    /// The package that shapes what the client sends.
    integer_column(5, 5, "client_bandwidth_upload", [](Cell) { return shown_package(Direction::upload); }),
};

}  // namespace

/// @table clientBandwidthTable
/// The stations that have an address, in the order of clientTable, and the packages that shape their traffic.
/// bandwidthIndex selects a row for changing it.
ZOL_TABLE(client_bandwidth, var_client_bandwidth, rows, columns, .entry = {13, 4, 1}, .select = select_client);

// The selected row. Without a client it answers zeros and an empty text, and a SET is refused. The check looks at the
// row that was selected before the request, so a row is to be selected by a request of its own.

/// Selects the row. Only stored. Unlike elsewhere, select by a request of its own: whether the row has a client is
/// looked at before a request takes effect.
ZOL_INTEGER(bandwidth_index, .oid = {13, 5, 1, 1}, .accepts = range(1, rows), .initial = 1);
ZOL_STORED(bandwidth_index)

namespace {

std::optional<AddressedClient> selected_client() { return addressed_client(bandwidth_index); }

bool has_selected_client() { return selected_client().has_value(); }

int read_package(Direction direction, int32_t *package) {
  *package = 0;
  const std::optional<AddressedClient> client = selected_client();
  return client ? qos::get_client_package(direction, client->address, package) : 0;
}

int write_package(Direction direction, int32_t package) {
  if (const std::optional<AddressedClient> client = selected_client()) {
    qos::set_client_package(direction, client->address, package);
  }
  return 0;
}

size_t address_length = 0;

}  // namespace

/// @syntax ZolarcMacAddress
/// The client's address; empty when the row has no client.
ZOL_TEXT_WITHOUT_SET(
    bandwidth_macaddr, mac_length + 1, .oid = {13, 5, 1, 2}, .access = read_only,
    .measure = [] { return address_length; });

int get_bandwidth_macaddr(char *octets) {
  const std::optional<AddressedClient> client = selected_client();
  address_length = client ? mac_length : 0;
  memset(octets, 0, mac_length + 1);
  if (client) memcpy(octets, client->mac.data(), mac_length);
  return 0;
}

/// The client's IPv4 address; 0.0.0.0 when the row has no client.
ZOL_ADDRESS_WITHOUT_SET(bandwidth_ipaddr, .oid = {13, 5, 1, 3}, .access = read_only);

int get_bandwidth_ipaddr(Ipv4 *address) {
  const std::optional<AddressedClient> client = selected_client();
  *address = client ? client->address : 0;
  return 0;
}

/// @syntax ZolarcPackage
/// The package that shapes what the client receives. A SET changes or adds the client's own rule of qos, none(0)
/// deletes it; rules that an administrator wrote otherwise are left alone. Refused with wrongValue when the row has no
/// client.
ZOL_INTEGER(bandwidth_download, .oid = {13, 5, 1, 4}, .accepts = range(0, qos::most_packages),
            .settable = has_selected_client);
int get_bandwidth_download(int32_t *package) { return read_package(Direction::download, package); }
int set_bandwidth_download(int32_t package) { return write_package(Direction::download, package); }

/// @syntax ZolarcPackage
/// The package that shapes what the client sends, as bandwidthDownload.
ZOL_INTEGER(bandwidth_upload, .oid = {13, 5, 1, 5}, .accepts = range(0, qos::most_packages),
            .settable = has_selected_client);
int get_bandwidth_upload(int32_t *package) { return read_package(Direction::upload, package); }
int set_bandwidth_upload(int32_t package) { return write_package(Direction::upload, package); }
