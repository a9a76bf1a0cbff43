// The table of associated stations.

#include "core/enterprise.hpp"
#include "core/module.hpp"
#include "mib/device/device.hpp"

extern "C" {
ZOL_EXPORT void init_zol_AssociatedClients(void);
ZOL_EXPORT void deinit_zol_AssociatedClients(void);
}

void init_zol_AssociatedClients(void) {
  get_snmp_enterprise_oid(&snmp_enterprise_oid);
  char name[33] = "";
  get_ap_name(name);
  set_ap_name(name);
}

void deinit_zol_AssociatedClients(void) {}

ZOL_REGISTER(zol_AssociatedClients, "zol_AssociatedClients", init_zol_AssociatedClients, deinit_zol_AssociatedClients,
             nullptr, 0)
