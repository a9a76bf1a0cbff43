#pragma once

// The frame of the objects beside the tree: tables whose rows come and go and are named by what they are about, and
// figures that are not always there. A table is declared as a list of columns and how its rows are found:
//
//   constexpr zol::DynamicColumn columns[] = {
//       zol::index_column(1, "zol_station_mac", ASN_OCTET_STR),
//       zol::gauge_column(8, "zol_station_tx_rate", [](size_t row) { return rate_of(row); }),
//   };
//   ZOL_DYNAMIC_TABLE(zol_station_table, columns, .entry = {1, 1}, .index_length = 6, .rows = count, .index = arcs_of);
//
// and a group of scalars as one too: `ZOL_SCALARS`. They are registered by the bundle only, and only while
// zolarcExtensions is on; no module of their own can be loaded.

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "core/module.hpp"
#include "core/static_table.hpp"

namespace zol {

/// One column: its number, its name, its type, and the reader that produces the cell of a row; nothing where the row
/// has none.
struct DynamicColumn {
  const char *name;
  union Reader {
    std::optional<int32_t> (*integer)(size_t row);
    std::optional<uint32_t> (*number)(size_t row);
    std::optional<uint64_t> (*count)(size_t row);
    std::optional<Octets> (*octets)(size_t row);
  } read;
  uint8_t number;
  uint8_t type;
  Access access = read_only;
};

/// A column of the index, which is only seen in the names of the cells.
constexpr DynamicColumn index_column(uint8_t number, const char *name, uint8_t type) {
  return {name, {.integer = nullptr}, number, type, not_accessible};
}
constexpr DynamicColumn integer32_column(uint8_t number, const char *name, std::optional<int32_t> (*read)(size_t)) {
  return {name, {.integer = read}, number, ASN_INTEGER};
}
constexpr DynamicColumn gauge_column(uint8_t number, const char *name, std::optional<uint32_t> (*read)(size_t)) {
  return {name, {.number = read}, number, ASN_GAUGE};
}
constexpr DynamicColumn counter32_column(uint8_t number, const char *name, std::optional<uint32_t> (*read)(size_t)) {
  return {name, {.number = read}, number, ASN_COUNTER};
}
/// Hundredths of a second.
constexpr DynamicColumn ticks_column(uint8_t number, const char *name, std::optional<uint32_t> (*read)(size_t)) {
  return {name, {.number = read}, number, ASN_TIMETICKS};
}
/// The first octet in the top byte.
constexpr DynamicColumn ip_column(uint8_t number, const char *name, std::optional<Ipv4> (*read)(size_t)) {
  return {name, {.number = read}, number, ASN_IPADDRESS};
}
constexpr DynamicColumn counter64_column(uint8_t number, const char *name, std::optional<uint64_t> (*read)(size_t)) {
  return {name, {.count = read}, number, ASN_COUNTER64};
}
constexpr DynamicColumn text_column(uint8_t number, const char *name, std::optional<Octets> (*read)(size_t)) {
  return {name, {.octets = read}, number, ASN_OCTET_STR};
}

/// What is particular to a table, beside its columns. Its rows do not change while a request is served. Without more
/// than the first line it is a group of scalars: one row whose name is 0.
struct DynamicSpec {
  /// The arcs of the table's entry below the extensions' root: the cells follow as column and index.
  Arcs entry;
  /// How many arcs name a row.
  size_t index_length = 1;
  /// How many rows there are now.
  size_t (*rows)() = [] { return size_t{1}; };
  /// Writes the arcs that name a row, which grow from row to row.
  void (*index)(size_t row, oid *arcs) = [](size_t, oid *arcs) { *arcs = 0; };
  /// Runs before the objects register.
  void (*prepare)() = nullptr;
};

class DynamicTable {
 public:
  static constexpr size_t longest_index = 8;

  constexpr DynamicTable(const char *name, const DynamicSpec &spec, std::span<const DynamicColumn> columns,
                         std::span<variable2> records, FindMethod *method)
      : name_(name), spec_(spec), columns_(columns), records_(records), method_(method) {}

  void init();
  void deinit() { registration_.remove_rows(); }

  /// Answers a request for a column, whose record the agent has filled up with the OID it is registered under.
  unsigned char *find(variable *record, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);

 private:
  /// The first row whose name is `arcs` or, with `behind`, comes after it.
  [[nodiscard]] size_t seek(std::span<const oid> arcs, bool behind) const;
  /// The row that a request means when only `column` is asked; the number of rows when there is none.
  [[nodiscard]] size_t select(std::span<const oid> column, std::span<const oid> name, bool exact) const;
  bool read(const DynamicColumn &column, size_t row);

  const char *name_;
  DynamicSpec spec_;
  std::span<const DynamicColumn> columns_;
  std::span<variable2> records_;
  FindMethod *method_;
  Registration registration_{};
  /// What the agent is pointed at.
  uint32_t number_ = 0;
  counter64 count_{};
  Octets answer_{};
};

/// How many rows the registry says of a table whose rows are not counted.
constexpr uint16_t unbounded_rows = UINT16_MAX;

/// What the registry says of a table or a group of scalars: one entry per column.
template <size_t N>
constexpr std::array<ObjectInfo, N> dynamic_info(const Arcs &entry, const DynamicColumn (&columns)[N], uint16_t rows) {
  return [&]<size_t... i>(std::index_sequence<i...>) {
    auto info = [&](const DynamicColumn &column) {
      Arcs arcs = entry;
      arcs.arc[arcs.count++] = column.number;
      return ObjectInfo{column.name, arcs, column.type, column.access, Tree::extensions, rows};
    };
    return std::array<ObjectInfo, N>{info(columns[i])...};
  }
  (std::make_index_sequence<N>{});
}

/// Whether a module's objects stand beside the tree.
bool is_extension(const Module &module);

/// Registers the objects beside the tree, or takes them back, as zolarcExtensions now wants. To be called once the
/// configuration has been read.
void apply_extensions();
void remove_extensions();

}  // namespace zol

/// A table named by an index; the further arguments are the fields of `zol::DynamicSpec`.
#define ZOL_DYNAMIC_TABLE(NAME, COLUMNS, ...) \
  ZOL_DYNAMIC_(NAME, COLUMNS, zol::unbounded_rows, (zol::DynamicSpec{__VA_ARGS__}))

/// A group of scalars, whose readers are asked for row 0; the further arguments are the fields of `zol::DynamicSpec`
/// that are not about rows. `.entry` are the arcs of their parent.
#define ZOL_SCALARS(NAME, COLUMNS, ...) ZOL_DYNAMIC_(NAME, COLUMNS, 0, (zol::DynamicSpec{__VA_ARGS__}))

#define ZOL_DYNAMIC_(NAME, COLUMNS, ROWS, SPEC)                                                            \
  namespace {                                                                                              \
  constexpr zol::DynamicSpec NAME##_spec = SPEC;                                                           \
  constexpr auto NAME##_info = zol::dynamic_info(NAME##_spec.entry, COLUMNS, ROWS);                        \
  variable2 NAME##_records[std::size(COLUMNS)];                                                            \
  zol::FindMethod find_##NAME;                                                                             \
  constinit zol::DynamicTable NAME##_table(#NAME, NAME##_spec, COLUMNS, NAME##_records, find_##NAME);      \
  unsigned char *find_##NAME(variable *record, oid *name, size_t *length, int exact, size_t *value_length, \
                             WriteMethod **write_method) {                                                 \
    return NAME##_table.find(record, name, length, exact, value_length, write_method);                     \
  }                                                                                                        \
  void init_##NAME() { NAME##_table.init(); }                                                              \
  void deinit_##NAME() { NAME##_table.deinit(); }                                                          \
  }                                                                                                        \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, NAME##_info.data(), NAME##_info.size())
