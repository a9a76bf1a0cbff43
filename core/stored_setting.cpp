#include "core/stored_setting.hpp"

#include "core/enterprise.hpp"

namespace zol {

void StoredInteger::init() {
  deinit();
  FullOid full = full_oid(snmp_enterprise_oid, info_.oid);
  if (netsnmp_register_int_scalar(registration_, full.arc.data(), full.length, value_, nullptr) != MIB_REGISTERED_OK) {
    log_line("%s: the agent refused the registration", info_.name);
  }
  registered_ = true;
  enterprise_ = snmp_enterprise_oid;
}

void StoredInteger::deinit() {
  if (!registered_) return;
  registered_ = false;
  FullOid full = full_oid(enterprise_, info_.oid);
  unregister_mib(full.arc.data(), full.length);
}

}  // namespace zol
