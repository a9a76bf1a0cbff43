// The frame of the tables, on a table of three columns and four rows whose second row is left out.

#include "core/static_table.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "core/enterprise.hpp"
#include "core/text.hpp"
#include "tests/unit/oid_order.hpp"

namespace {

using OidSet = std::set<Oid, OidOrder>;

/// What the agent was given.
struct Agent {
  std::span<const variable7> rows;
  Oid prefix;
  OidSet removed;
  std::vector<std::string> tokens, removed_tokens;
};
Agent agent;

int32_t live = 0;
int32_t live_after_refresh = 0;
int refreshes = 0;
int reads = 0;

zol::Octets read_text(zol::Cell cell) {
  static char text[16];
  ++reads;
  snprintf(text, sizeof text, "row %d", cell.row);
  return zol::text_answer(text);
}
int32_t read_number(zol::Cell cell) { return ++reads, -cell.row; }
zol::Ipv4 read_address(zol::Cell cell) { return ++reads, 0xC0A80100U + static_cast<uint32_t>(cell.row); }

constexpr zol::Column columns[] = {
    zol::octets_column(1, 200, "sampleText", read_text),
    zol::integer_column(3, 7, "sampleNumber", read_number),
    zol::address_column(4, 9, "sampleAddress", read_address),
};

void refresh() {
  ++refreshes;
  live = live_after_refresh;
}

}  // namespace

ZOL_TOKEN_INTEGER(sample, sampleNumber, int32_t)
ZOL_TOKEN_TEXT(sample, sampleText, 8, 7)

ZOL_TABLE(
    sample, var_sample, 4, columns, .entry = {77, 2, 1}, .refresh = refresh, .live_rows = [] { return live; },
    .select = [](zol::Cell cell) { return cell.row != 2; });

// The agent of this program only takes notes.
extern "C" {
// By another name, for not all releases declare it alike.
int note_rows(const char *, const variable *, size_t, size_t, const oid *, size_t) __asm__("register_mib");
int note_rows(const char *module, const variable *rows, size_t row_size, size_t count, const oid *prefix,
              size_t prefix_length) {
  EXPECT_STREQ(module, "sample");
  EXPECT_EQ(row_size, sizeof(variable7));
  agent.rows = {reinterpret_cast<const variable7 *>(rows), count};
  agent.prefix.assign(prefix, prefix + prefix_length);
  return MIB_REGISTERED_OK;
}
int unregister_mib(oid *name, size_t length) { return agent.removed.emplace(name, name + length), 0; }
void snmpd_register_config_handler(const char *token, void (*)(const char *, char *), void (*)(), const char *help) {
  EXPECT_EQ(help, std::string(token) + " value");
  agent.tokens.emplace_back(token);
}
void snmpd_unregister_config_handler(const char *token) { agent.removed_tokens.emplace_back(token); }
}

namespace {

/// The OID of a cell of the table, or of an instance of it.
Oid name_of(std::initializer_list<oid> arcs) {
  Oid name = {1, 3, 6, 1, 4, 1, 32473, 8, 1, 77, 2, 1};
  name.insert(name.end(), arcs);
  return name;
}

/// The registered rows with the whole of their OIDs, in their order, as the agent hands them to a find function.
std::map<Oid, variable, OidOrder> whole_rows() {
  std::map<Oid, variable, OidOrder> sorted;
  for (const variable7 &row : agent.rows) {
    Oid name = agent.prefix;
    name.insert(name.end(), row.name, row.name + row.namelen);
    variable whole{};
    whole.magic = row.magic;
    whole.namelen = static_cast<u_char>(name.size());
    std::ranges::copy(name, whole.name);
    sorted.emplace(name, whole);
  }
  return sorted;
}

using Value = std::pair<Oid, std::string>;

int some_write_method(int, u_char *, u_char, size_t, u_char *, oid *, size_t) { return SNMP_ERR_GENERR; }

std::optional<Value> ask(variable row, const Oid &name, bool exact) {
  std::array<oid, MAX_OID_LEN> buffer{};
  std::ranges::copy(name, buffer.begin());
  size_t length = name.size();
  size_t value_length = 0;
  WriteMethod *write = some_write_method;
  const u_char *bytes = var_sample(&row, buffer.data(), &length, exact ? 1 : 0, &value_length, &write);
  if (bytes == nullptr) return std::nullopt;
  EXPECT_EQ(write, nullptr) << "a cell must not be writable";
  return Value{{buffer.data(), buffer.data() + length}, {reinterpret_cast<const char *>(bytes), value_length}};
}

std::optional<Value> get(const Oid &name) {
  const Oid cell(name.begin(), name.begin() + 14);
  return ask(whole_rows().at(cell), name, true);
}

std::optional<Value> get_next(const Oid &name) {
  for (const auto &[oid, row] : whole_rows()) {
    if (auto value = ask(row, name, false)) return value;
  }
  return std::nullopt;
}

class StaticTable : public testing::Test {
 protected:
  void SetUp() override {
    agent = {};
    snmp_enterprise_oid = 32473;
    live = live_after_refresh = refreshes = reads = 0;
    init_sample();
  }
  void TearDown() override { deinit_sample(); }

  /// Looks at the records, and returns the cells that they stand for.
  static OidSet cells_of(std::span<const variable7> records) {
    const std::tuple<oid, int, int> expected[] = {{1, 200, ASN_OCTET_STR}, {3, 7, ASN_INTEGER}, {4, 9, ASN_IPADDRESS}};
    OidSet cells;
    for (size_t i = 0; i < records.size(); ++i) {
      const variable7 &row = records[i];
      const auto &[column, magic, type] = expected[i % 3];
      EXPECT_EQ(Oid(row.name, row.name + row.namelen), (Oid{77, 2, 1, column, i / 3 + 1})) << i;
      EXPECT_EQ(std::tuple(row.magic, row.type, row.acl), std::tuple(magic, type, RONLY)) << i;
      EXPECT_EQ(row.findVar, var_sample);
      cells.insert(name_of({column, i / 3 + 1}));
    }
    return cells;
  }
};

TEST_F(StaticTable, FillsInItsRecordsForTheBundleToo) {
  deinit_sample();
  std::ranges::fill(sample_variables, variable7{});
  zol::StaticTable::register_columns(true);
  agent = {};
  init_sample();
  zol::StaticTable::register_columns(false);
  EXPECT_TRUE(agent.rows.empty());
  EXPECT_EQ(cells_of(sample_variables).size(), 12U);
}

TEST_F(StaticTable, IsRegisteredCellByCellAndTakenBack) {
  ASSERT_EQ(agent.rows.size(), 12U);
  const OidSet cells = cells_of(agent.rows);
  // In whatever order the linker has collected them.
  std::ranges::sort(agent.tokens);
  EXPECT_EQ(agent.tokens, (std::vector<std::string>{"sampleNumber", "sampleText"}));
  // The enterprise number may be another one by then.
  snmp_enterprise_oid = 1;
  deinit_sample();
  EXPECT_EQ(agent.removed, cells);
  std::ranges::sort(agent.removed_tokens);
  EXPECT_EQ(agent.removed_tokens, agent.tokens);
  agent = {};
  deinit_sample();
  EXPECT_TRUE(agent.removed.empty() && agent.removed_tokens.empty()) << "taken back twice";
}

TEST_F(StaticTable, AWalkGoesColumnByColumnThroughTheRowsThatLive) {
  live_after_refresh = 3;
  std::vector<Value> walked;
  for (auto next = get_next(name_of({})); next && walked.size() < 12; next = get_next(next->first)) {
    walked.push_back(*next);
  }
  const auto number = [](int32_t value) { return std::string(reinterpret_cast<const char *>(&value), sizeof value); };
  const std::vector<Value> expected = {
      {name_of({1, 1, 0}), "row 1"},
      {name_of({1, 3, 0}), "row 3"},
      {name_of({3, 1, 0}), number(-1)},
      {name_of({3, 3, 0}), number(-3)},
      {name_of({4, 1, 0}), "\xC0\xA8\x01\x01"},
      {name_of({4, 3, 0}), "\xC0\xA8\x01\x03"},
  };
  EXPECT_EQ(walked, expected);
  EXPECT_EQ(refreshes, 1);
  EXPECT_EQ(reads, 6) << "a reader ran for a cell that was not answered";
}

TEST_F(StaticTable, AGetOfTheBareCellIsAnsweredUnderItsInstance) {
  live = 4;
  EXPECT_EQ(get(name_of({3, 4}))->first, name_of({3, 4, 0}));
  EXPECT_EQ(get(name_of({3, 4, 0}))->first, name_of({3, 4, 0}));
  EXPECT_FALSE(get(name_of({3, 4, 1})));
  EXPECT_FALSE(get(name_of({3, 4, 0, 0})));
}

TEST_F(StaticTable, OnlyTheFirstCellRefreshes) {
  live_after_refresh = 1;
  EXPECT_FALSE(get(name_of({3, 1, 0}))) << "nothing lives before the first cell was asked for";
  EXPECT_FALSE(get(name_of({1, 3, 0})));
  EXPECT_TRUE(get(name_of({1, 1})));
  live_after_refresh = 4;
  EXPECT_FALSE(get(name_of({3, 3, 0}))) << "a row that came is not seen before the next refresh";
  EXPECT_FALSE(get(name_of({1, 1, 5}))) << "no instance, no refresh";
  EXPECT_EQ(refreshes, 1);
  EXPECT_TRUE(get(name_of({1, 1, 0})));
  EXPECT_TRUE(get(name_of({3, 3, 0})));
  EXPECT_EQ(refreshes, 2);
}

TEST_F(StaticTable, RowsAndMagicsThatWereNeverRegisteredDoNotExist) {
  live = INT32_MAX;
  const auto asked = [](oid row, int magic) {
    variable record = whole_rows().at(name_of({3, 1}));
    record.name[record.namelen - 1] = row;
    record.magic = static_cast<u_char>(magic);
    return ask(record, name_of({3, row, 0}), true).has_value();
  };
  EXPECT_TRUE(asked(4, 7));
  for (const oid row : {0U, 5U, 0x80000000U, 0xFFFFFFFFU}) EXPECT_FALSE(asked(row, 7)) << row;
  reads = 0;
  for (const int magic : {0, 1, 3, 255}) EXPECT_FALSE(asked(4, magic)) << magic;
  EXPECT_EQ(reads, 0);
}

}  // namespace
