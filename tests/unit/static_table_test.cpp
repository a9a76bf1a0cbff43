// The frame of the tables, on a table of three columns and four rows, and what the real tables register.

#include "core/static_table.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "core/enterprise.hpp"
#include "core/text.hpp"

namespace {

/// What the agent was given.
struct Agent {
  std::string module;
  const variable7 *rows = nullptr;
  size_t count = 0;
  std::vector<oid> prefix;
  std::set<std::vector<oid>> removed;
  std::vector<std::string> tokens, removed_tokens;
};
Agent agent;

int32_t live = 0;
int32_t live_after_refresh = 0;
int refreshes = 0;
std::vector<std::pair<std::string, int32_t>> reads;
char text[8];

int32_t noted(const char *column, zol::Cell cell) {
  reads.emplace_back(column, cell.row);
  return cell.row;
}

constexpr zol::Column columns[] = {
    zol::octets_column(1, 200, "sampleText",
                       [](zol::Cell cell) {
                         snprintf(text, sizeof text, "row %d", noted("text", cell));
                         return zol::text_answer(text);
                       }),
    zol::integer_column(3, 7, "sampleNumber", [](zol::Cell cell) { return -noted("number", cell); }),
    zol::address_column(4, 9, "sampleAddress",
                        [](zol::Cell cell) { return 0xC0A80100U + static_cast<uint32_t>(noted("address", cell)); }),
};

}  // namespace

ZOL_TOKEN_INTEGER(sample, sampleNumber, int32_t)
ZOL_TOKEN_TEXT(sample, sampleText, 8, 7)

namespace {

constexpr zol::Token tokens[] = {ZOL_TOKEN(sample, sampleNumber), ZOL_TOKEN(sample, sampleText)};

}  // namespace

ZOL_TABLE(
    sample, var_sample, 4, columns, tokens, .entry = {77, 2, 1},
    .refresh =
        [] {
          ++refreshes;
          live = live_after_refresh;
        },
    .live_rows = [] { return live; }, .select = [](zol::Cell cell) { return cell.row != 2; });

// The agent of this program only takes notes.
extern "C" {
int register_mib(const char *module, const variable *rows, size_t row_size, size_t count, const oid *prefix,
                 size_t prefix_length) {
  EXPECT_EQ(row_size, sizeof(variable7));
  agent.module = module;
  agent.rows = reinterpret_cast<const variable7 *>(rows);
  agent.count = count;
  agent.prefix.assign(prefix, prefix + prefix_length);
  return MIB_REGISTERED_OK;
}
int unregister_mib(oid *name, size_t length) {
  agent.removed.emplace(name, name + length);
  return 0;
}
void snmpd_register_config_handler(const char *token, void (*)(const char *, char *), void (*)(), const char *help) {
  EXPECT_EQ(help, std::string(token) + " value");
  agent.tokens.emplace_back(token);
}
void snmpd_unregister_config_handler(const char *token) { agent.removed_tokens.emplace_back(token); }
}

namespace {

using Oid = std::vector<oid>;

const Oid root = {1, 3, 6, 1, 4, 1, 32473, 8, 1};

Oid below_root(std::initializer_list<oid> arcs) {
  Oid name = root;
  name.insert(name.end(), arcs);
  return name;
}

Oid oid_of(const variable7 &row) {
  Oid name = agent.prefix;
  name.insert(name.end(), row.name, row.name + row.namelen);
  return name;
}

/// A row as the agent hands it to a find function: with the whole of its OID.
variable whole_row(const variable7 &row) {
  const Oid name = oid_of(row);
  variable whole{};
  whole.magic = row.magic;
  whole.type = static_cast<char>(row.type);
  whole.namelen = static_cast<u_char>(name.size());
  std::copy(name.begin(), name.end(), whole.name);
  return whole;
}

struct Value {
  Oid name;
  std::string bytes;
};

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
  return Value{Oid(buffer.data(), buffer.data() + length), {reinterpret_cast<const char *>(bytes), value_length}};
}

/// The rows by their OID, as the agent keeps them.
std::map<Oid, variable7> rows() {
  std::map<Oid, variable7> sorted;
  for (size_t i = 0; i < agent.count; ++i) sorted.emplace(oid_of(agent.rows[i]), agent.rows[i]);
  return sorted;
}

std::optional<Value> get(const Oid &name) {
  for (const auto &[oid, row] : rows()) {
    if (name.size() >= oid.size() && std::equal(oid.begin(), oid.end(), name.begin())) {
      return ask(whole_row(row), name, true);
    }
  }
  return std::nullopt;
}

std::optional<Value> get_next(const Oid &name) {
  const auto sorted = rows();
  auto row = sorted.upper_bound(name);
  if (row != sorted.begin()) --row;
  for (; row != sorted.end(); ++row) {
    if (auto value = ask(whole_row(row->second), name, false)) return value;
  }
  return std::nullopt;
}

class StaticTable : public testing::Test {
 protected:
  void SetUp() override {
    agent = {};
    snmp_enterprise_oid = 32473;
    live = 0;
    live_after_refresh = 0;
    refreshes = 0;
    reads.clear();
    init_sample();
  }
  void TearDown() override { deinit_sample(); }
};

TEST_F(StaticTable, OneRecordPerCellIsRegisteredRowByRow) {
  EXPECT_EQ(agent.module, "sample");
  EXPECT_EQ(agent.prefix, root);
  ASSERT_EQ(agent.count, 12U);
  EXPECT_EQ(agent.rows, sample_variables);
  const std::tuple<oid, int, int> expected[] = {{1, 200, ASN_OCTET_STR}, {3, 7, ASN_INTEGER}, {4, 9, ASN_IPADDRESS}};
  for (size_t i = 0; i < agent.count; ++i) {
    const variable7 &row = agent.rows[i];
    const auto &[column, magic, type] = expected[i % 3];
    EXPECT_EQ(Oid(row.name, row.name + row.namelen), (Oid{77, 2, 1, column, i / 3 + 1})) << i;
    EXPECT_EQ(std::tuple(row.magic, row.type, row.acl), std::tuple(magic, type, RONLY)) << i;
    EXPECT_EQ(row.findVar, var_sample);
  }
}

TEST_F(StaticTable, WhatWasRegisteredIsTakenBack) {
  agent.removed.clear();
  EXPECT_EQ(agent.tokens, (std::vector<std::string>{"sampleNumber", "sampleText"}));
  // The enterprise number may have changed by then.
  snmp_enterprise_oid = 1;
  deinit_sample();
  std::set<Oid> expected;
  for (const auto &[oid, row] : rows()) expected.insert(oid);
  EXPECT_EQ(agent.removed, expected);
  EXPECT_EQ(agent.removed_tokens, agent.tokens);
  agent = {};
  deinit_sample();
  EXPECT_TRUE(agent.removed.empty() && agent.removed_tokens.empty()) << "taken back twice";
}

TEST_F(StaticTable, AWalkGoesColumnByColumnThroughTheRowsThatLive) {
  live_after_refresh = 3;
  std::vector<Value> walked;
  for (auto next = get_next(below_root({77})); next; next = get_next(next->name)) {
    ASSERT_TRUE(walked.empty() || walked.back().name < next->name);
    walked.push_back(*next);
    ASSERT_LE(walked.size(), 12U);
  }
  const int32_t numbers[] = {-1, -3};
  const auto bytes = [](const int32_t &number) {
    return std::string(reinterpret_cast<const char *>(&number), sizeof number);
  };
  const std::pair<Oid, std::string> expected[] = {
      {{77, 2, 1, 1, 1, 0}, "row 1"},
      {{77, 2, 1, 1, 3, 0}, "row 3"},
      {{77, 2, 1, 3, 1, 0}, bytes(numbers[0])},
      {{77, 2, 1, 3, 3, 0}, bytes(numbers[1])},
      {{77, 2, 1, 4, 1, 0}, "\xC0\xA8\x01\x01"},
      {{77, 2, 1, 4, 3, 0}, "\xC0\xA8\x01\x03"},
  };
  ASSERT_EQ(walked.size(), std::size(expected));
  for (size_t i = 0; i < walked.size(); ++i) {
    EXPECT_EQ(Oid(walked[i].name.begin() + static_cast<ptrdiff_t>(root.size()), walked[i].name.end()),
              expected[i].first);
    EXPECT_EQ(walked[i].bytes, expected[i].second) << i;
  }
  EXPECT_EQ(refreshes, 1);
  EXPECT_EQ(reads.size(), walked.size()) << "a reader ran for a cell that was not answered";
}

TEST_F(StaticTable, AGetOfTheBareCellIsAnsweredUnderItsInstance) {
  live = 4;
  const Oid instance = below_root({77, 2, 1, 3, 4, 0});
  for (const Oid &asked : {below_root({77, 2, 1, 3, 4}), instance}) {
    const auto value = get(asked);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->name, instance);
    EXPECT_EQ(value->bytes.size(), 4U);
  }
  EXPECT_FALSE(get(below_root({77, 2, 1, 3, 4, 1})));
  EXPECT_FALSE(get(below_root({77, 2, 1, 3, 4, 0, 0})));
  EXPECT_EQ(reads.size(), 2U);
}

TEST_F(StaticTable, OnlyTheFirstCellRefreshes) {
  live_after_refresh = 1;
  EXPECT_FALSE(get(below_root({77, 2, 1, 3, 1, 0}))) << "nothing lives before the first cell was asked for";
  EXPECT_FALSE(get(below_root({77, 2, 1, 1, 3, 0})));
  EXPECT_EQ(refreshes, 0);
  EXPECT_TRUE(get(below_root({77, 2, 1, 1, 1})));
  EXPECT_EQ(refreshes, 1);
  live_after_refresh = 4;
  EXPECT_FALSE(get(below_root({77, 2, 1, 3, 3, 0}))) << "a row that came is not seen before the next refresh";
  EXPECT_TRUE(get(below_root({77, 2, 1, 1, 1, 0})));
  EXPECT_TRUE(get(below_root({77, 2, 1, 3, 3, 0})));
  EXPECT_EQ(refreshes, 2);
  // A request that is not for the cell refreshes nothing.
  EXPECT_FALSE(get(below_root({77, 2, 1, 1, 1, 5})));
  EXPECT_EQ(refreshes, 2);
}

TEST_F(StaticTable, RowsAndMagicsThatWereNeverRegisteredDoNotExist) {
  live = INT32_MAX;
  const auto asked = [](oid row, u_char magic) {
    variable record = whole_row(agent.rows[1]);
    record.name[record.namelen - 1] = row;
    record.magic = magic;
    Oid name(record.name, record.name + record.namelen);
    name.push_back(0);
    return ask(record, name, true).has_value();
  };
  EXPECT_TRUE(asked(4, 7));
  for (const oid row : {oid{0}, oid{5}, oid{0x80000000U}, oid{0xFFFFFFFFU}, static_cast<oid>(0x100000001U)}) {
    // Where an arc has 32 bits, the last of them is row 1.
    EXPECT_EQ(asked(row, 7), row == 1) << row;
  }
  reads.clear();
  for (const int magic : {0, 1, 3, 255}) EXPECT_FALSE(asked(4, static_cast<u_char>(magic))) << magic;
  EXPECT_TRUE(reads.empty());
}

TEST_F(StaticTable, ATokenPresetsItsValue) {
  char number[] = "-12 and more";
  sample_parse_config_sampleNumber("sampleNumber", number);
  EXPECT_EQ(sampleNumber, -12);
  char longest[] = "abcdefg";
  sample_parse_config_sampleText("sampleText", longest);
  EXPECT_STREQ(sampleText, "abcd...");
  sample_free_config_sampleText();
  EXPECT_STREQ(sampleText, "abcd...");
}

TEST(Tables, AreRegisteredWithTheirCapacity) {
  const std::map<std::string, std::pair<size_t, uint8_t>> expected = {
      {"sample", {3, 4}}, {"zol_table", {17, 16}}, {"scanning_table", {4, 96}}, {"dhcpactive_table", {4, 32}}};
  size_t seen = 0;
  for (const zol::Module *module : zol::modules()) {
    const auto found = expected.find(module->name);
    if (found == expected.end()) continue;
    ++seen;
    const auto &[count, capacity] = found->second;
    module->init();
    EXPECT_EQ(agent.count, count * capacity) << module->name;
    EXPECT_EQ(module->object_count, count) << module->name;
    for (size_t i = 0; i < module->object_count; ++i) EXPECT_EQ(module->objects[i].rows, capacity) << module->name;
    module->deinit();
  }
  EXPECT_EQ(seen, expected.size());
}

}  // namespace
