#include "core/stored_setting.hpp"

#include <cstdlib>
#include <cstring>

#include "core/enterprise.hpp"
#include "core/text.hpp"

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

namespace {

FullOid instance(int32_t enterprise, Arcs arcs) {
  FullOid full = full_oid(enterprise, arcs);
  full.arc[full.length++] = 0;
  return full;
}

}  // namespace

void StoredText::init() {
  deinit();
  copy_text(value_, initial_);
  FullOid full = instance(snmp_enterprise_oid, info_.oid);
  netsnmp_handler_registration *registration =
      netsnmp_create_handler_registration(registration_, nullptr, full.arc.data(), full.length, HANDLER_CAN_RWRITE);
  // The flags make the handler measure the text anew at every GET and end it at every SET.
  constexpr int flags = 120;
  watcher_ = netsnmp_create_watcher_info(value_.data(), strlen(value_.data()), ASN_OCTET_STR, flags);
  watcher_->max_size = value_.size() - 1;
  // The present releases look at the maximum only when they are told to, and would write a longer text past the buffer.
  watcher_->flags |= WATCHER_MAX_SIZE;
  enterprise_ = snmp_enterprise_oid;
  if (netsnmp_register_watched_instance(registration, watcher_) != MIB_REGISTERED_OK) {
    log_line("%s: the agent refused the registration", info_.name);
  }
}

void StoredText::deinit() {
  if (watcher_ == nullptr) return;
  FullOid full = instance(enterprise_, info_.oid);
  unregister_mib(full.arc.data(), full.length);
  free(watcher_);
  watcher_ = nullptr;
}

}  // namespace zol
