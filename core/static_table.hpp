#pragma once

// The frame of the tables. A table is a fixed grid of read-only cells: the rows that live at the moment answer, the
// others do not exist. A table's own module registers every cell, the bundle the columns, which answer the same. A
// table is declared as a list of columns and a few facts about its rows:
//
//   constexpr zol::Column columns[] = {
//       zol::integer_column(1, 1, "bandwidthPackageIndex", [](zol::Cell cell) { return cell.row; }),
//       zol::octets_column(2, 2, "bandwidthPackageName", read_name),
//   };
//   ZOL_TABLE(bandwidth_package, var_bandwidth_package, 5, columns, .entry = {13, 6, 1}, .live_rows = row_count);

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "core/address.hpp"
#include "core/answer.hpp"
#include "core/module.hpp"

namespace zol {

/// Which cell is asked for; rows count from 1 and lie within the table's capacity.
struct Cell {
  int32_t row;
};

/// One column: its number, the magic its records carry, its name, and the reader that produces a cell. The reader's
/// type is tied to the column's ASN.1 type.
struct Column {
  const char *name;
  Reader<Cell> read;
  uint8_t number;
  uint8_t magic;
  uint8_t type;
};

constexpr Column integer_column(uint8_t number, uint8_t magic, const char *name, int32_t (*read)(Cell)) {
  return {name, {.integer = read}, number, magic, ASN_INTEGER};
}
constexpr Column address_column(uint8_t number, uint8_t magic, const char *name, Ipv4 (*read)(Cell)) {
  return {name, {.address = read}, number, magic, ASN_IPADDRESS};
}
constexpr Column octets_column(uint8_t number, uint8_t magic, const char *name, Octets (*read)(Cell)) {
  return {name, {.octets = read}, number, magic, ASN_OCTET_STR};
}

/// What is particular to a table, beside its columns.
struct TableSpec {
  /// The arcs of the table's entry: the cells follow as column and row.
  Arcs entry;
  /// Refreshes the table's source; runs only when the cell at column 1, row 1 is asked for, the first of every walk.
  void (*refresh)() = nullptr;
  /// How many rows live; rows beyond do not exist. Asked after `refresh`.
  int32_t (*live_rows)() = nullptr;
  /// Whether this row exists, asked for every cell before its column is read; it may read what the columns need.
  bool (*select)(Cell) = nullptr;
  /// Whether the table answers only while the agent runs.
  bool only_while_running = false;
  /// Runs when the module is started, before the table registers.
  void (*prepare)() = nullptr;
};

class StaticTable {
 public:
  constexpr StaticTable(const char *name, const TableSpec &spec, std::span<const Column> columns,
                        std::span<variable7> records, FindMethod *method)
      : name_(name), spec_(spec), columns_(columns), records_(records), method_(method), tokens_(name) {}

  /// Has the tables that start from now on register their columns in place of their cells: the agent takes some 2 KiB
  /// for whatever is registered, and the tree has 1,400 cells.
  static void register_columns(bool wanted) { by_column_ = wanted; }

  /// Fills in the records, one per cell, row by row, and registers them, or the columns, and the tokens. The records
  /// are part of the interface: they are filled in whatever is registered.
  void init();
  void deinit();

  /// Answers a request for `record`. A GET of a cell's own OID is answered as if ".0" had been asked for.
  unsigned char *find(variable *record, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);

 private:
  /// How many rows are registered.
  [[nodiscard]] size_t capacity() const { return records_.size() / columns_.size(); }
  void fill_records();

  // The columns as the bundle registers them.

  static Netsnmp_Node_Handler answer_column;
  void add_columns();
  void remove_columns();
  [[nodiscard]] FullOid column_oid(const Column &column) const;
  /// Answers a GET or GETNEXT of the column with this OID as its cells would, were they registered.
  void get(netsnmp_variable_list &request, std::span<const oid> column);
  void get_next(netsnmp_variable_list &request, std::span<const oid> column);
  /// Asks one cell from `name` on. Whether it has answered.
  bool ask(netsnmp_variable_list &request, std::span<const oid> column, oid row, std::span<const oid> name, int exact);

  static bool by_column_;

  const char *name_;
  TableSpec spec_;
  std::span<const Column> columns_;
  std::span<variable7> records_;
  FindMethod *method_;
  ModuleTokens tokens_;
  Registration registration_{};
  Answer answer_;
  /// The enterprise that the columns are registered under; none while they are not.
  std::optional<int32_t> columns_below_;
};

/// What the registry says of a table: one entry per column.
template <size_t N>
constexpr std::array<ObjectInfo, N> table_info(const Arcs &entry, const Column (&columns)[N], uint8_t rows) {
  return [&]<size_t... i>(std::index_sequence<i...>) {
    auto info = [&](const Column &column) {
      Arcs arcs = entry;
      arcs.arc[arcs.count++] = column.number;
      return ObjectInfo{column.name, arcs, column.type, read_only, Tree::products, rows};
    };
    return std::array<ObjectInfo, N>{info(columns[i])...};
  }
  (std::make_index_sequence<N>{});
}

}  // namespace zol

/// A table of at most `ROWS` rows and the array `COLUMNS`, answered by the C function `FIND`; the further arguments are
/// the fields of `zol::TableSpec`. Mints init_X, deinit_X, X_variables and `FIND`.
#define ZOL_TABLE(NAME, FIND, ROWS, COLUMNS, ...)                                                              \
  extern "C" {                                                                                                 \
  ZOL_EXPORT void init_##NAME(void);                                                                           \
  ZOL_EXPORT void deinit_##NAME(void);                                                                         \
  ZOL_EXPORT unsigned char *FIND(variable *record, oid *name, size_t *length, int exact, size_t *value_length, \
                                 WriteMethod **write_method);                                                  \
  ZOL_EXPORT extern variable7 NAME##_variables[std::size(COLUMNS) * (ROWS)];                                   \
  }                                                                                                            \
  variable7 NAME##_variables[std::size(COLUMNS) * (ROWS)];                                                     \
  namespace {                                                                                                  \
  constexpr zol::TableSpec NAME##_spec{__VA_ARGS__};                                                           \
  constexpr auto NAME##_info = zol::table_info(NAME##_spec.entry, COLUMNS, ROWS);                              \
  constinit zol::StaticTable NAME##_table(#NAME, NAME##_spec, COLUMNS, NAME##_variables, FIND);                \
  }                                                                                                            \
  void init_##NAME(void) { NAME##_table.init(); }                                                              \
  void deinit_##NAME(void) { NAME##_table.deinit(); }                                                          \
  unsigned char *FIND(variable *record, oid *name, size_t *length, int exact, size_t *value_length,            \
                      WriteMethod **write_method) {                                                            \
    return NAME##_table.find(record, name, length, exact, value_length, write_method);                         \
  }                                                                                                            \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, NAME##_info.data(), NAME##_info.size())

/// The value of a column or module as an exported integer, with its token handlers MODULE_parse_config_NAME and
/// MODULE_free_config_NAME.
#define ZOL_TOKEN_INTEGER(MODULE, NAME, TYPE)                                                                      \
  extern "C" {                                                                                                     \
  ZOL_EXPORT extern TYPE NAME;                                                                                     \
  ZOL_EXPORT void MODULE##_parse_config_##NAME(const char *token, char *value);                                    \
  ZOL_EXPORT void MODULE##_free_config_##NAME(void);                                                               \
  }                                                                                                                \
  TYPE NAME = 0;                                                                                                   \
  void MODULE##_parse_config_##NAME(const char *, char *value) { NAME = static_cast<TYPE>(zol::to_int32(value)); } \
  void MODULE##_free_config_##NAME(void) {}                                                                        \
  ZOL_REGISTER_TOKEN(MODULE, NAME, MODULE##_parse_config_##NAME, MODULE##_free_config_##NAME)

/// The same for a text of `CAPACITY` bytes whose token is cut at `LIMIT` characters, "..." included.
#define ZOL_TOKEN_TEXT(MODULE, NAME, CAPACITY, LIMIT)                           \
  extern "C" {                                                                  \
  ZOL_EXPORT extern char NAME[CAPACITY];                                        \
  ZOL_EXPORT void MODULE##_parse_config_##NAME(const char *token, char *value); \
  ZOL_EXPORT void MODULE##_free_config_##NAME(void);                            \
  }                                                                             \
  char NAME[CAPACITY];                                                          \
  void MODULE##_parse_config_##NAME(const char *, char *value) {                \
    static_assert((LIMIT) < (CAPACITY));                                        \
    zol::preset_text(NAME, LIMIT, value);                                       \
  }                                                                             \
  void MODULE##_free_config_##NAME(void) {}                                     \
  ZOL_REGISTER_TOKEN(MODULE, NAME, MODULE##_parse_config_##NAME, MODULE##_free_config_##NAME)
