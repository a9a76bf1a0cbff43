#pragma once

// The associated stations as they were collected last, and the lock that lets the agent's thread read them while they
// are collected anew. Nothing here waits for a command: the lock is held to change the list or to copy one record out.

#include <cstdint>
#include <span>

namespace zol {

/// One station. Texts are cut to their fields.
struct ClientRecord {
  /// "%04d %s" of the interface's index and the MAC text: what a station is known by, and what the list is sorted by.
  char key[23];
  /// "ath0", "ath1", ...
  char ifname[21];
  int32_t ifindex;
  /// "00-11-22-AA-BB-CC"; with colons from the driver's loader.
  char mac_text[20];
  /// Of the driver's loader only, as are `rate_legacy` and `legacy_word`.
  int32_t station_word;
  /// Mbit/s.
  int32_t tx_rate;
  int32_t rx_rate;
  int32_t rate_legacy;
  /// dBm.
  int32_t rssi;
  int32_t legacy_word;
  /// N of the interface athN.
  int32_t vap_index;
  /// Per cent.
  int32_t txccq;
  /// dBm.
  int32_t noise;

  // The driver's counters, in its own order. Of the 64-bit ones the first word is used.
  int32_t rx_data;
  int32_t rx_mgmt;
  int32_t rx_ctrl;
  int32_t rx_data_copy;
  int32_t rx_mcast;
  alignas(8) int32_t rx_bytes;
  int32_t rx_bytes_second;
  int32_t rx_beacons;
  int32_t rx_proberesp;
  int32_t rx_dup;
  int32_t rx_noprivacy;
  int32_t rx_wepfail;
  int32_t rx_demicfail;
  int32_t rx_decap;
  int32_t rx_defrag;
  int32_t rx_disassoc;
  int32_t rx_deauth;
  int32_t rx_decryptcrc;
  int32_t rx_unauth;
  int32_t rx_unencrypted;
  int32_t tx_data;
  int32_t tx_mgmt;
  int32_t tx_data_copy;
  int32_t tx_mcast;
  alignas(8) int32_t tx_bytes;
  int32_t tx_bytes_second;
  int32_t tx_assoc;
  int32_t tx_assoc_fail;
  /// tx_assoc without the failed ones.
  int32_t assoc_ok;
  int32_t tx_auth;
  int32_t tx_auth_fail;
  /// tx_auth without the failed ones.
  int32_t auth_ok;
  int32_t tx_deauth;
  int32_t tx_deauth_code;
  int32_t tx_disassoc;
  int32_t tx_disassoc_code;
  /// The rest of what the driver's statistics may hold.
  int32_t further_counters[14];

  int32_t tx_err_packets;
  int32_t rx_err_packets;
  /// Kbit/s.
  float tx_rate_kbps;
  float rx_rate_kbps;
  int32_t tx_discard;
  char ssid[40];
  char signal_chains[20];
  /// The first octet in the top byte.
  uint32_t ip_address;
  uint32_t prev_tx_bytes;
  uint32_t last_tx_bytes;
  uint32_t prev_rx_bytes;
  uint32_t last_rx_bytes;
  /// "n Days hh:mm:ss".
  char uptime_text[44];
};
static_assert(sizeof(ClientRecord) == 456);

/// What the previous collection found; only counted.
struct ClientIndexRecord {
  char key[23];
  char mac_text[18];
};
static_assert(sizeof(ClientIndexRecord) == 41);

namespace client_list {

/// Writes the key of `record` from its interface's index and its MAC text.
void make_key(ClientRecord &record);

/// Takes over what a collection found. Each station takes the place of its former record. Stations that are gone stay
/// listed until there are fewer than the last collections have seen: then everything else is dropped. A station that
/// left while another one joined may thus be listed for one more collection; it is meant so.
void update(std::span<const ClientRecord> collected);

/// Puts one station into the list.
void insert(const ClientRecord &record);

/// Copies the record at `position` (from 0) out. False when the list is not that long.
bool copy(size_t position, ClientRecord &record);

/// Replaces `record` by the one that follows it in the list; an empty key is followed by the first record. False at the
/// end of the list.
bool next(ClientRecord &record);

/// Stores a record that was copied out, unless its station has gone from the list meanwhile.
void store(const ClientRecord &record);

/// Empties the list of stations, and with it, or without it, the one of what was seen before.
enum class Former : bool { keep, drop };
void clear(Former former);

}  // namespace client_list
}  // namespace zol
