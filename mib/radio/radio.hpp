#pragma once

// The radio objects. They form no table: `wlan_index` selects the wireless interface that all others read and write.

#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// The selected wireless interface, 0 to 15. The same number i stands for the network's section
/// wireless.@wifi-iface[i], the radio's section wireless.wifi<i> and the kernel's interface ath<i>; whether they exist
/// is not checked.
ZOL_EXPORT extern int32_t wlan_index;

/// What `wlan_datarate` counts: the rate mask that the driver gets for each of its values, 0 for an automatic choice.
ZOL_EXPORT extern const uint32_t id_list[25];

/// What a network does, from "uci show wireless": 0 access point (also when its section does not exist), 1 access point
/// with WDS, 2 station, 3 station with WDS, 4 adapter; 255 when the command cannot be started.
ZOL_EXPORT int get_operation_mode(int index);

/// Stores what a wireless interface does in UCI: 0 access point, 1 access point with WDS, 2 station, 3 station with
/// WDS, 4 adapter; another mode only commits. @param iface counted from 0 @return 0 always
ZOL_EXPORT int set_operation_mode(int32_t mode, int32_t iface);

/// The class of a radio's standard, from "iwinfo ath<index> info": 7 when what follows "802.11" holds an a and an n
/// (5 GHz), otherwise 8, also when the interface does not exist; 255 when the command cannot be started.
ZOL_EXPORT int get_profile_mode(int index);

/// A network's name from "uci show wireless", quotes that `uci` puts around it included, at most 127 characters;
/// "unknown" when there is none or the command cannot be started. The text lives until the next call.
ZOL_EXPORT const char *get_ssid(int index);

/// The same in a text of its own, for the sampling threads: the agent's thread may call `get_ssid` meanwhile.
ZOL_EXPORT const char *get_ssid_name(int index);

// Numbers of a radio or a network as "uci show" of their option prints them. An option that is missing, or is no
// number, gives what is said here; all give 0 when the command cannot be started.

/// The channel; 0 for an automatic choice or without one.
ZOL_EXPORT int get_wlan_channel_number(int index);
/// The beacon interval in time units of 1.024 ms; 0 without one.
ZOL_EXPORT int get_wlan_binterval_number(int index);
/// The frame size in octets from which on RTS is sent; 0 without one.
ZOL_EXPORT int get_wlan_rtsthreshold_number(int index);
/// Whether the short guard interval is used: 1 (also without the option) or 0.
ZOL_EXPORT int get_wlan_ginterval_number(int index);
/// The mask of the antenna chains in use: 1, or 3 for both (also without the option).
ZOL_EXPORT int get_wlan_antenna_number(int index);
/// The distance in metres that a fixed ACK timeout is made for; 0 without one.
ZOL_EXPORT int get_wlan_acktimeoutfixed_number(int index);
}
