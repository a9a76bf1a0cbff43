#pragma once

// The tables of the wireless interfaces' figures, of the neighbouring networks and of the DHCP leases.

#include <cstddef>
#include <cstdint>

#include "core/export.hpp"
#include "core/net_snmp.hpp"

namespace zol {

/// A network as the site survey found it. A channel or signal of four characters fills its field without a terminator.
struct ScanRecord {
  uint8_t bssid[6];
  char essid[30];
  char channel[4];
  char signal[4];
};
static_assert(sizeof(ScanRecord) == 44);
constexpr size_t most_scan_records = 96;

/// A lease of the DHCP server. A host name of thirty characters fills its field without a terminator.
struct LeaseRecord {
  uint8_t mac[6];
  char host[30];
  uint8_t ip[4];
  /// Seconds since the epoch.
  uint32_t expiry;
};
static_assert(sizeof(LeaseRecord) == 44);
constexpr size_t most_lease_records = 32;

/// Whether a line of "wlanconfig <interface> list sta" is about a station: it begins with an address.
bool is_station_line(const char *line);

/// How many stations are associated with `interface`, from "wlanconfig <interface> list sta"; 0 when the command cannot
/// be started.
int32_t count_stations(const char *interface);

}  // namespace zol

extern "C" {

/// The number of wireless interfaces that are members of a bridge, from "brctl show".
/// @return the same number as a signed 8-bit one; -1, and 0 in `*count`, when the command cannot be started
ZOL_EXPORT int get_virtual_ap_num(uint32_t *count);

// The figures of one wireless interface, such as "ath0". Each reader runs a command of its own.
// @return 0; -1, with the output untouched, when the command cannot be started

/// The access point's address as "iwconfig" shows it: six octets, which are zero when there is no such line. A text
/// that is no address ("Not-Associated") is converted all the same, to octets without meaning.
/// @param mac 20 bytes
ZOL_EXPORT int get_zol_wlan_mac(const char *interface, char *mac);
/// The same reading as `get_zol_wlan_mac`; it is meant so.
ZOL_EXPORT int get_zol_wlan_bssid(const char *interface, char *bssid);

/// The ACK timeout in microseconds, from "iwinfo <interface> info". Here and below: 0 when the figure is not shown.
ZOL_EXPORT int get_zol_acktimeout_current(const char *interface, int32_t *microseconds);
/// The state of radar detection, from "iwinfo <interface> info"; 1 when the command cannot be started.
ZOL_EXPORT int get_zol_dfs_status(const char *interface, int32_t *status);
/// The bit rate in Mb/s, its whole part, from "iwconfig". A rate that is fixed by the configuration reads as 0.
ZOL_EXPORT int get_zol_bit_rate(const char *interface, int32_t *megabits);
/// The number of associated stations, see `zol::count_stations`. @return 0 always
ZOL_EXPORT int get_zol_assoc_count(const char *interface, int32_t *stations);

/// Counters from "ifconfig", modulo 2^32: a counter above 2^31 - 1 shows as a negative number.
ZOL_EXPORT int get_zol_wlantx_packets(const char *interface, int32_t *packets);
ZOL_EXPORT int get_zol_wlantx_bytes(const char *interface, int32_t *bytes);
ZOL_EXPORT int get_zol_wlantx_errors(const char *interface, int32_t *errors);
ZOL_EXPORT int get_zol_wlanrx_packets(const char *interface, int32_t *packets);
ZOL_EXPORT int get_zol_wlanrx_bytes(const char *interface, int32_t *bytes);
ZOL_EXPORT int get_zol_wlanrx_errors(const char *interface, int32_t *errors);

/// Counters from "iwconfig".
ZOL_EXPORT int get_zol_txexcess_retries(const char *interface, int32_t *retries);
ZOL_EXPORT int get_zol_missed_beacons(const char *interface, int32_t *beacons);
ZOL_EXPORT int get_zol_rx_invalidNwid(const char *interface, int32_t *packets);
ZOL_EXPORT int get_zol_rx_invalidCrypt(const char *interface, int32_t *packets);
ZOL_EXPORT int get_zol_rx_invalidFrag(const char *interface, int32_t *packets);

/// Surveys the neighbourhood: "iwinfo ath<N> scan " for each of `ap_count` interfaces. A network that several of them
/// hear is listed as often; it is meant so. Of a name only the first word is kept, at most 29 characters, and where the
/// name continues the word lacks its last character; it is meant so.
/// @param records 96 records; networks beyond are left out
/// @param count how many records were filled
/// @return 0, or -1 when a command cannot be started; `*count` then counts the interfaces that were read before
ZOL_EXPORT int get_zol_mac_scan(uint32_t ap_count, zol::ScanRecord *records, uint32_t *count);

/// Lists the current leases, from "cat /var/dhcp.leases". A line without an expiry time and an IPv4 address is no
/// lease.
/// @param records 32 records; leases beyond are left out
/// @param count how many records were filled
/// @return 0, or -1, without any record, when the command cannot be started
ZOL_EXPORT int get_zol_mac_active(zol::LeaseRecord *records, uint32_t *count);

/// The site survey as it was when the table's first cell was last asked for.
ZOL_EXPORT extern zol::ScanRecord zol_mac_scan_all[zol::most_scan_records];
ZOL_EXPORT extern uint32_t ssid_number;
/// The leases as they were when the table's first cell was last asked for.
ZOL_EXPORT extern zol::LeaseRecord zol_mac_active_all[zol::most_lease_records];
}
