#pragma once

#include "core/export.hpp"

extern "C" {

/// The access point's host name, from "uci show system.@system[0].hostname", at most 32 characters. What was read last
/// is kept in the value store and answers when the command prints nothing.
/// @param name 33 bytes @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_ap_name(char *name);

/// Stores the host name in the value store and in UCI, as the system's host name and the agent's sysName. @return 0
ZOL_EXPORT int set_ap_name(const char *name);

/// The running firmware's version text, from /etc/openwrt_release, at most 32 characters.
/// @param version 33 bytes @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_fw_version(char *version);
}
