#pragma once

// The agent's own interface, included in one place so that the differences between its releases are met here.

#include <cstdint>

#include "core/export.hpp"
#include "core/log.hpp"

extern "C" {
// net-snmp's headers depend on this order.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
// clang-format on

// Exported by the agent's libraries of every release; 5.4 installs no header for the first, none declares the second.
int header_generic(struct variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                   WriteMethod **write_method);
extern int netsnmp_running;
}

extern "C" {
/// 1 once a restart was asked for over SNMP; the hosting agent acts on it after its main loop has ended.
ZOL_EXPORT extern int32_t is_reset;
/// 1 once the restart is meant to apply pending configuration changes.
ZOL_EXPORT extern int32_t is_apply_change;
}

namespace zol {

/// What the agent calls to answer a GET or GETNEXT of a row.
using FindMethod = unsigned char *(variable *, oid *, size_t *, int, size_t *, WriteMethod **);

/// Whether the agent is in its main loop and stays there, for any thread to ask.
bool agent_runs();

/// Makes the agent leave its main loop after the current request and tells the hosting agent to start again.
void request_restart();

}  // namespace zol
