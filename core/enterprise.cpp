#include "core/enterprise.hpp"

#include <optional>

#include "core/command.hpp"
#include "core/command/dialect.hpp"
#include "core/text.hpp"

int32_t snmp_enterprise_oid = 0;

namespace {

struct Answer {
  bool started = false;
  int8_t lines = 0;
  bool quoted = false;
  std::optional<int32_t> number;

  /// What the first line that holds a value says.
  explicit Answer(zol::LineReader &&output) : started(output) {
    // The count of lines is told: those of a dump count as well.
    output.keep_other_options();
    while (output.next()) {
      ++lines;
      const char *value = zol::text_after(output.line(), "=");
      if (value == nullptr) continue;
      quoted = *value == '\'';
      if (quoted) ++value;
      number = zol::scan_int32(value);
      return;
    }
  }
};

Answer ask() { return Answer(zol::CommandOutput("uci show snmpd.cfg10e48a.enterpriseid")); }
Answer ask_by_place() { return Answer(zol::CommandOutput("uci show snmpd.@system[0].enterpriseid")); }

/// Takes over what has been answered. @return what get_snmp_enterprise_oid returns
int take(const Answer &answer, int32_t *out) {
  if (!answer.started) {
    *out = ZOL_FALLBACK_ENTERPRISE;
    return -1;
  }
  if (answer.number && !answer.quoted) *out = *answer.number;
  return answer.lines;
}

}  // namespace

int get_snmp_enterprise_oid(int32_t *out) { return take(ask(), out); }

namespace zol {

void learn_enterprise() {
  const Answer answer = ask();
  // An old `uci` always prints something where there is a package: no answer is one of a newer one.
  const bool elsewhere = take(answer, &snmp_enterprise_oid) == 0 && !uci_is_told_plain();
  const Answer &found = elsewhere ? ask_by_place() : answer;
  if (found.quoted) set_uci_dialect(UciDialect::quoted);
  if (uci_dialect() == UciDialect::quoted && found.number) snmp_enterprise_oid = *found.number;
}

const char *agent_section() { return uci_dialect() == UciDialect::quoted ? "@system[0]" : "cfg10e48a"; }

}  // namespace zol
