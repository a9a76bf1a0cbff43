#include "core/scalar_group.hpp"

#include <algorithm>
#include <cstring>

#include "core/command/request.hpp"

namespace zol {

void ScalarGroup::init() {
  deinit();
  registration_.add_rows(name_, reinterpret_cast<variable *>(rows_.data()), sizeof(variable7), rows_.size());
  prepare_();
  tokens_.add();
}

void ScalarGroup::deinit() {
  registration_.remove_rows();
  tokens_.remove();
}

unsigned char *ScalarGroup::find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                                 WriteMethod **write_method) {
  if (netsnmp_running == 0 || !matches(row, name, length, exact, value_length, write_method)) return nullptr;
  const auto object = std::ranges::find(objects_, row->magic, &GroupedObject::magic);
  if (object == objects_.end()) return nullptr;
  *write_method = object->write;
  const Request request(object->info.name);
  unsigned char *answer = answer_.of(object->info.type, object->read, value_length);
  if (request.late()) return nullptr;
  if (object->info.type != ASN_OCTET_STR) return answer;
  *value_length = std::min(*value_length, octets_.size());
  memcpy(octets_.data(), answer, *value_length);
  return octets_.data();
}

}  // namespace zol
