#pragma once

// The frame of a module that holds several scalars. It is declared as a list of objects, each with its reader:
//
//   constexpr zol::GroupedObject objects[] = {
//       zol::grouped_text({2, 4}, 31, "ld_version", read_release),
//       zol::grouped_integer({9, 1, 1}, 60, "eth1_connected", [] { return get_conn_status(0); }),
//   };
//   ZOL_SCALAR_GROUP(zolwrt, objects, preset_texts)

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/answer.hpp"
#include "core/module.hpp"

namespace zol {

/// One object: what is published about it, its reader, the write method handed out for it, and the magic of its row.
struct GroupedObject {
  ObjectInfo info;
  Reader<> read;
  WriteMethod *write;
  uint8_t magic;
};

constexpr GroupedObject grouped_integer(const Arcs &oid, uint8_t magic, const char *name, int32_t (*read)()) {
  return {{name, oid, ASN_INTEGER, read_only}, {.integer = read}, nullptr, magic};
}
constexpr GroupedObject grouped_setting(const Arcs &oid, uint8_t magic, const char *name, int32_t (*read)(),
                                        WriteMethod *write, const Accepts &accepts) {
  return {{name, oid, ASN_INTEGER, read_write, Tree::products, 0, accepts}, {.integer = read}, write, magic};
}
constexpr GroupedObject grouped_address(const Arcs &oid, uint8_t magic, const char *name, Ipv4 (*read)(),
                                        WriteMethod *write) {
  return {{name, oid, ASN_IPADDRESS, read_only}, {.address = read}, write, magic};
}
constexpr GroupedObject grouped_text(const Arcs &oid, uint8_t magic, const char *name, Octets (*read)(),
                                     WriteMethod *write = nullptr) {
  return {{name, oid, ASN_OCTET_STR, read_only}, {.octets = read}, write, magic};
}

/// What the registry says of a group.
template <size_t count>
constexpr std::array<ObjectInfo, count> group_info(const GroupedObject (&objects)[count]) {
  std::array<ObjectInfo, count> infos{};
  for (size_t i = 0; i < count; ++i) infos[i] = objects[i].info;
  return infos;
}

/// The agent's rows of a group.
template <size_t count>
constexpr std::array<variable7, count> group_rows(const GroupedObject (&objects)[count], FindMethod *find) {
  std::array<variable7, count> rows{};
  for (size_t i = 0; i < count; ++i) {
    const ObjectInfo &info = objects[i].info;
    variable7 &row = rows[i];
    row.magic = objects[i].magic;
    row.type = info.type;
    row.acl = info.access == read_write ? RWRITE : RONLY;
    row.findVar = find;
    for (size_t arc = 0; arc < info.oid.count; ++arc) row.name[row.namelen++] = info.oid.arc[arc];
  }
  return rows;
}

class ScalarGroup {
 public:
  /// @param prepare runs when the module is started
  constexpr ScalarGroup(const char *name, std::span<const GroupedObject> objects, std::span<variable7> rows,
                        void (*prepare)())
      : name_(name), objects_(objects), rows_(rows), prepare_(prepare), tokens_(name) {}

  void init();
  void deinit();

  /// Answers while the agent runs.
  unsigned char *find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);

 private:
  const char *name_;
  std::span<const GroupedObject> objects_;
  std::span<variable7> rows_;
  void (*prepare_)();
  ModuleTokens tokens_;
  Registration registration_{};
  Answer answer_;
  /// What the agent is pointed at for a text, so that it never points into the values.
  std::array<unsigned char, 64> octets_{};
};

}  // namespace zol

/// A module of the array `OBJECTS`, which runs `PREPARE` when it is started. Mints init_X, deinit_X, var_X and
/// X_variables.
#define ZOL_SCALAR_GROUP(NAME, OBJECTS, PREPARE)                                                               \
  extern "C" {                                                                                                 \
  ZOL_EXPORT void init_##NAME(void);                                                                           \
  ZOL_EXPORT void deinit_##NAME(void);                                                                         \
  ZOL_EXPORT zol::FindMethod var_##NAME;                                                                       \
  ZOL_EXPORT extern std::array<variable7, std::size(OBJECTS)> NAME##_variables;                                \
  }                                                                                                            \
  constinit std::array<variable7, std::size(OBJECTS)> NAME##_variables = zol::group_rows(OBJECTS, var_##NAME); \
  namespace {                                                                                                  \
  constexpr auto NAME##_info = zol::group_info(OBJECTS);                                                       \
  constinit zol::ScalarGroup NAME##_group(#NAME, OBJECTS, NAME##_variables, PREPARE);                          \
  }                                                                                                            \
  void init_##NAME(void) { NAME##_group.init(); }                                                              \
  void deinit_##NAME(void) { NAME##_group.deinit(); }                                                          \
  unsigned char *var_##NAME(variable *row, oid *name, size_t *length, int exact, size_t *value_length,         \
                            WriteMethod **write_method) {                                                      \
    return NAME##_group.find(row, name, length, exact, value_length, write_method);                            \
  }                                                                                                            \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, NAME##_info.data(), NAME##_info.size())
