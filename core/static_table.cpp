#include "core/static_table.hpp"

namespace zol {

void add_tokens(std::span<const Token> tokens) {
  for (const Token &token : tokens) add_token(token.name, token.parse, token.release);
}

void remove_tokens(std::span<const Token> tokens) {
  for (const Token &token : tokens) remove_token(token.name);
}

void StaticTable::init() {
  deinit();
  if (spec_.prepare != nullptr) spec_.prepare();
  fill_records();
  registration_.add_rows(name_, reinterpret_cast<variable *>(records_.data()), sizeof(variable7), records_.size());
  add_tokens(tokens_);
  has_tokens_ = true;
}

void StaticTable::deinit() {
  registration_.remove_rows();
  if (has_tokens_) remove_tokens(tokens_);
  has_tokens_ = false;
}

void StaticTable::fill_records() {
  size_t index = 0;
  for (size_t row = 1; row <= capacity(); ++row) {
    for (const Column &column : columns_) {
      variable7 &record = records_[index++];
      record.magic = column.magic;
      record.type = column.type;
      record.acl = RONLY;
      record.findVar = method_;
      record.namelen = 0;
      for (size_t i = 0; i < spec_.entry.count; ++i) record.name[record.namelen++] = spec_.entry.arc[i];
      record.name[record.namelen++] = column.number;
      record.name[record.namelen++] = row;
    }
  }
}

unsigned char *StaticTable::find(variable *record, oid *name, size_t *length, int exact, size_t *value_length,
                                 WriteMethod **write_method) {
  if (spec_.only_while_running && netsnmp_running == 0) return nullptr;
  // A GET of the bare cell is matched as a GETNEXT, which answers the instance below it.
  if (snmp_oid_compare(name, *length, record->name, record->namelen) == 0) exact = 0;
  if (!matches(record, name, length, exact, value_length, write_method)) return nullptr;

  const oid number = record->name[record->namelen - 2U];
  const oid row = record->name[record->namelen - 1U];
  // Readers count on it: a row is an index into what they keep.
  if (row < 1 || row > capacity()) return nullptr;
  const Cell cell{static_cast<int32_t>(row)};
  if (number == 1 && row == 1 && spec_.refresh != nullptr) spec_.refresh();
  if (spec_.live_rows != nullptr && cell.row > spec_.live_rows()) return nullptr;
  for (const Column &column : columns_) {
    if (column.magic != record->magic) continue;
    if (spec_.select != nullptr && !spec_.select(cell)) return nullptr;
    return read(column, cell, value_length);
  }
  snmp_set_detail("no column has this magic");
  return nullptr;
}

unsigned char *StaticTable::read(const Column &column, Cell cell, size_t *value_length) {
  switch (column.type) {
    case ASN_OCTET_STR: {
      const Octets octets = column.read.octets(cell);
      *value_length = octets.length;
      return static_cast<unsigned char *>(const_cast<void *>(octets.data));
    }
    case ASN_IPADDRESS:
      answer_ = htonl(column.read.address(cell));
      break;
    default:
      answer_ = static_cast<uint32_t>(column.read.integer(cell));
      break;
  }
  return reinterpret_cast<unsigned char *>(&answer_);
}

}  // namespace zol
