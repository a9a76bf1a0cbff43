#include "core/dynamic_table.hpp"

#include <algorithm>

#include "core/switches.hpp"

namespace zol {

void DynamicTable::init() {
  deinit();
  if (spec_.prepare != nullptr) spec_.prepare();
  size_t count = 0;
  for (const DynamicColumn &column : columns_) {
    if (column.access == not_accessible) continue;
    variable2 &record = records_[count++];
    record.magic = column.number;
    record.type = column.type;
    record.acl = RONLY;
    record.findVar = method_;
    record.namelen = 1;
    record.name[0] = column.number;
  }
  registration_.add_rows(name_, reinterpret_cast<variable *>(records_.data()), sizeof(variable2), count, spec_.entry,
                         Tree::extensions);
}

size_t DynamicTable::seek(std::span<const oid> arcs, bool behind) const {
  std::array<oid, longest_index> own{};
  size_t first = 0;
  size_t end = spec_.rows();
  while (first < end) {
    const size_t middle = first + (end - first) / 2;
    spec_.index(middle, own.data());
    const int order = snmp_oid_compare(own.data(), spec_.index_length, arcs.data(), arcs.size());
    if (order < 0 || (behind && order == 0)) {
      first = middle + 1;
    } else {
      end = middle;
    }
  }
  return first;
}

size_t DynamicTable::select(std::span<const oid> column, std::span<const oid> name, bool exact) const {
  const size_t shared = std::min(column.size(), name.size());
  const int order = snmp_oid_compare(name.data(), shared, column.data(), shared);
  const bool inside = order == 0 && name.size() > column.size();
  if (exact && !(inside && name.size() == column.size() + spec_.index_length)) return spec_.rows();
  if (!inside) return order > 0 ? spec_.rows() : 0;
  const auto wanted = name.subspan(column.size());
  const size_t row = seek(wanted, !exact);
  return exact && row == seek(wanted, true) ? spec_.rows() : row;
}

bool DynamicTable::read(const DynamicColumn &column, size_t row) {
  const auto hold = [&](auto value) {
    if (value) number_ = static_cast<uint32_t>(*value);
    answer_ = {&number_, sizeof number_};
    return value.has_value();
  };
  switch (column.type) {
    case ASN_OCTET_STR: {
      const auto octets = column.read.octets(row);
      if (octets) answer_ = *octets;
      return octets.has_value();
    }
    case ASN_COUNTER64: {
      const auto count = column.read.count(row);
      if (count) count_ = {static_cast<u_long>(*count >> 32U), static_cast<u_long>(*count & UINT32_MAX)};
      answer_ = {&count_, sizeof count_};
      return count.has_value();
    }
    case ASN_INTEGER:
      return hold(column.read.integer(row));
    case ASN_IPADDRESS: {
      const bool known = hold(column.read.number(row));
      number_ = htonl(number_);
      return known;
    }
    default:
      return hold(column.read.number(row));
  }
}

unsigned char *DynamicTable::find(variable *record, oid *name, size_t *length, int exact, size_t *value_length,
                                  WriteMethod **write_method) {
  *write_method = nullptr;
  const std::span<const oid> own(record->name, record->namelen);
  const auto column = std::ranges::find(columns_, record->magic, &DynamicColumn::number);
  if (column == columns_.end()) return nullptr;
  size_t row = select(own, {name, *length}, exact != 0);
  // A GETNEXT passes over the rows that have no such cell.
  const size_t rows = spec_.rows();
  bool known = row < rows && read(*column, row);
  while (!known && exact == 0 && ++row < rows) known = read(*column, row);
  if (!known) return nullptr;
  std::copy(own.begin(), own.end(), name);
  spec_.index(row, name + own.size());
  *length = own.size() + spec_.index_length;
  *value_length = answer_.length;
  return static_cast<unsigned char *>(const_cast<void *>(answer_.data));
}

bool is_extension(const Module &module) {
  return module.object_count > 0 && module.objects[0].tree == Tree::extensions;
}

namespace {

bool registered = false;

void register_extensions(bool wanted) {
  if (registered == wanted) return;
  registered = wanted;
  for (const Module &module : modules()) {
    if (is_extension(module)) (wanted ? module.init : module.deinit)();
  }
}

}  // namespace

void apply_extensions() { register_extensions(extensions_are_on()); }
void remove_extensions() { register_extensions(false); }

}  // namespace zol
