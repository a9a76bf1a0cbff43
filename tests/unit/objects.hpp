#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "core/module.hpp"
#include "core/net_snmp.hpp"
#include "tests/unit/oid_order.hpp"

/// Asks objects as the agent does, without an agent: they are found by their names among what the modules register.

using Commands = std::vector<std::string>;

/// What is sent or answered: the octets as they stand in memory, and their ASN.1 type.
struct Value {
  Value() = default;
  Value(int32_t number);                                 // NOLINT(google-explicit-constructor): written as 7
  Value(const std::string &text);                        // NOLINT(google-explicit-constructor): written as "a text"
  Value(const char *text) : Value(std::string(text)) {}  // NOLINT(google-explicit-constructor)
  Value(unsigned char asn_type, std::string octets) : type(asn_type), bytes(std::move(octets)) {}

  bool operator==(const Value &) const = default;
  [[nodiscard]] int32_t integer() const;

  unsigned char type = ASN_NULL;
  std::string bytes;
};
std::ostream &operator<<(std::ostream &out, const Value &value);

/// An IpAddress.
Value address(int a, int b, int c, int d);

/// A row as it was registered with the agent.
struct RegisteredRow {
  /// The whole OID, and as much of it as an object's declaration gives.
  Oid full;
  variable row;
  const zol::ObjectInfo *object;
  const zol::Module *module;
};
/// Every row of every module, in the order of the tree. The modules are started once, without commands or a value
/// store.
std::span<const RegisteredRow> registered_rows();

/// Starts a module anew. @return how many rows it registers
int registrations_of(const zol::Module &module);

/// The row of a scalar, or of a column's cell.
const RegisteredRow &row_of(const std::string &object, int table_row = 0);

/// A GET of an object's instance; nothing for noSuchInstance.
std::optional<Value> get(const std::string &object, int table_row = 0);

/// What a find function answers: the value, the name that it carries and the write method.
struct Found {
  Value value;
  Oid name;
  WriteMethod *write = nullptr;
};
std::optional<Found> ask(const RegisteredRow &row, const Oid &name, bool exact);

/// The write method that a SET of the object's instance is handed; null where it is handed none.
WriteMethod *row_write(const std::string &object);

/// One phase of a SET.
int set_phase(const std::string &object, int phase, const Value &value);
/// RESERVE1, RESERVE2, ACTION and COMMIT, or RESERVE1 and FREE when that refuses. @return the refusal, or 0
int set(const std::string &object, const Value &value);

/// A line of an area's table of cases: while `reads` prints `prints`, a GET answers `value` and runs nothing else; a
/// SET of `value` runs `runs`. What is empty is not tried, and `nothing` is what runs nothing.
struct Case {
  const char *object;
  Value value;
  std::string reads;
  std::string prints;
  Commands runs = {};
};
inline const Commands nothing = {""};
void check(std::span<const Case> cases);

/// That a GET answers `value` when no command can be started.
void check_without_commands(std::initializer_list<std::pair<const char *, Value>> objects);
