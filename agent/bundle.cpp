// The single entry point that brings up the whole tree: "dlmod netsnmpzolarc <library>".

#include <cstring>

#include "agent/bundle.hpp"
#include "agent/sampling.hpp"
#include "core/dynamic_table.hpp"
#include "core/module.hpp"
#include "core/static_table.hpp"
#include "core/switches.hpp"

namespace {

/// The module that reads the enterprise number, which every other one needs to register.
constexpr const char *first_module = "zol_AssociatedClients";

bool is_first(const zol::Module &module) { return strcmp(module.name, first_module) == 0; }

/// What the tokens switch stands in the configuration below the line that loads the library.
int on_configuration(int, int, void *, void *) {
  zol::apply_extensions();
  return SNMPERR_SUCCESS;
}

}  // namespace

void init_netsnmpzolarc(void) {
  zol::add_switches();
  zol::StaticTable::register_columns(true);
  for (const zol::Module &module : zol::modules()) {
    if (is_first(module)) module.init();
  }
  for (const zol::Module &module : zol::modules()) {
    if (!is_first(module) && !zol::is_extension(module)) module.init();
  }
  // Before a subagent connects, which it does in a callback of the usual priority.
  netsnmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, on_configuration, nullptr, -1);
  zol::schedule_sampling();
}

void deinit_netsnmpzolarc(void) {
  zol::stop_sampling();
  snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, on_configuration, nullptr, 1);
  zol::remove_extensions();
  for (const zol::Module &module : zol::modules()) module.deinit();
  zol::StaticTable::register_columns(false);
  zol::remove_switches();
}
