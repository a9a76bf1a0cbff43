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

namespace zol {

/// What a firmware without a description says of itself.
constexpr const char *fw_version_without_description = "KelvAP ZOL";

/// Stores the device's host name again where the agent and the value store look for it. A name that cannot be stored
/// as it is, because it is longer than 32 characters or the shell would read it otherwise, changes nothing and is
/// logged.
void apply_host_name();

}  // namespace zol
