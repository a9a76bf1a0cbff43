#include "core/enterprise.hpp"

#include <cstring>

#include "core/command.hpp"
#include "core/text.hpp"

int32_t snmp_enterprise_oid = 0;

int get_snmp_enterprise_oid(int32_t *out) {
  zol::CommandOutput output("uci show snmpd.cfg10e48a.enterpriseid");
  if (!output) {
    *out = ZOL_FALLBACK_ENTERPRISE;
    return -1;
  }
  int8_t lines = 0;
  while (output.next()) {
    ++lines;
    if (const char *value = zol::text_after(output.line(), "=")) {
      if (const auto number = zol::scan_int32(value)) *out = *number;
      break;
    }
  }
  return lines;
}
