#pragma once

// The system status module `zolwrt`: live values of the access point, and the setters that belong to them.

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/module.hpp"

extern "C" {

// The values as they were read last, or as snmpd.conf preset them.

/// 1 reboots the access point when it is set.
ZOL_EXPORT extern int32_t reboot_device;
/// Only stored.
ZOL_EXPORT extern int32_t snmp_status, snmp_trap;
/// Preset in snmpd.conf and shown by no object.
ZOL_EXPORT extern int32_t assoc_counter, beacon_interval, rts_threshold, frag_threshold, if_signal, if_noise,
    if_quality, if_txccq, conn_tx_rate, conn_rx_rate;
/// Shares of the processor's time with one decimal, for example "12.3%".
ZOL_EXPORT extern char cpu_percent_used[8], cpu_percent_free[8];
/// The kernel's release, for example "3.3.8".
ZOL_EXPORT extern char ld_version[20];
/// How long the device has been up, "n Days hh:mm:ss".
ZOL_EXPORT extern char uptimes[20];
/// The local time, "YYYY/MM/DD hh:mm:ss".
ZOL_EXPORT extern char current_time[64];
/// Preset in snmpd.conf and shown by no object.
ZOL_EXPORT extern char conn_rssi[32], conn_sta_chann[32];
/// The port counter read last in each direction: bytes or errors, modulo 2^32.
ZOL_EXPORT extern uint32_t zol_rx_bytes, zol_tx_bytes;
/// Traffic of "eth0.1" (eth1) and "eth0.2" (eth2) in Kbit/s. The sampling threads write them without a lock; a float is
/// stored whole.
ZOL_EXPORT extern float eth1_rx_rate, eth1_tx_rate, eth2_rx_rate, eth2_tx_rate;

// The readers.

/// The processor's load in per cent, from "top -b -n 1". `busy` is everything that is neither idle time nor missing
/// from the line; both are 0 when the line is not there or cannot be read in full.
/// @return 0, or -1 with both untouched when the command cannot be started
ZOL_EXPORT int zol_get_cpu_info(float *busy, float *idle);

/// The kernel's release, the third word of "uname -a", at most 19 characters; `release` stays as it is without one.
/// @param release 20 bytes @return 0 always
ZOL_EXPORT int zol_get_ld_version(char *release);

/// An address of the LAN or the WAN from "uci show network", the first octet in the top byte.
/// @param section the UCI section; for the keys below any name that contains "lan" or "wan"
/// @param key "gateway", "dns1" (the LAN's or WAN's first DNS server), "dns2" (the second one), or the UCI option
/// itself
/// @param out 0 when there is no such option or no address in it
/// @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_lan_ip_address(const char *section, const char *key, uint32_t *out);

/// The Ethernet address of `interface` as `ifconfig` writes it, 17 characters.
/// @param text a text that the caller frees; set only when the answer is 0
/// @return 0; -1 when the command cannot be started; -2 when `ifconfig` shows no address for the interface
ZOL_EXPORT int get_mac_address(const char *interface, char **text);

/// Whether `ifconfig`, which lists what is up, shows `interface` as an Ethernet interface: 1 or 0.
/// @return 0, or -1 (and 0 as the status) when the command cannot be started
ZOL_EXPORT int zol_get_ethernet_status(const char *interface, int32_t *status);

/// A counter of `interface`, from "ifconfig <interface>": the number at `key`, modulo 2^32.
/// @param key "RX bytes:" or "TX bytes:"
/// @param mode 0 for the bytes, 1 for the errors behind them; any other mode answers 0
/// @param out 0 when the interface is down, or the line is not there or says something else
/// @return 0, or -1 when a command cannot be started
ZOL_EXPORT int zol_get_statistics_transmit_bytes(const char *interface, const char *key, int32_t mode, uint32_t *out);

/// Whether a port is connected: 1 or 0. The answer is taken from the minutes and seconds of its link time, so a link
/// that has been up for whole hours to the second counts as not connected; it is meant so.
/// @param port 1 for "eth0.2", anything else for "eth0.1"
ZOL_EXPORT int32_t get_conn_status(int32_t port);

// The setters. Every one checks the type in RESERVE1 (wrongType) and changes the device in ACTION. Only the first three
// restore anything on UNDO.

/// INTEGER up to 1 (wrongLength from 5 bytes on, wrongValue above; negative values are accepted). 1 runs "reboot".
ZOL_EXPORT WriteMethod write_reboot_device;
/// INTEGER up to 1, only stored.
ZOL_EXPORT WriteMethod write_snmp_status, write_snmp_trap;
/// The channel of radio 0 and of radio 1: INTEGER up to 165, 0 for an automatic choice. A negative number is written as
/// it stands.
ZOL_EXPORT WriteMethod write_channel, write_channel2;
/// The operation mode of the first and of the second wireless interface: INTEGER 0 to 4, see `set_operation_mode`.
ZOL_EXPORT WriteMethod write_operation_mode, write_operation2_mode;
/// IpAddress, without a check of its length: the LAN's and the WAN's own address, netmask and gateway.
ZOL_EXPORT WriteMethod write_lan_ip, write_netmask_ip, write_gateway_ip, write_wan_ip, write_netmask2_ip,
    write_gateway2_ip;
/// IpAddress: the LAN's first and second DNS server. Each keeps the other one.
ZOL_EXPORT WriteMethod write_pri_dns, write_sec_dns;
/// OCTET STRING of at most 100 octets: the network name of the first and of the second wireless interface. It stands
/// unescaped between single quotes of the command line.
ZOL_EXPORT WriteMethod write_ssid, write_ssid2_name;
/// OCTET STRING "YYYY/MM/DD hh:mm:ss" of at most 19 octets (wrongLength): sets the clock. A text without two slashes
/// and two colons is a wrongValue.
ZOL_EXPORT WriteMethod write_current_time;

/// The find function of the module's rows.
ZOL_EXPORT zol::FindMethod var_zolwrt;
}

namespace zol {

/// What the setter of `reboot_device` accepts: the bound is above only, negative numbers pass; it is meant so.
constexpr Accepts reboot_device_accepts = range(INT32_MIN, 1);

/// How long the port of `interface` ("eth0.1" or "eth0.2") has had a link, "n Days hh:mm:ss", from the kernel's
/// messages; a port without a link has been up for no time. The text lives until the next call. Null when the messages
/// cannot be read.
const char *get_port_link_time(const char *interface);

}  // namespace zol
