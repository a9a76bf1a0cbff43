#pragma once

// The stations associated with the access point: how their attributes are read, and the tasks that collect them.

#include <pthread.h>

#include <cstdint>
#include <optional>

#include "core/address.hpp"
#include "core/net_snmp.hpp"

extern "C" {

// One attribute of one station. `mac` is its address in the dash form "00-1a-2b-3c-4d-5e", any case. Unless said
// otherwise a reader presets its output (0, or an empty text), counts the bridged interfaces with "brctl show" (none
// where they cannot be counted), asks one after the other until one knows the station, and returns 0, found or not, or
// -1 when an interface cannot be asked. A text that is no address is not looked for.

/// A counter of the station's link by its name in "80211stats -i ath<N> -a", such as "rx_bytes": the first number
/// behind the name, 0 when the rest of the line has none. Wraps at 32 bits.
ZOL_EXPORT int zol_get_80211_by_macaddr(const char *mac, int32_t *out, const char *counter);

/// How well the link to the station uses its time, in per cent, from "iwinfo ath<N> assoclist".
ZOL_EXPORT int zol_get_ac_txccq_by_macaddr(const char *mac, int32_t *percent);

/// The station's signal in dBm, from "iwinfo ath<N> assoclist"; an unknown signal reads as 0.
ZOL_EXPORT int zol_get_ac_rssi_by_macaddr(const char *mac, int32_t *dbm);

/// The noise at the station's radio in dBm, from "iwinfo ath<N> assoclist".
ZOL_EXPORT int zol_get_ac_noise_by_macaddr(const char *mac, int32_t *dbm);

/// The signals of the antenna chains as the driver writes them, at most 19 characters, from "iwinfo ath<N> assoclist".
/// @param text 20 bytes
ZOL_EXPORT int zol_get_ac_signalchains_by_macaddr(const char *mac, char *text);

/// The station's address by its DHCP lease in /var/dhcp.leases, the first octet in the top byte. The address's last
/// octet is not compared, so of two stations that differ only there both get the first lease; it is meant so.
ZOL_EXPORT int get_ac_ip_addr(const char *mac, uint32_t *address);

/// How long the station has been connected, "n Days hh:mm:ss": the time since its DHCP lease, found as by
/// `get_ac_ip_addr`, was given or renewed; no time without a lease.
/// @param text 44 bytes, untouched when the command cannot be started
ZOL_EXPORT int get_ac_uptime(const char *mac, char *text);

/// A station's rate in whole Mbit/s, from "iwinfo <interface> assoclist".
/// @param mac with colons, any case
/// @param label "RX:" or "TX:", looked for in the two lines behind the station's own
/// @param rate untouched when there is no such rate
/// @return 0 always
ZOL_EXPORT int zol_get_assoc_client_rate(const char *mac, const char *interface, const char *label, int32_t *rate);

// Figures of the interface ath0. `out` stays as it is when the command cannot be started (-1) or prints something else.

/// Errors, from `ifconfig ath0 | grep "TX packets"` and `... "RX packets"`.
ZOL_EXPORT int zol_get_tx_err_packets(int32_t *out);
ZOL_EXPORT int zol_get_rx_err_packets(int32_t *out);
/// Bytes modulo 2^32, from `ifconfig ath0 | grep "TX bytes"` and `... "RX bytes"`.
ZOL_EXPORT int zol_get_tx_bytes(int32_t *out);
ZOL_EXPORT int zol_get_rx_bytes(int32_t *out);
/// A counter of the whole interface by its name in "80211stats -i ath0 -a", read as `zol_get_80211_by_macaddr` reads
/// it; 0 without one.
ZOL_EXPORT int zol_get_80211(int32_t *out, const char *counter);

// Probes: the traffic of ath0 over one second, in Kbit/s, by the interface's or by the driver's byte counters. They
// take that second. @return 0 always

ZOL_EXPORT int zol_get_tx_realtime(float *kbps);
ZOL_EXPORT int zol_get_rx_realtime(float *kbps);
ZOL_EXPORT int zol_get_80211_tx_realtime(float *kbps);
ZOL_EXPORT int zol_get_80211_rx_realtime(float *kbps);

// The list of stations.

/// Drops the listed stations; what the last collection has counted is kept.
ZOL_EXPORT void shutdown_zol_AssociatedClients(void);
/// Drops the listed stations and what was counted.
ZOL_EXPORT void releaseList(void);
/// Fills the list from the driver's own tables, by its ioctls: the stations of every wireless interface in
/// /proc/net/dev.
ZOL_EXPORT void loadTables(void);
/// The second half of `loadTables`: the stations of as many radios as it has counted. The sections [wlan0], [wlan1] ...
/// of /etc/sysctl.conf name their devices.
ZOL_EXPORT void loadAssociatedClients(void);

/// Runs a program without a shell and waits for it: the first 255 characters of `command`, split at white space.
/// @return 0, or -1 when no process could be started
ZOL_EXPORT int RunScript(const char *command);

// Sampling. Three tasks collect in the background, so that requests are answered from memory: task 1 the stations'
// rates every 2 seconds, task 2 the stations every 11 seconds, task 3 the rates of "eth0.1" and "eth0.2" every 3.

/// Held by a task while it collects: the tasks never overlap. The agent's thread never takes it, a collection takes
/// seconds.
ZOL_EXPORT extern pthread_mutex_t running_task;
/// 1 ends the loops below.
ZOL_EXPORT extern int32_t thread_stopped;
/// How many stations the last collection has found.
ZOL_EXPORT extern int32_t global_client_number;
/// When each task ran last, and the time of day of the last check: {last, current}.
ZOL_EXPORT extern int32_t task_hour[3][2], task_minute[3][2], task_second[3][2];
/// The byte counters of "eth0.1" and "eth0.2" at the last run of task 3.
ZOL_EXPORT extern uint32_t last_rx_byte[2], last_tx_byte[2];

/// Forgets when the tasks ran, the byte counters of task 3 and its rates. To be called before the loops start.
/// @return 1 always
ZOL_EXPORT int init_task(void);

/// Whether task `index` (0 to 2) is due: `*period` seconds have passed since it was due last, which is then now.
/// @param period becomes the seconds that have passed. They are counted by the time of day alone: after midnight they
/// are negative, and the task pauses until the time of its last run is reached again; it is meant so.
/// @return 1 when it is due, else 0; 0 and `*period` untouched for another index
ZOL_EXPORT int do_task_if_possible(int index, int32_t *period);

/// One run of a task if it is due. Task 2 sends a trap for every station fewer (enterprise-specific 2) and for every
/// station more (generic 0) than it found the last time. @return 0 always
ZOL_EXPORT int zol_process_task_1(void);
ZOL_EXPORT int zol_process_task_2(void);
ZOL_EXPORT int zol_process_task_3(void);
/// All three in turn.
ZOL_EXPORT int zol_process_one_thread(void);

/// Loops that run a task whenever it is due, until the agent stops or `thread_stopped` is 1: for a thread each.
/// @return null
ZOL_EXPORT void *zol_realtime_thread_1(void *unused);
ZOL_EXPORT void *zol_realtime_thread_2(void *unused);
ZOL_EXPORT void *zol_realtime_thread_3(void *unused);

// Kept for programs that were linked with them; they do nothing and return 0.

ZOL_EXPORT int zol_get_tx_realtime_rate(void);
ZOL_EXPORT int zol_get_rx_realtime_rate(void);
ZOL_EXPORT int zol_get_80211_tx_realtime_rate(void);
ZOL_EXPORT int zol_get_80211_rx_realtime_rate(void);
ZOL_EXPORT int zol_get_80211_tx_realtime_by_macaddr(void);
ZOL_EXPORT int zol_get_80211_rx_realtime_by_macaddr(void);
ZOL_EXPORT int zol_main_thread_1(void);
ZOL_EXPORT int zol_main_thread_2(void);
ZOL_EXPORT zol::FindMethod var_RemoteAPInfoTable, var_VAPInfoTable, var_STAInfoTable, var_APInfoTable,
    var_associatedClientsTable;
}

namespace zol {

/// Sends one trap. The tasks send theirs with `send_easy_trap` unless they are given another way; null restores that.
using TrapSender = void(int generic, int specific);
void send_traps_with(TrapSender *sender);

/// Has `guest` called in every collection of task 2 in which commands are not run twice (zolarcReuse), before the
/// stations are searched: what it asks the tools for, and what the task asks them for, is asked once. Null ends it.
using CollectionGuest = void();
void collect_along(CollectionGuest *guest);

/// Lets a task that is collecting give up soon after the command that it is waiting for, without changing the list or
/// sending traps; and every task that is started until this is taken back.
void abandon_collections(bool abandon);
bool collections_abandoned();

/// A station by its addresses.
struct AddressedClient {
  /// The first six octets.
  MacOctets mac;
  Ipv4 address;
};

/// The station at `position` (from 1) among those of the list that have an IP address; nothing when there are fewer.
/// The list may change from call to call; nothing here waits for a collection.
std::optional<AddressedClient> addressed_client(int32_t position);

}  // namespace zol
