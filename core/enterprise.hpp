#pragma once

#include <cstdint>

#include "core/export.hpp"

extern "C" {

/// The enterprise number, the seventh arc of every registered OID 1.3.6.1.4.1.E.8.1; 0 until it was read. It must be
/// read before the first module registers.
ZOL_EXPORT extern int32_t snmp_enterprise_oid;

/// Reads the enterprise number with "uci show snmpd.cfg10e48a.enterpriseid" into `*out`, which stays as it was when the
/// option is missing or is no number, as with quotes around it.
/// @return the number of lines read, as a signed 8-bit number (1 when all is well, 0 without the option); -1, and the
///         compiled-in number in `*out`, when the command cannot be started
ZOL_EXPORT int get_snmp_enterprise_oid(int32_t *out);
}

namespace zol {

/// Reads the enterprise number at the start, and learns from the answer what the device's `uci` prints (uci_dialect).
/// Where it names the section otherwise, "uci show snmpd.@system[0].enterpriseid" is asked once more.
void learn_enterprise();

/// The section of package snmpd that tells who the agent is, as the device's `uci` names it.
const char *agent_section();

}  // namespace zol
