// Prints the registry, one line per object in the order of the tree, its fields separated by tabs: OID below
// 1.3.6.1.4.1.E.8, name, type, access, what a SET accepts (numbers, or lengths of a text), rows of a table's column (0
// for a scalar), the module that holds it.

#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#include "core/module.hpp"

namespace {

struct Entry {
  const zol::ObjectInfo *object;
  const char *module;
};

std::vector<unsigned> path(const Entry &entry) {
  const zol::ObjectInfo &object = *entry.object;
  std::vector<unsigned> arcs{static_cast<unsigned>(object.tree)};
  arcs.insert(arcs.end(), object.oid.arc.begin(), object.oid.arc.begin() + object.oid.count);
  return arcs;
}

const char *type_name(const zol::ObjectInfo &object) {
  switch (object.type) {
    case ASN_INTEGER:
      return "INTEGER";
    case ASN_OCTET_STR:
      return "OCTET STRING";
    case ASN_IPADDRESS:
      return "IpAddress";
    case ASN_COUNTER:
      return "Counter32";
    case ASN_GAUGE:
      return "Gauge32";
    case ASN_TIMETICKS:
      return "TimeTicks";
    case ASN_COUNTER64:
      return "Counter64";
    case zol::notification_type:
      return "NOTIFICATION-TYPE";
    default:
      return "unknown";
  }
}

const char *access_name(zol::Access access) {
  constexpr const char *names[] = {"read-only", "read-write", "not-accessible", "accessible-for-notify"};
  return names[static_cast<size_t>(access)];
}

void print(const Entry &entry) {
  const zol::ObjectInfo &object = *entry.object;
  const char *dot = "";
  for (const unsigned arc : path(entry)) {
    printf("%s%u", dot, arc);
    dot = ".";
  }
  printf("\t%s\t%s\t%s\t", object.name, type_name(object), access_name(object.access));
  const char *bar = "";
  for (size_t i = 0; i < object.accepts.count; ++i) {
    const auto &[low, high] = object.accepts.interval[i];
    printf("%s%d..%d", bar, low, high);
    bar = "|";
  }
  printf("\t%u\t%s\n", object.rows, entry.module);
}

}  // namespace

int main() {
  std::vector<Entry> entries;
  for (const zol::Module *module : zol::modules()) {
    for (const zol::ObjectInfo &object : std::span(module->objects, module->object_count)) {
      entries.push_back({&object, module->name});
    }
  }
  std::ranges::sort(entries, {}, path);
  std::ranges::for_each(entries, print);
}
