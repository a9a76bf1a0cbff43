// The bandwidth packages of single clients: the table of the stations that have an address, in the order of the client
// list, and of absent clients with rules (13.4), and the client that bandwidth_index has selected (13.5). Packages
// count from 1; 0 stands for no rule.

#include <algorithm>
#include <cstring>
#include <optional>

#include "core/clock.hpp"
#include "core/scalar.hpp"
#include "core/static_table.hpp"
#include "mib/clients/clients.hpp"
#include "mib/qos/client_rules.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;
using qos::Client;
using qos::Direction;
using qos::Rules;

namespace {

constexpr uint8_t rows = 16;

Mac mac_of(const AddressedClient &client) {
  Mac mac{};
  std::copy_n(client.mac.begin(), mac.size(), mac.begin());
  return mac;
}

/// Whether the client is among the table's present stations.
bool is_listed(const Mac &mac) {
  for (int32_t row = 1; row <= rows; ++row) {
    const std::optional<AddressedClient> client = addressed_client(row);
    if (!client) return false;
    if (mac_of(*client) == mac) return true;
  }
  return false;
}

bool is_present(const Mac &mac) { return present_stations().find(mac) != nullptr || is_listed(mac); }

/// When they were read; 0 after a change.
int64_t rules_loaded = 0;

/// The rules as they were within the last second: a walk asks for many rows that are not there.
const Rules &recent_rules() {
  constexpr int64_t lifetime = 1000;
  static constinit Rules rules;
  const int64_t now = monotonic_ms();
  if (rules_loaded == 0 || now - rules_loaded >= lifetime) {
    rules.load();
    rules_loaded = now;
  }
  return rules;
}

/// A row of the table.
struct Row {
  Mac mac;
  Ipv4 address;
};

/// The client at `position` (from 1) among those with marked rules that are not among the present ones, with the
/// address that its first rule is for.
std::optional<Row> absent_client(int32_t position) {
  const auto rules = recent_rules().all();
  for (auto rule = rules.begin(); rule != rules.end(); ++rule) {
    const auto is_same = [&](const qos::Rule &before) { return before.client == rule->client; };
    const bool is_first = rule->client && std::ranges::none_of(rules.begin(), rule, is_same);
    if (is_first && !is_listed(*rule->client) && --position == 0) return Row{*rule->client, rule->address};
  }
  return std::nullopt;
}

std::optional<Row> row_at(int32_t number) {
  for (int32_t present = 1; present <= number; ++present) {
    const std::optional<AddressedClient> client = addressed_client(present);
    if (!client) return absent_client(number - present + 1);
    if (present < number) continue;
    // The client list takes the lease of a station whose address differs in the last octet only for the station's own.
    const StationRecord *station = present_stations().find(mac_of(*client));
    const bool leased = station != nullptr && station->knows(Figure::address);
    return Row{mac_of(*client), leased ? station->address : client->address};
  }
  return std::nullopt;
}

/// The row that is being answered.
Row shown{};

bool select_client(Cell cell) {
  const std::optional<Row> row = row_at(cell.row);
  if (row) shown = *row;
  return row.has_value();
}

/// The client as its rules are told by: only one that is present has an address.
Client client_of(const Mac &mac) { return {mac, is_present(mac) ? lease_of(mac).value_or(0) : 0}; }

int read_package_of(const Client &client, Direction direction, int32_t *package) {
  *package = 0;
  Rules rules;
  if (!rules.load()) return -1;
  if (const qos::Rule *rule = rules.find(client, direction)) *package = rule->package;
  return 0;
}

Octets shown_mac(Cell) { return {shown.mac.data(), mac_length}; }

int32_t shown_package(Direction direction) {
  int32_t package = 0;
  read_package_of(client_of(shown.mac), direction, &package);
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
/// The stations that have an address, in the order of clientTable, then absent clients that have rules, and the
/// packages that shape their traffic while qosEnabled is 1. bandwidthIndex selects a client for changing it.
ZOL_TABLE(
    client_bandwidth, var_client_bandwidth, rows, columns, .entry = {13, 4, 1}, .select = select_client,
    .prepare = [] { after_collections(qos::follow_clients); });

// The selected client. Without one everything is zeros and an empty text, and a SET is refused.

namespace {

struct Selection {
  /// 0 before the first SET.
  int32_t row = 0;
  std::optional<Mac> mac = {};
};
/// The last one, and the one before it, which UNDO comes back to.
std::array<Selection, 2> selections;

std::optional<Mac> mac_of_row(int32_t number) {
  const std::optional<Row> row = row_at(number);
  return row ? std::optional(row->mac) : std::nullopt;
}

}  // namespace

/// Selects the client that the row shows now: bandwidthMacaddr and the objects behind it mean this client, wherever its
/// row moves, until the next SET. At first row 1 counts, whoever it shows.
ZOL_INTEGER(bandwidth_index, .oid = {13, 5, 1, 1}, .accepts = range(1, rows), .initial = 1);
ZOL_HELD(bandwidth_index)

int set_bandwidth_index(int32_t row) {
  selections = {Selection{row, mac_of_row(row)}, selections[0]};
  return 0;
}

namespace {

std::optional<Mac> selected_mac() {
  // UNDO brings the row back, and a configuration that is read again sets one.
  for (const Selection &selection : selections) {
    if (selection.row == bandwidth_index) return selection.mac;
  }
  return mac_of_row(bandwidth_index);
}

/// Nothing for one that has neither an address nor rules.
std::optional<Client> known_client(const std::optional<Mac> &mac) {
  if (!mac) return std::nullopt;
  const Client client = client_of(*mac);
  if (client.address != 0) return client;
  Rules rules;
  return rules.load() && rules.find(client) != nullptr ? std::optional(client) : std::nullopt;
}

std::optional<Client> selected_client() { return known_client(selected_mac()); }

/// Of its lease, or the one that its rules are for.
Ipv4 address_of(const Client &client) {
  if (client.address != 0) return client.address;
  Rules rules;
  const qos::Rule *rule = rules.load() ? rules.find(client) : nullptr;
  return rule == nullptr ? 0 : rule->address;
}

/// A row that the same request selects counts already.
bool has_selected_client() {
  const std::optional<int32_t> row = bandwidth_index_scalar.pending();
  return known_client(row ? mac_of_row(*row) : selected_mac()).has_value();
}

int read_package(Direction direction, int32_t *package) {
  *package = 0;
  const std::optional<Client> client = selected_client();
  return client ? read_package_of(*client, direction, package) : 0;
}

int write_package(Direction direction, int32_t package) {
  if (const std::optional<Client> client = selected_client()) qos::set_client_package(direction, *client, package);
  rules_loaded = 0;
  return 0;
}

size_t address_length = 0;

}  // namespace

/// @syntax ZolarcMacAddress
/// The client's address; empty without a client.
ZOL_TEXT_WITHOUT_SET(
    bandwidth_macaddr, mac_length + 1, .oid = {13, 5, 1, 2}, .access = read_only,
    .measure = [] { return address_length; });

int get_bandwidth_macaddr(char *octets) {
  const std::optional<Client> client = selected_client();
  address_length = client ? mac_length : 0;
  memset(octets, 0, mac_length + 1);
  if (client) memcpy(octets, client->mac.data(), mac_length);
  return 0;
}

/// The client's IPv4 address, by its lease, or the one that its rules are for; 0.0.0.0 without a client.
ZOL_ADDRESS_WITHOUT_SET(bandwidth_ipaddr, .oid = {13, 5, 1, 3}, .access = read_only);

int get_bandwidth_ipaddr(Ipv4 *address) {
  const std::optional<Client> client = selected_client();
  *address = client ? address_of(*client) : 0;
  return 0;
}

/// @syntax ZolarcPackage
/// The package that shapes what the client receives. A SET changes or adds the client's own rule of qos, none(0)
/// deletes it; rules that an administrator wrote otherwise are left alone. The rule follows the client to a new
/// address. Refused with wrongValue without a client, and when it is neither present nor has a rule.
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
