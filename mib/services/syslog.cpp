// The size of the system log and the server that receives it.

#include "core/scalar.hpp"
#include "mib/services/options.hpp"

using namespace zol;
using namespace zol::services;

/// @units kilobytes
/// The size of the log in memory (log_size of the system).
ZOL_INTEGER(syslog_size, .oid = {15, 1}, .accepts = range(0, 65535));

int get_syslog_size(int32_t *kilobytes) {
  return read_number(CommandOutput("uci show system | grep log_size"), 0, kilobytes);
}

int set_syslog_size(int32_t kilobytes) { return store_number("system.@system[0].log_size", kilobytes); }

/// The server that the log is sent to as well (log_ip of the system).
ZOL_ADDRESS(syslog_srvip, .oid = {15, 2});

int get_syslog_srvip(Ipv4 *server) { return read_address(CommandOutput("uci show system | grep log_ip"), server); }

int set_syslog_srvip(Ipv4 server) { return store_address("system.@system[0].log_ip", server); }

/// The UDP port of that server (log_port of the system).
ZOL_INTEGER(syslog_srvport, .oid = {15, 3}, .accepts = range(0, 65535));

int get_syslog_srvport(int32_t *port) { return read_number(CommandOutput("uci show system | grep log_port"), 0, port); }

int set_syslog_srvport(int32_t port) { return store_number("system.@system[0].log_port", port); }
