#pragma once

// The traffic shaper: its bandwidth packages, which are the shaper's classes.

#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// The names of the packages, separated by blanks, from "uci show qos.Default.classes"; "name1 name2" when the option
/// cannot be read.
/// @param dst 128 bytes @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_zol_package_list(char *dst);

/// The average rate of a package, a share of the link, from "uci show qos.<section>.avgrate"; 0 when it is not there.
/// @param direction "download" reads the section named like the package with "_down" behind it, "upload" the section
///        named like the package
/// @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_bandwidth_package(const char *direction, const char *name, int32_t *out);

/// Sets the average rate of a package, whether its section exists or not. @return 0 always
ZOL_EXPORT int set_bandwidth_package(const char *direction, const char *name, int32_t value);
}
