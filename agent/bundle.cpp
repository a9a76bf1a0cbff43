// The single entry point that brings up the whole tree: "dlmod netsnmpzolarc <library>".

#include <cstring>

#include "core/module.hpp"

extern "C" {
ZOL_EXPORT void init_netsnmpzolarc(void);
ZOL_EXPORT void deinit_netsnmpzolarc(void);
}

namespace {

/// The module that reads the enterprise number, which every other one needs to register.
constexpr const char *first_module = "zol_AssociatedClients";

bool is_first(const zol::Module &module) { return strcmp(module.name, first_module) == 0; }

}  // namespace

void init_netsnmpzolarc(void) {
  for (const zol::Module *module : zol::modules()) {
    if (is_first(*module)) module->init();
  }
  for (const zol::Module *module : zol::modules()) {
    if (!is_first(*module)) module->init();
  }
}

void deinit_netsnmpzolarc(void) {
  for (const zol::Module *module : zol::modules()) module->deinit();
}
