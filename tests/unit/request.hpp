#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "core/module.hpp"
#include "core/net_snmp.hpp"

/// Asks a find function and a write method as the agent does, without an agent.

/// What a find function answered.
struct Answer {
  /// The bytes handed over, as they stand.
  std::string bytes;
  /// The name that the answer carries.
  std::vector<oid> name;
  WriteMethod *write = nullptr;

  [[nodiscard]] int32_t integer() const;
};

/// The registered OID of a row: 1.3.6.1.4.1.0.8.1 and `arcs`, as the agent hands it to a find function.
variable registered_row(std::initializer_list<oid> arcs, unsigned char magic = 1);

/// A GET of the row's instance (its OID followed by .0); nothing for noSuchInstance.
std::optional<Answer> get(zol::FindMethod *find, std::initializer_list<oid> arcs, unsigned char magic = 1);

/// One phase of a SET with an INTEGER of four bytes.
int set_phase(WriteMethod *write, int phase, int32_t value);
/// One phase of a SET with the bytes of `value`.
int set_phase(WriteMethod *write, int phase, unsigned char type, const std::string &value);
/// RESERVE1, RESERVE2, ACTION and COMMIT, or RESERVE1 and FREE when that refuses. @return the refusal, or 0
int set(WriteMethod *write, int32_t value);
int set(WriteMethod *write, unsigned char type, const std::string &value);
