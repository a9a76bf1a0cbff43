// Radio settings that are only stored: they answer what was last written to them, on the agent's own handlers.

#include "core/stored_setting.hpp"

/// Only stored in the agent. Meant to tell whether WMM is in use; nothing on the device reads it.
ZOL_STORED_INTEGER(wmm_support, 1, 3, 1, 8)

/// @units bytes
/// Only stored in the agent. Meant for the fragmentation threshold; nothing on the device reads it.
ZOL_STORED_INTEGER(frag_length, 1, 3, 1, 11)

/// Only stored in the agent. Meant for the beacons between two DTIMs; nothing on the device reads it.
ZOL_STORED_INTEGER(dtim_interval, 1, 3, 1, 12)

/// Only stored in the agent. Meant for the most stations let in; nothing on the device reads it.
ZOL_STORED_INTEGER(wlan_maxclients, 0, 3, 1, 17)

/// @units dBm
/// Only stored in the agent. Meant for the weakest signal let in; nothing on the device reads it.
ZOL_STORED_INTEGER(wlan_minstationrssi, 0, 3, 1, 18)
