#pragma once

// What the network services offer beside their objects: readings of the DHCP server's settings and the time zones.

#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// The lease time in minutes, from "uci show dhcp | grep "lan.leasetime"". It is written there as numbers with the
/// units d, h and m, such as "12h" or "1d2h3m"; 720 when the option is missing or has no unit h or m.
/// @return 0, or -1 (and 720) when the command cannot be started
ZOL_EXPORT int get_dhcp_leaseperiod(int32_t *minutes);

/// The network of the LAN, the first octet in the top byte: the LAN's own address with its last octet cleared, from
/// "uci show network | grep "lan.ipaddr"". Untouched when the option is missing.
/// @return 0, or -1 when the command cannot be started
ZOL_EXPORT int get_lan_ip(uint32_t *out);

/// The host number at which the DHCP server's pool starts, from "uci show dhcp | grep 'start'"; 100 when the option is
/// missing. A number beyond 255 is answered as it stands.
/// @return 0, or -1 (and 100) when the command cannot be started
ZOL_EXPORT int get_ipstart_number(uint32_t *out);

/// How many addresses the DHCP server's pool holds, from "uci show dhcp | grep "limit""; 150 when the option is
/// missing.
/// @return 0, or -1 (and 150) when the command cannot be started
ZOL_EXPORT int get_released_ip_number(uint32_t *out);

/// Writes the pool's first host number, its size and the lease time in one go and commits them.
/// @param leasetime as UCI holds it, for example "720m"; it stands unquoted in the command line @return 0 always
ZOL_EXPORT int set_dhcp_parameters(int32_t start, int32_t limit, const char *leasetime);

/// A zone name and its POSIX TZ rule as UCI's options `zonename` and `timezone` hold them, padded with NUL. A text of
/// 40 characters has no terminator.
struct Timezone {
  char name[40];
  char rule[40];
};

/// Every time zone that can be chosen, sorted by name. The number of a row is what managers see and must never change.
ZOL_EXPORT extern const Timezone gTimezone[405];
}
