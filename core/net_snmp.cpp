#include "core/net_snmp.hpp"

#include <atomic>

int32_t is_reset = 0;
int32_t is_apply_change = 0;

namespace zol {

bool agent_runs() { return std::atomic_ref(netsnmp_running).load(std::memory_order_relaxed) != 0; }

void request_restart() {
  std::atomic_ref(netsnmp_running).store(0, std::memory_order_relaxed);
  is_reset = 1;
}

}  // namespace zol
