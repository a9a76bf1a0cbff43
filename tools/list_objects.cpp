// Prints the registry, one line per object in the order of the tree, its fields separated by tabs: OID below the root,
// name, type, access, what a SET accepts (numbers, or lengths of a text), rows of a table's column (0 for a scalar).

#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#include "core/module.hpp"

namespace {

std::span<const uint8_t> arcs(const zol::ObjectInfo *object) { return {object->oid.arc.data(), object->oid.count}; }

const char *type_name(const zol::ObjectInfo *object) {
  if (object->type == ASN_INTEGER) return "INTEGER";
  return object->type == ASN_IPADDRESS ? "IpAddress" : "OCTET STRING";
}

void print(const zol::ObjectInfo *object) {
  const char *dot = "";
  for (const unsigned arc : arcs(object)) {
    printf("%s%u", dot, arc);
    dot = ".";
  }
  printf("\t%s\t%s\t%s\t", object->name, type_name(object),
         object->access == zol::read_write ? "read-write" : "read-only");
  const char *bar = "";
  for (size_t i = 0; i < object->accepts.count; ++i) {
    const auto &[low, high] = object->accepts.interval[i];
    printf("%s%d..%d", bar, low, high);
    bar = "|";
  }
  printf("\t%u\n", object->rows);
}

}  // namespace

int main() {
  std::vector<const zol::ObjectInfo *> objects;
  for (const zol::Module *module : zol::modules()) {
    for (size_t i = 0; i < module->object_count; ++i) objects.push_back(&module->objects[i]);
  }
  std::ranges::sort(
      objects, [](const auto *a, const auto *b) { return std::ranges::lexicographical_compare(arcs(a), arcs(b)); });
  for (const zol::ObjectInfo *object : objects) print(object);
}
