// The shaper's switch and the limits of the WAN link, in kilobits per second.

#include "core/option.hpp"
#include "core/scalar.hpp"

using namespace zol;

/// @syntax ZolarcSwitch
/// Whether bandwidth is shaped (qos.wan.enabled).
ZOL_INTEGER(qos_enabled, .oid = {13, 1}, .accepts = range(1, 2));

int get_qos_enabled(int32_t *enabled) { return read_flag(CommandOutput("uci show qos.wan.enabled"), off, enabled); }

int set_qos_enabled(int32_t enabled) {
  // Started before it is enabled, stopped before it is disabled.
  if (enabled == 1) {
    shell("uci set qos.wan.enabled=1;uci commit qos;/etc/init.d/qos start;/etc/init.d/qos enable");
  } else {
    shell("uci set qos.wan.enabled=0;uci commit qos;/etc/init.d/qos stop;/etc/init.d/qos disable");
  }
  return 0;
}

// The running shaper takes a limit over at its next start.

/// @units kbit/s
/// The bandwidth of the WAN for sending (qos.wan.upload); 0 when it is not configured.
ZOL_INTEGER(qos_bandwidthupload, .oid = {13, 2}, .accepts = range(0, 65535));
int get_qos_bandwidthupload(int32_t *limit) {
  return find_number(CommandOutput("uci show qos.wan.upload"), "wan.upload=", 0, limit, &Value::rest);
}
int set_qos_bandwidthupload(int32_t limit) { return store_number("qos.wan.upload", limit); }

/// @units kbit/s
/// The bandwidth of the WAN for reception (qos.wan.download); 0 when it is not configured.
ZOL_INTEGER(qos_bandwidthdownload, .oid = {13, 3}, .accepts = range(0, 65535));
int get_qos_bandwidthdownload(int32_t *limit) {
  return find_number(CommandOutput("uci show qos.wan.download"), "wan.download=", 0, limit, &Value::rest);
}
int set_qos_bandwidthdownload(int32_t limit) { return store_number("qos.wan.download", limit); }
