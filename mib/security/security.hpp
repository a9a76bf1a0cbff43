#pragma once

// The wireless security objects: encryption, keys and RADIUS of the network that `security_index` selects.

#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// The selected network, 0 to 15: its section is wireless.@wifi-iface[i]; whether that exists is not checked. It is
/// kept in memory only.
ZOL_EXPORT extern int32_t security_index;
}
