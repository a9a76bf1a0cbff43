#include "core/module.hpp"

#include <cstdio>
#include <cstring>

#include "core/enterprise.hpp"

// The linker marks the ends of the sections that ZOL_REGISTER and ZOL_REGISTER_TOKEN fill.
extern "C" {
extern const zol::Module start_of_modules[] __asm__("__start_zol_modules") __attribute__((visibility("hidden")));
extern const zol::Module end_of_modules[] __asm__("__stop_zol_modules") __attribute__((visibility("hidden")));
extern const zol::Token start_of_tokens[] __asm__("__start_zol_tokens") __attribute__((visibility("hidden")));
extern const zol::Token end_of_tokens[] __asm__("__stop_zol_tokens") __attribute__((visibility("hidden")));
}

namespace zol {

namespace {

template <class Entry>
std::span<Entry> between(Entry *start, Entry *end) {
  // The distance is taken between addresses: to the compiler the two marks are arrays that have nothing in common.
  const auto bytes = reinterpret_cast<uintptr_t>(end) - reinterpret_cast<uintptr_t>(start);
  return {start, bytes / sizeof(Entry)};
}

}  // namespace

std::span<const Token> tokens() { return between(start_of_tokens, end_of_tokens); }

std::span<const Module> modules() { return between(start_of_modules, end_of_modules); }

FullOid full_oid(int32_t enterprise, const Arcs &arcs, Tree tree) {
  FullOid full{{1, 3, 6, 1, 4, 1, static_cast<oid>(static_cast<uint32_t>(enterprise)), 8, static_cast<oid>(tree)}, 9};
  for (size_t i = 0; i < arcs.count; ++i) full.arc[full.length++] = arcs.arc[i];
  return full;
}

void Registration::add_rows(const char *module, variable *rows, size_t row_size, size_t count, const Arcs &prefix,
                            Tree tree) {
  remove_rows();
  FullOid full = full_oid(snmp_enterprise_oid, prefix, tree);
  if (register_mib(module, rows, row_size, count, full.arc.data(), full.length) != MIB_REGISTERED_OK) {
    log_line("%s: the agent refused the registration", module);
  }
  rows_ = rows;
  row_size_ = row_size;
  count_ = count;
  prefix_ = prefix;
  tree_ = tree;
  enterprise_ = snmp_enterprise_oid;
}

void Registration::remove_rows() {
  for (size_t i = 0; i < count_; ++i) unregister(i);
  count_ = 0;
}

void Registration::unregister(size_t index) const {
  const auto *row = reinterpret_cast<const variable *>(reinterpret_cast<const char *>(rows_) + index * row_size_);
  FullOid full = full_oid(enterprise_, prefix_, tree_);
  for (size_t i = 0; i < row->namelen; ++i) full.arc[full.length++] = row->name[i];
  unregister_mib(full.arc.data(), full.length);
}

void add_token(const char *token, void (*parse)(const char *, char *), void (*release)()) {
  std::array<char, 64> help{};
  snprintf(help.data(), help.size(), "%s value", token);
  snmpd_register_config_handler(token, parse, release, help.data());
}

void remove_token(const char *token) { snmpd_unregister_config_handler(token); }

void ModuleTokens::add() {
  for (const Token &token : tokens()) {
    if (strcmp(token.module, module_) == 0) add_token(token.name, token.parse, token.release);
  }
  added_ = true;
}

void ModuleTokens::remove() {
  for (const Token &token : tokens()) {
    if (added_ && strcmp(token.module, module_) == 0) remove_token(token.name);
  }
  added_ = false;
}

bool matches(variable *row, oid *name, size_t *length, int exact, size_t *value_length, WriteMethod **write_method) {
  if (header_generic(row, name, length, exact, value_length, write_method) == MATCH_FAILED) return false;
  // header_generic leaves the size of a long, which is not that of an integer everywhere.
  *value_length = sizeof(int32_t);
  *write_method = nullptr;
  return true;
}

NarrowedInteger::NarrowedInteger(unsigned char *value, unsigned char type, size_t length)
    : value_(value), length_(length) {
  long wide = 0;
  if (type != ASN_INTEGER || length != sizeof wide) return;
  memcpy(&wide, value, sizeof wide);
  narrow_ = static_cast<int32_t>(wide);
  if (narrow_ != wide) return;
  value_ = reinterpret_cast<unsigned char *>(&narrow_);
  length_ = sizeof narrow_;
}

int32_t integer_at(const unsigned char *value, size_t length) {
  int32_t number = 0;
  memcpy(&number, value, length);
  return number;
}

uint32_t address_at(const unsigned char *octets) {
  uint32_t address = 0;
  for (size_t i = 0; i < sizeof address; ++i) address = address << 8U | octets[i];
  return address;
}

int check_integer(unsigned char type, size_t length) {
  if (type != ASN_INTEGER) return SNMP_ERR_WRONGTYPE;
  return length > sizeof(int32_t) ? SNMP_ERR_WRONGLENGTH : SNMP_ERR_NOERROR;
}

}  // namespace zol
