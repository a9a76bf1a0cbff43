#include "core/static_table.hpp"

#include "core/command/request.hpp"

namespace zol {

void StaticTable::init() {
  deinit();
  if (spec_.prepare != nullptr) spec_.prepare();
  fill_records();
  registration_.add_rows(name_, reinterpret_cast<variable *>(records_.data()), sizeof(variable7), records_.size());
  tokens_.add();
}

void StaticTable::deinit() {
  registration_.remove_rows();
  tokens_.remove();
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
  const Request request(name_);
  if (number == 1 && row == 1 && spec_.refresh != nullptr) spec_.refresh();
  if (spec_.live_rows != nullptr && cell.row > spec_.live_rows()) return nullptr;
  for (const Column &column : columns_) {
    if (column.magic != record->magic) continue;
    if (spec_.select != nullptr && !spec_.select(cell)) return nullptr;
    unsigned char *answer = answer_.of(column.type, column.read, value_length, cell);
    return request.late() ? nullptr : answer;
  }
  snmp_set_detail("no column has this magic");
  return nullptr;
}

}  // namespace zol
