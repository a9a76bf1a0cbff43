// Prints the registry, one line per object in the order of the tree, its fields separated by tabs: OID below
// 1.3.6.1.4.1.E.8, name, type, access, what a SET accepts (numbers, or lengths of a text), rows of a table's column (0
// for a scalar), the module that holds it.

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "core/module.hpp"
#include "core/switches.hpp"

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
  for (const auto &[low, high] : object.accepts.intervals()) {
    printf("%s%d..%d", bar, low, high);
    bar = "|";
  }
  printf("\t%u\t%s\n", object.rows, entry.module);
}

using Parse = void(const char *, char *);

/// Whether a scalar goes on answering its token's value when the device has none: the reader is asked where no command
/// is found.
bool outlasts_a_get(const char *name, Parse *parse, const char *value, bool is_text) {
  const std::string reader = "get_" + std::string(name);
  auto *get = reinterpret_cast<int (*)(const void *)>(dlsym(RTLD_DEFAULT, reader.c_str()));
  if (get == nullptr) return false;
  std::string text = "3";
  parse(name, text.data());
  get(value);
  constexpr int32_t number = 3;
  return is_text ? text == value : memcmp(value, &number, sizeof number) == 0;
}

/// What a token keeps of a text is found out by handing it some.
void print_token(const char *module, const char *name, Parse *parse) {
  const auto *value = static_cast<const char *>(dlsym(RTLD_DEFAULT, name));
  if (value == nullptr || parse == nullptr) return;
  std::string text(8000, 'x');
  parse(name, text.data());
  const size_t kept = *value == 'x' ? strlen(value) : 0;
  text.assign(kept, 'x');
  bool whole = false;
  if (kept > 0) {
    parse(name, text.data());
    whole = text == value;
  }
  const bool start = strcmp(module, name) == 0 && outlasts_a_get(name, parse, value, kept > 0);
  printf("%s\t%s\t%zu\t%s\n", module, name, kept > 0 && !whole ? kept - 1 : kept,
         whole   ? "whole"
         : start ? "start"
                 : "");
}

void print_tokens() {
  setenv("PATH", "/nonexistent", 1);
  setenv("ZOLARC_VALUE_STORE", "/nonexistent/values", 1);
  for (const zol::Module &module : zol::modules()) {
    const std::string parse = module.name + std::string("_parse_config");
    print_token(module.name, module.name, reinterpret_cast<Parse *>(dlsym(RTLD_DEFAULT, parse.c_str())));
  }
  for (const zol::Token &token : zol::tokens()) print_token(token.module, token.name, token.parse);
}

void print_switches() {
  for (const zol::Switch &which : zol::switches()) {
    printf("%s\t%s\t%d\t%s\n", which.name, which.values, which.initial, which.sentence);
  }
}

void print_objects() {
  std::vector<Entry> entries;
  for (const zol::Module &module : zol::modules()) {
    for (const zol::ObjectInfo &object : std::span(module.objects, module.object_count)) {
      entries.push_back({&object, module.name});
    }
  }
  std::ranges::sort(entries, {}, path);
  std::ranges::for_each(entries, print);
}

}  // namespace

int main(int count, char **arguments) {
  const std::string what = count > 1 ? arguments[1] : "objects";
  if (what == "tokens") {
    print_tokens();
  } else if (what == "switches") {
    print_switches();
  } else {
    print_objects();
  }
}
