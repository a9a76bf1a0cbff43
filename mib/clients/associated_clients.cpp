// The table of associated stations (5.1), served from the list that the sampling tasks keep.

#include <cstring>

#include "core/command.hpp"
#include "core/conf_file.hpp"
#include "core/enterprise.hpp"
#include "core/static_table.hpp"
#include "mib/clients/client_list.hpp"
#include "mib/clients/clients.hpp"
#include "mib/clients/driver.hpp"
#include "mib/clients/stations.hpp"
#include "mib/device/device.hpp"

using namespace zol;

namespace {

/// The station whose row is asked for: a copy that only the agent's thread touches, valid until its next request.
ClientRecord current;

bool select_row(Cell cell) { return client_list::copy(static_cast<size_t>(cell.row - 1), current); }

template <auto field>
int32_t number(Cell) {
  return current.*field;
}

template <auto field>
Octets text(Cell) {
  return text_answer(current.*field);
}

Octets address(Cell) {
  static MacOctets octets;
  octets = mac_octets(current.mac_text);
  return {octets.data(), mac_length};
}

using R = ClientRecord;

// There is no column 11.
constexpr Column columns[] = {
    /// @syntax ZolarcMacAddress
    /// The station's address.
    octets_column(1, 101, "client_mac", address),
    /// @syntax ZolarcText (SIZE (0..39))
    /// The name of the network that it has joined.
    octets_column(2, 146, "client_ssid", text<&R::ssid>),
    /// @units dBm
    /// The strength of its signal.
    integer_column(3, 104, "client_rssi", number<&R::rssi>),
    /// @syntax ZolarcText (SIZE (0..19))
    /// The strength of its signal at each antenna, separated by commas.
    octets_column(4, 149, "client_signal_chains", text<&R::signal_chains>),
    /// @units dBm
    /// The noise that it is received with.
    integer_column(5, 148, "client_noise", number<&R::noise>),
    /// @units Mbit/s
    /// The rate that it is sent to with, its whole number.
    integer_column(6, 102, "client_tx_rate", number<&R::tx_rate>),
    /// @units Mbit/s
    /// The rate that it sends with, its whole number; clientTxRate where the driver tells none.
    integer_column(7, 145, "client_rx_rate", number<&R::rx_rate>),
    /// @units percent
    /// The quality of the connection in sending to it.
    integer_column(8, 147, "client_txccq", number<&R::txccq>),
    /// Its address, from its lease; 0.0.0.0 when it has none.
    address_column(9, 150, "client_ip", [](Cell) { return current.ip_address; }),
    /// @syntax ZolarcText (SIZE (0..43))
    /// How long it has had its lease, for example '0 Days 01:02:03'.
    octets_column(10, 151, "client_uptime", text<&R::uptime_text>),
    /// Data frames received from it.
    integer_column(12, 108, "client_rx_data", number<&R::rx_data_copy>),
    /// @units bytes
    /// Bytes received from it.
    integer_column(13, 110, "client_rx_bytes", number<&R::rx_bytes>),
    /// Data frames sent to it.
    integer_column(14, 126, "client_tx_data", number<&R::tx_data_copy>),
    /// @units bytes
    /// Bytes sent to it.
    integer_column(15, 128, "client_tx_bytes", number<&R::tx_bytes>),
    /// Authentications with it.
    integer_column(16, 152, "client_tx_auth", number<&R::tx_auth>),
    /// Errors in sending of the first wireless interface, not of the station alone.
    integer_column(17, 141, "client_tx_err_packets", number<&R::tx_err_packets>),
    /// Errors in receiving of the first wireless interface, not of the station alone.
    integer_column(18, 142, "client_rx_err_packets", number<&R::rx_err_packets>),
    /// Frames to it that were discarded.
    integer_column(19, 153, "client_tx_discard", number<&R::tx_discard>),
    /// Authentications that have not failed.
    integer_column(20, 154, "client_auth_ok", number<&R::auth_ok>),
    /// Associations that have not failed.
    integer_column(21, 155, "client_assoc_ok", number<&R::assoc_ok>),
};

/// Every other module registers below the enterprise number that is read here: this one is always the first.
void prepare() {
  zol::learn_enterprise();
  apply_host_name();
  releaseList();
  confAlias("/etc/sys.conf", "sys");
  confAlias("/home/web/en/english.msg", "language");
  confAlias("/home/web/jp/label.conf", "label");
}

}  // namespace

/// @table clientTable
/// The associated stations, at most eight. They are collected in the background every eleven seconds. Where nothing
/// samples, as in an agent that loads the modules one by one, the table is empty.
ZOL_TABLE(zol_AssociatedClients, var_ClientInfoTable, most_stations, columns, .entry = {5, 1}, .select = select_row,
          .only_while_running = true, .prepare = prepare);

ZOL_REGISTER_TOKEN(
    zol_AssociatedClients, rssidbm, [](const char *, char *value) { report_rssi_in_dbm(strcmp(value, "false") != 0); },
    nullptr)

void shutdown_zol_AssociatedClients(void) { client_list::clear(client_list::Former::keep); }
void releaseList(void) { client_list::clear(client_list::Former::drop); }

int RunScript(const char *command) { return run_words(command); }

// Placeholders: no row refers to them.
#define ZOL_NO_VALUE(FIND) \
  unsigned char *FIND(variable *, oid *, size_t *, int, size_t *, WriteMethod **) { return nullptr; }
ZOL_NO_VALUE(var_RemoteAPInfoTable)
ZOL_NO_VALUE(var_VAPInfoTable)
ZOL_NO_VALUE(var_STAInfoTable)
ZOL_NO_VALUE(var_APInfoTable)
ZOL_NO_VALUE(var_associatedClientsTable)
#undef ZOL_NO_VALUE
