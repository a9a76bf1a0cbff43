// Every object of the registry, without an agent: what a SET refuses, the order of the tree, types and storage.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "tests/unit/objects.hpp"
#include "tests/unit/scripted_shell.hpp"

namespace {

/// On the agent's own handlers, which have neither rows nor write methods of the library.
const std::set<std::string> stored_by_the_agent = {"wmm_support",      "frag_length",         "dtim_interval",
                                                   "wlan_maxclients",  "wlan_minstationrssi", "http_redirect_enable",
                                                   "http_redirect_url"};
/// What checks what a text says, and not only how long it is.
const std::set<std::string> checked_further = {"autoreb_param"};

constexpr int32_t lowest = INT32_MIN;
constexpr int32_t highest = INT32_MAX;

/// The numbers, or lengths, just outside of what is accepted.
std::set<int32_t> refused(const zol::Accepts &accepts) {
  std::set<int32_t> outside;
  for (const auto &[low, high] : accepts.intervals()) {
    if (low > lowest && !accepts(low - 1)) outside.insert(low - 1);
    if (high < highest && !accepts(high + 1)) outside.insert(high + 1);
  }
  return outside;
}

/// The ends of what is accepted.
std::set<int32_t> accepted(const zol::Accepts &accepts) {
  std::set<int32_t> ends;
  for (const auto &[low, high] : accepts.intervals()) ends.insert({low, high});
  return ends;
}

std::string text_of(int32_t length) { return std::string(static_cast<size_t>(length), 'x'); }

template <class Check>
void for_each_writable(Check check) {
  registered_rows();
  ScriptedShell shell;
  for (const RegisteredRow &row : registered_rows()) {
    if (row.object->access != zol::read_write) continue;
    SCOPED_TRACE(row.object->name);
    check(row.object->name, *row.object);
    EXPECT_EQ(shell.commands(), Commands{});
  }
}

int reserve(const std::string &object, const Value &value) { return set_phase(object, MODE_SET_RESERVE1, value); }

TEST(Registry, WhatIsRegisteredIsWhatIsDeclared) {
  std::map<std::string, int> rows;
  for (const RegisteredRow &row : registered_rows()) {
    ASSERT_NE(row.object, nullptr) << row.module->name << " registers what it does not declare";
    ++rows[row.object->name];
    EXPECT_EQ(row.row.type, row.object->type) << row.object->name;
    EXPECT_EQ(row.row.acl, row.object->access == zol::read_write ? RWRITE : RONLY) << row.object->name;
  }
  for (const zol::Module &module : zol::modules()) {
    for (const zol::ObjectInfo &object : std::span(module.objects, module.object_count)) {
      if (object.tree != zol::Tree::products || stored_by_the_agent.count(object.name) != 0) continue;
      EXPECT_EQ(rows[object.name], std::max<int>(object.rows, 1)) << object.name;
    }
  }
}

TEST(Registry, AWrongTypeIsRefused) {
  for_each_writable([](const std::string &name, const zol::ObjectInfo &object) {
    if (reserve(name, {ASN_COUNTER, text_of(4)}) == SNMP_ERR_NOTWRITABLE) return;
    for (const uint8_t type : std::initializer_list<uint8_t>{ASN_INTEGER, ASN_OCTET_STR, ASN_IPADDRESS, ASN_COUNTER}) {
      if (type == object.type) continue;
      EXPECT_EQ(reserve(name, {type, text_of(4)}), SNMP_ERR_WRONGTYPE) << int{type};
    }
  });
}

TEST(Registry, AWrongLengthIsRefused) {
  for_each_writable([](const std::string &name, const zol::ObjectInfo &object) {
    if (object.type == ASN_INTEGER) {
      EXPECT_EQ(reserve(name, {ASN_INTEGER, text_of(5)}), SNMP_ERR_WRONGLENGTH);
    }
    if (object.type != ASN_OCTET_STR || object.accepts.intervals().empty()) return;
    for (const int32_t length : refused(object.accepts)) {
      if (length < 0) continue;
      EXPECT_EQ(reserve(name, text_of(length)), SNMP_ERR_WRONGLENGTH) << length;
    }
    if (checked_further.count(name) != 0) return;
    for (const int32_t length : accepted(object.accepts)) EXPECT_EQ(reserve(name, text_of(length)), 0) << length;
  });
}

TEST(Registry, AWrongValueIsRefused) {
  for_each_writable([](const std::string &name, const zol::ObjectInfo &object) {
    if (object.type != ASN_INTEGER) return;
    for (const int32_t number : refused(object.accepts))
      EXPECT_EQ(reserve(name, number), SNMP_ERR_WRONGVALUE) << number;
    // Without a client the packages of the selected one are refused whatever they are.
    const int accepting = name == "bandwidth_download" || name == "bandwidth_upload" ? SNMP_ERR_WRONGVALUE : 0;
    for (const int32_t number : accepted(object.accepts)) EXPECT_EQ(reserve(name, number), accepting) << number;
  });
}

TEST(Registry, EveryAnswerFitsItsType) {
  registered_rows();
  ScriptedShell shell;
  for (const RegisteredRow &row : registered_rows()) {
    Oid name = row.full;
    name.push_back(0);
    const auto found = ask(row, name, true);
    if (!found) {
      EXPECT_GT(row.object->rows, 0) << row.object->name;
      continue;
    }
    const size_t length = found->value.bytes.size();
    if (row.object->type != ASN_OCTET_STR) {
      EXPECT_EQ(length, sizeof(int32_t)) << row.object->name;
    } else if (!row.object->accepts.intervals().empty()) {
      EXPECT_LE(length, static_cast<size_t>(std::ranges::max(accepted(row.object->accepts)))) << row.object->name;
    }
  }
}

/// The next name as the agent finds it: it asks one row after the other until one answers.
std::optional<Oid> next(const Oid &name) {
  for (const RegisteredRow &row : registered_rows()) {
    const bool is_below = name.size() > row.full.size() && std::equal(row.full.begin(), row.full.end(), name.begin());
    if (OidOrder{}(row.full, name) && !is_below) continue;
    if (const auto found = ask(row, name, false)) return found->name;
  }
  return std::nullopt;
}

TEST(Registry, AWalkGoesThroughEveryObjectInOrder) {
  registered_rows();
  ScriptedShell shell;
  shell.answers("uci show qos.Default.classes", "a=b c d e\n");
  std::set<Oid, OidOrder> walked;
  Oid name = {1, 3};
  while (const auto following = next(name)) {
    ASSERT_TRUE(OidOrder{}(name, *following)) << testing::PrintToString(*following);
    name = *following;
    walked.insert(name);
  }
  for (const RegisteredRow &row : registered_rows()) {
    Oid instance = row.full;
    instance.push_back(0);
    EXPECT_EQ(walked.count(instance), ask(row, instance, true) ? 1U : 0U) << row.object->name;
  }
  EXPECT_EQ(walked.count([] {
    Oid fourth_package = row_of("bandwidth_package_name", 4).full;
    fourth_package.push_back(0);
    return fourth_package;
  }()),
            1U);
}

}  // namespace
