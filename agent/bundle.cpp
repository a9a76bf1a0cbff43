// The single entry point that brings up the whole tree: "dlmod netsnmpzolarc <library>".

#include <cstring>

#include "agent/bundle.hpp"
#include "agent/sampling.hpp"
#include "core/module.hpp"
#include "core/switches.hpp"

namespace {

/// The module that reads the enterprise number, which every other one needs to register.
constexpr const char *first_module = "zol_AssociatedClients";

bool is_first(const zol::Module &module) { return strcmp(module.name, first_module) == 0; }

}  // namespace

void init_netsnmpzolarc(void) {
  zol::add_switches();
  for (const zol::Module *module : zol::modules()) {
    if (is_first(*module)) module->init();
  }
  for (const zol::Module *module : zol::modules()) {
    if (!is_first(*module)) module->init();
  }
  zol::schedule_sampling();
}

void deinit_netsnmpzolarc(void) {
  zol::stop_sampling();
  for (const zol::Module *module : zol::modules()) module->deinit();
  zol::remove_switches();
}
