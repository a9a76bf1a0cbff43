#include "core/static_table.hpp"

#include <algorithm>

#include "core/command/request.hpp"
#include "core/enterprise.hpp"

namespace zol {

bool StaticTable::by_column_ = false;

void StaticTable::init() {
  deinit();
  if (spec_.prepare != nullptr) spec_.prepare();
  fill_records();
  if (by_column_) {
    add_columns();
  } else {
    registration_.add_rows(name_, reinterpret_cast<variable *>(records_.data()), sizeof(variable7), records_.size());
  }
  tokens_.add();
}

void StaticTable::deinit() {
  registration_.remove_rows();
  remove_columns();
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

FullOid StaticTable::column_oid(const Column &column) const {
  FullOid full = full_oid(*columns_below_, spec_.entry);
  full.arc[full.length++] = column.number;
  return full;
}

void StaticTable::add_columns() {
  columns_below_ = snmp_enterprise_oid;
  for (const Column &column : columns_) {
    FullOid full = column_oid(column);
    netsnmp_handler_registration *registration =
        netsnmp_create_handler_registration(name_, answer_column, full.arc.data(), full.length, HANDLER_CAN_RONLY);
    if (registration != nullptr) registration->handler->myvoid = this;
    if (registration == nullptr || netsnmp_register_handler(registration) != MIB_REGISTERED_OK) {
      log_line("%s: the agent refused the registration", name_);
    }
  }
}

void StaticTable::remove_columns() {
  if (!columns_below_) return;
  for (const Column &column : columns_) {
    FullOid full = column_oid(column);
    unregister_mib(full.arc.data(), full.length);
  }
  columns_below_.reset();
}

int StaticTable::answer_column(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
                               netsnmp_agent_request_info *info, netsnmp_request_info *requests) {
  auto &table = *static_cast<StaticTable *>(handler->myvoid);
  const std::span<const oid> column(registration->rootoid, registration->rootoid_len);
  for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
    if (request->processed != 0) continue;
    if (info->mode == MODE_GET) table.get(*request->requestvb, column);
    if (info->mode == MODE_GETNEXT) table.get_next(*request->requestvb, column);
  }
  return SNMP_ERR_NOERROR;
}

void StaticTable::get(netsnmp_variable_list &request, std::span<const oid> column) {
  const std::span<const oid> name(request.name, request.name_length);
  const oid row = name.size() > column.size() ? name[column.size()] : 0;
  if (row < 1 || row > capacity()) {
    snmp_set_var_typed_value(&request, SNMP_NOSUCHOBJECT, nullptr, 0);
  } else {
    ask(request, column, row, name, 1);
  }
}

void StaticTable::get_next(netsnmp_variable_list &request, std::span<const oid> column) {
  const std::span<const oid> name(request.name, request.name_length);
  const bool inside = netsnmp_oid_is_subtree(column.data(), column.size(), name.data(), name.size()) == 0;
  const oid named = inside && name.size() > column.size() ? name[column.size()] : 0;
  for (oid row = std::max<oid>(named, 1); row <= capacity(); ++row) {
    if (ask(request, column, row, row == named ? name : std::span<const oid>(), 0)) return;
  }
}

bool StaticTable::ask(netsnmp_variable_list &request, std::span<const oid> column, oid row, std::span<const oid> name,
                      int exact) {
  variable record{};
  const auto declared = std::ranges::find(columns_, column.back(), &Column::number);
  record.magic = declared->magic;
  record.type = static_cast<char>(declared->type);
  record.acl = RONLY;
  record.findVar = method_;
  std::ranges::copy(column, record.name);
  record.name[column.size()] = row;
  record.namelen = static_cast<unsigned char>(column.size() + 1);

  std::array<oid, MAX_OID_LEN> asked;
  size_t length = name.empty() ? record.namelen : name.size();
  std::copy_n(name.empty() ? record.name : name.data(), length, asked.data());
  size_t value_length = 0;
  WriteMethod *write_method = nullptr;
  const unsigned char *value = method_(&record, asked.data(), &length, exact, &value_length, &write_method);
  if (value == nullptr) return false;
  snmp_set_var_objid(&request, asked.data(), length);
  snmp_set_var_typed_value(&request, declared->type, value, value_length);
  return true;
}

}  // namespace zol
