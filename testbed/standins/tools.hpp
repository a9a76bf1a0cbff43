#pragma once

#include <span>

/// A call's arguments, without the tool's own name.
using Arguments = std::span<char *const>;

// Each prints what the tool of that name prints on a device, from the state folder, and returns its exit status.

/// `iwinfo <interface> info|scan|assoclist`
int iwinfo(Arguments arguments);
/// `iwconfig [<interface>]`
int iwconfig(Arguments arguments);
/// `wlanconfig <interface> list sta`
int wlanconfig(Arguments arguments);
/// `80211stats -i <interface> -a`: the frame counters of every station
int stats80211(Arguments arguments);
/// `brctl show`
int brctl(Arguments arguments);
/// `ifconfig [-a] [<interface> [up|down]]`
int ifconfig(Arguments arguments);
/// The kernel's log: the text of `dmesg` in the state folder.
int dmesg(Arguments arguments);
/// `passwd <user>`: takes the new password twice from standard input and leaves it in `passwords/<user>`.
int passwd(Arguments arguments);
/// `date`: a time to be set is left in `date`; the machine's clock is not touched.
int date(Arguments arguments);
