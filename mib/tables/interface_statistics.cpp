// The figures of the wireless interfaces (4.1), one row for each interface that is a member of a bridge. Every cell is
// read anew.

#include <cstdio>
#include <cstring>

#include "core/command.hpp"
#include "core/static_table.hpp"
#include "core/text.hpp"
#include "mib/tables/tables.hpp"

using namespace zol;

/// @syntax ZolarcMacAddress
/// The same as zolWlanBssid, which is the interface's own address where it is an access point.
ZOL_TOKEN_TEXT(zol_table, zol_wlan_mac, 64, 63)

/// @syntax ZolarcMacAddress
/// The address of the access point that the interface is, or is associated with (iwconfig).
ZOL_TOKEN_TEXT(zol_table, zol_wlan_bssid, 64, 63)

int get_zol_wlan_mac(const char *interface, char *mac) {
  CommandOutput output("iwconfig %s", interface);
  if (!output) return -1;
  MacOctets octets{};
  constexpr const char *label = "Access Point:";
  if (output.find(label) != nullptr) octets = mac_octets(text_after(output.line(), label, 1));
  memcpy(mac, octets.data(), octets.size());
  return 0;
}

int get_zol_wlan_bssid(const char *interface, char *bssid) { return get_zol_wlan_mac(interface, bssid); }

namespace {

struct Tool {
  const char *name;
  const char *arguments;
};
constexpr Tool iwconfig{"iwconfig", ""};
constexpr Tool iwinfo{"iwinfo", " info"};
constexpr Tool ifconfig{"ifconfig", ""};

/// Where a tool shows a figure: behind `label`, after `gap` characters.
struct Figure {
  Tool tool;
  const char *label;
  size_t gap = 0;
  /// What stands between another number at that place and the figure itself.
  const char *second_label = nullptr;
};

int32_t parse(const Figure &figure, const char *line) {
  const char *cursor = text_after(line, figure.label, figure.gap);
  if (figure.second_label == nullptr) return to_int32(cursor);
  return scan_second_number(cursor, figure.second_label).value_or(0);
}

int read_figure(const Figure &figure, const char *interface, int32_t *value) {
  CommandOutput output("%-s %s%-s", figure.tool.name, interface, figure.tool.arguments);
  if (!output) return -1;
  *value = output.find(figure.label) == nullptr ? 0 : parse(figure, output.line());
  return 0;
}

}  // namespace

/// A column's value with its token, and the reader get_NAME; the further arguments are the fields of `Figure`.
#define STATISTIC(NAME, ...)                              \
  ZOL_TOKEN_INTEGER(zol_table, NAME, int32_t)             \
  int get_##NAME(const char *interface, int32_t *value) { \
    static constexpr Figure figure{__VA_ARGS__};          \
    return read_figure(figure, interface, value);         \
  }

/// @units microseconds
/// The ACK timeout in use (iwinfo).
STATISTIC(zol_acktimeout_current, .tool = iwinfo, .label = "ACK timeout  :", .gap = 1)

/// @units Mbit/s
/// The bit rate, its whole number (iwconfig).
STATISTIC(zol_bit_rate, .tool = iwconfig, .label = "Bit Rate:")

/// Packets sent (ifconfig).
STATISTIC(zol_wlantx_packets, .tool = ifconfig, .label = "TX packets:")

/// @units bytes
/// Bytes sent, which wrap into negative numbers at 2^31.
STATISTIC(zol_wlantx_bytes, .tool = ifconfig, .label = "TX bytes:")

/// Errors in sending.
STATISTIC(zol_wlantx_errors, .tool = ifconfig, .label = "TX packets:", .second_label = "errors:")

/// Frames given up after too many retries (iwconfig).
STATISTIC(zol_txexcess_retries, .tool = iwconfig, .label = "Tx excessive retries:")

/// Beacons missed (iwconfig).
STATISTIC(zol_missed_beacons, .tool = iwconfig, .label = "Missed beacon:")

/// Packets received (ifconfig).
STATISTIC(zol_wlanrx_packets, .tool = ifconfig, .label = "RX packets:")

/// @units bytes
/// Bytes received, which wrap into negative numbers at 2^31.
STATISTIC(zol_wlanrx_bytes, .tool = ifconfig, .label = "RX bytes:")

/// Errors in receiving.
STATISTIC(zol_wlanrx_errors, .tool = ifconfig, .label = "RX packets:", .second_label = "errors:")

/// Packets received of another network (iwconfig).
STATISTIC(zol_rx_invalidNwid, .tool = iwconfig, .label = "Rx invalid nwid:")

/// Packets that could not be decrypted (iwconfig).
STATISTIC(zol_rx_invalidCrypt, .tool = iwconfig, .label = "Rx invalid crypt:")

/// Packets whose fragments were not complete (iwconfig).
STATISTIC(zol_rx_invalidFrag, .tool = iwconfig, .label = "Rx invalid frag:")

/// The state of radar detection as iwinfo tells it, 1 when it cannot be asked for.
ZOL_TOKEN_INTEGER(zol_table, zol_dfs_status, int32_t)

int get_zol_dfs_status(const char *interface, int32_t *status) {
  *status = 1;
  return read_figure({.tool = iwinfo, .label = "DFS status   :", .gap = 1}, interface, status);
}

/// How many stations are associated.
ZOL_TOKEN_INTEGER(zol_table, zol_assoc_count, int32_t)

int get_zol_assoc_count(const char *interface, int32_t *stations) {
  *stations = count_stations(interface);
  return 0;
}

namespace {

/// The interfaces of the last walk: a new one shows when the table's first cell is asked for again.
uint32_t interfaces = 0;

/// The interface of a row.
struct InterfaceName {
  explicit InterfaceName(Cell cell) { snprintf(text, sizeof text, "ath%d", cell.row - 1); }
  char text[16];
};

// A reader that fails leaves its value as it was read, or preset, before.

template <auto Get, int32_t &value>
int32_t number(Cell cell) {
  Get(InterfaceName(cell).text, &value);
  return value;
}

template <auto Get, char (&value)[64]>
Octets address(Cell cell) {
  Get(InterfaceName(cell).text, value);
  return {value, mac_length};
}

}  // namespace

// A column's number is its magic too.
#define ADDRESS(COLUMN, NAME) octets_column(COLUMN, COLUMN, #NAME, address<get_##NAME, NAME>)
#define NUMBER(COLUMN, NAME) integer_column(COLUMN, COLUMN, #NAME, number<get_##NAME, NAME>)

namespace {

// clang-format off
constexpr Column columns[] = {
    ADDRESS(1, zol_wlan_mac),
    NUMBER(2, zol_acktimeout_current),
    NUMBER(3, zol_dfs_status),
    NUMBER(4, zol_bit_rate),
    NUMBER(5, zol_assoc_count),
    ADDRESS(6, zol_wlan_bssid),
    NUMBER(7, zol_wlantx_packets),
    NUMBER(8, zol_wlantx_bytes),
    NUMBER(9, zol_wlantx_errors),
    NUMBER(10, zol_txexcess_retries),
    NUMBER(11, zol_missed_beacons),
    NUMBER(12, zol_wlanrx_packets),
    NUMBER(13, zol_wlanrx_bytes),
    NUMBER(14, zol_wlanrx_errors),
    NUMBER(15, zol_rx_invalidNwid),
    NUMBER(16, zol_rx_invalidCrypt),
    NUMBER(17, zol_rx_invalidFrag),
};
// clang-format on
void forget_addresses() {
  memset(zol_wlan_mac, 0, sizeof zol_wlan_mac);
  memset(zol_wlan_bssid, 0, sizeof zol_wlan_bssid);
}

}  // namespace

/// @table wlanInterfaceTable
/// The wireless interfaces athN that are members of a bridge, with what their tools tell of them. Each cell runs a
/// command of its own. Which rows exist is found out when the first cell is read, as a walk does.
ZOL_TABLE(
    zol_table, var_zol_table, 16, columns, .entry = {4, 1}, .refresh = [] { get_virtual_ap_num(&interfaces); },
    .live_rows = [] { return static_cast<int32_t>(interfaces); }, .prepare = forget_addresses);
