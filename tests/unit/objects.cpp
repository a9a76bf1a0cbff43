#include "tests/unit/objects.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

#include "core/dynamic_table.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

/// What the module that is being started has registered.
std::vector<std::pair<Oid, variable>> registering;

constexpr size_t root_length = 8;  // 1.3.6.1.4.1.E.8

/// Whether `full` is the object's OID, or for a column that of one of its cells.
bool belongs(const Oid &full, const zol::ObjectInfo &object) {
  const size_t length = root_length + 1 + object.oid.count + (object.rows > 0 ? 1 : 0);
  return full.size() == length && full[root_length] == static_cast<oid>(object.tree) &&
         std::equal(object.oid.arc.begin(), object.oid.arc.begin() + object.oid.count, full.begin() + root_length + 1);
}

std::vector<RegisteredRow> start_all() {
  ScriptedShell shell;
  // Objects store texts also when they are read: in a folder that is not there nothing is written. A test that looks at
  // what is stored names a place of its own.
  setenv("ZOLARC_VALUE_STORE", "/nonexistent/values", 0);
  std::vector<RegisteredRow> rows;
  for (const zol::Module &module : zol::modules()) {
    if (zol::is_extension(module)) continue;
    registering.clear();
    module.init();
    const std::span objects(module.objects, module.object_count);
    for (const auto &one : registering) {
      const auto object = std::ranges::find_if(objects, [&](const auto &info) { return belongs(one.first, info); });
      rows.push_back({one.first, one.second, object == objects.end() ? nullptr : &*object, &module});
    }
  }
  std::ranges::sort(rows, OidOrder{}, &RegisteredRow::full);
  return rows;
}

}  // namespace

extern "C" {

// The agent is not there: what is registered with it is taken down.
// By another name, for not all releases declare it alike.
int note_rows(const char *, const variable *, size_t, size_t, const oid *, size_t) __asm__("register_mib");
int note_rows(const char *, const variable *rows, size_t row_size, size_t count, const oid *prefix, size_t length) {
  for (size_t i = 0; i < count; ++i) {
    const auto *row = reinterpret_cast<const variable *>(reinterpret_cast<const char *>(rows) + i * row_size);
    variable registered{};
    memcpy(&registered, row, row_size);
    Oid full(prefix, prefix + length);
    full.insert(full.end(), row->name, row->name + row->namelen);
    std::ranges::copy(full, registered.name);
    registered.namelen = static_cast<unsigned char>(full.size());
    registering.emplace_back(full, registered);
  }
  return MIB_REGISTERED_OK;
}
int unregister_mib(oid *, size_t) { return 0; }
void snmpd_register_config_handler(const char *, void (*)(const char *, char *), void (*)(), const char *) {}
void snmpd_unregister_config_handler(const char *) {}
}

Value::Value(int32_t number) : type(ASN_INTEGER), bytes(reinterpret_cast<const char *>(&number), sizeof number) {}
Value::Value(const std::string &text) : type(ASN_OCTET_STR), bytes(text) {}

int32_t Value::integer() const {
  int32_t number = 0;
  memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
  return number;
}

std::ostream &operator<<(std::ostream &out, const Value &value) {
  if (value.type == ASN_INTEGER && value.bytes.size() == sizeof(int32_t)) return out << value.integer();
  return out << "type " << static_cast<int>(value.type) << ' ' << testing::PrintToString(value.bytes);
}

Value address(int a, int b, int c, int d) {
  const auto octet = [](int number) { return static_cast<char>(number); };
  return {ASN_IPADDRESS, {octet(a), octet(b), octet(c), octet(d)}};
}

std::span<const RegisteredRow> registered_rows() {
  static const std::vector<RegisteredRow> rows = start_all();
  return rows;
}

int registrations_of(const zol::Module &module) {
  registering.clear();
  module.init();
  return static_cast<int>(registering.size());
}

const RegisteredRow &row_of(const std::string &object, int table_row) {
  for (const RegisteredRow &row : registered_rows()) {
    if (row.object == nullptr || object != row.object->name) continue;
    if (table_row == 0 || row.full.back() == static_cast<oid>(table_row)) return row;
  }
  ADD_FAILURE() << object << " is not registered";
  abort();
}

std::optional<Found> ask(const RegisteredRow &row, const Oid &name, bool exact) {
  variable registered = row.row;
  std::array<oid, MAX_OID_LEN> answered{};
  std::ranges::copy(name, answered.begin());
  size_t length = name.size();
  size_t value_length = 0;
  Found found;
  const unsigned char *bytes =
      row.row.findVar(&registered, answered.data(), &length, exact ? 1 : 0, &value_length, &found.write);
  if (bytes == nullptr) return std::nullopt;
  found.value = {static_cast<unsigned char>(row.row.type), {reinterpret_cast<const char *>(bytes), value_length}};
  found.name.assign(answered.begin(), answered.begin() + static_cast<ptrdiff_t>(length));
  return found;
}

std::optional<Value> get(const std::string &object, int table_row) {
  const RegisteredRow &row = row_of(object, table_row);
  Oid name = row.full;
  name.push_back(0);
  const auto found = ask(row, name, true);
  return found ? std::optional(found->value) : std::nullopt;
}

WriteMethod *row_write(const std::string &object) {
  static std::map<std::string, WriteMethod *> known;
  const auto [found, is_new] = known.try_emplace(object);
  if (is_new) {
    const RegisteredRow &row = row_of(object);
    Oid name = row.full;
    name.push_back(0);
    // The object's own command runs for it: nobody looks at that.
    const ScriptedShell quiet;
    if (const auto answer = ask(row, name, true)) found->second = answer->write;
  }
  return found->second;
}

namespace {

int write_phase(WriteMethod *write, int phase, const Value &value) {
  std::string bytes = value.bytes;
  return write(phase, reinterpret_cast<unsigned char *>(bytes.data()), value.type, bytes.size(), nullptr, nullptr, 0);
}

}  // namespace

int set_phase(const std::string &object, int phase, const Value &value) {
  WriteMethod *write = row_write(object);
  return write == nullptr ? SNMP_ERR_NOTWRITABLE : write_phase(write, phase, value);
}

int set(const std::string &object, const Value &value) {
  WriteMethod *write = row_write(object);
  if (write == nullptr) return SNMP_ERR_NOTWRITABLE;
  if (const int refusal = write_phase(write, MODE_SET_RESERVE1, value)) {
    write_phase(write, MODE_SET_FREE, value);
    return refusal;
  }
  for (const int phase : {MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT}) {
    if (const int error = write_phase(write, phase, value)) return error;
  }
  return 0;
}

void check(std::span<const Case> cases) {
  for (const auto &[object, value, reads, prints, runs] : cases) {
    SCOPED_TRACE(testing::Message() << object << " = " << value << ": " << prints);
    registered_rows();
    ScriptedShell shell;
    shell.answers(reads, prints);
    if (!reads.empty()) {
      const auto answer = get(object);
      EXPECT_TRUE(answer.has_value());
      EXPECT_EQ(answer.value_or(Value()).bytes, value.bytes);
      EXPECT_EQ(shell.commands(), Commands{reads});
    }
    if (!runs.empty()) {
      EXPECT_EQ(set(object, value), 0);
      EXPECT_EQ(shell.commands(), runs == nothing ? Commands{} : runs);
    }
  }
}

void check_without_commands(std::initializer_list<std::pair<const char *, Value>> objects) {
  registered_rows();
  ScriptedShell shell;
  shell.cannot_start();
  for (const auto &[object, value] : objects) EXPECT_EQ(get(object)->bytes, value.bytes) << object;
}
