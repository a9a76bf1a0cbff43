// Radio settings that are only stored: they answer what was last written to them, on the agent's own handlers.

#include "core/stored_setting.hpp"

ZOL_STORED_INTEGER(wmm_support, 1, 3, 1, 8)
ZOL_STORED_INTEGER(frag_length, 1, 3, 1, 11)
ZOL_STORED_INTEGER(dtim_interval, 1, 3, 1, 12)
ZOL_STORED_INTEGER(wlan_maxclients, 0, 3, 1, 17)
ZOL_STORED_INTEGER(wlan_minstationrssi, 0, 3, 1, 18)
