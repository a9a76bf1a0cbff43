// The shaper's switch and the limits of the WAN link, in kilobits per second.

#include <cstdio>
#include <cstring>

#include "core/command.hpp"
#include "core/scalar.hpp"

using namespace zol;

/// @syntax ZolarcSwitch
/// Whether bandwidth is shaped (qos.wan.enabled).
ZOL_INTEGER(qos_enabled, .oid = {13, 1}, .accepts = range(1, 2));

int get_qos_enabled(int32_t *enabled) {
  *enabled = 2;
  CommandOutput output("uci show qos.wan.enabled");
  if (!output) return -1;
  while (output.next()) {
    char value[128] = "";
    copy_field(value, output.line(), 1, '=');
    if (strcmp(value, "1") == 0) *enabled = 1;
    if (strcmp(value, "0") == 0) *enabled = 2;
  }
  return 0;
}

int set_qos_enabled(int32_t enabled) {
  // Started before it is enabled, stopped before it is disabled.
  if (enabled == 1) {
    shell("uci set qos.wan.enabled=1;uci commit qos;/etc/init.d/qos start;/etc/init.d/qos enable");
  } else {
    shell("uci set qos.wan.enabled=0;uci commit qos;/etc/init.d/qos stop;/etc/init.d/qos disable");
  }
  return 0;
}

namespace {

int read_limit(const char *direction, int32_t *limit) {
  *limit = 0;
  CommandOutput output("uci show qos.wan.%s", direction);
  if (!output) return -1;
  char marker[32];
  snprintf(marker, sizeof marker, "wan.%s=", direction);
  if (output.find(marker) != nullptr) *limit = to_int32(text_after(output.line(), "="));
  return 0;
}

/// The running shaper takes the limit over at its next start.
int write_limit(const char *direction, int32_t limit) {
  shell("uci set qos.wan.%s=%d;uci commit qos", direction, limit);
  return 0;
}

}  // namespace

/// @units kbit/s
/// The bandwidth of the WAN for sending (qos.wan.upload); 0 when it is not configured.
ZOL_INTEGER(qos_bandwidthupload, .oid = {13, 2}, .accepts = range(0, 65535));
int get_qos_bandwidthupload(int32_t *limit) { return read_limit("upload", limit); }
int set_qos_bandwidthupload(int32_t limit) { return write_limit("upload", limit); }

/// @units kbit/s
/// The bandwidth of the WAN for reception (qos.wan.download); 0 when it is not configured.
ZOL_INTEGER(qos_bandwidthdownload, .oid = {13, 3}, .accepts = range(0, 65535));
int get_qos_bandwidthdownload(int32_t *limit) { return read_limit("download", limit); }
int set_qos_bandwidthdownload(int32_t limit) { return write_limit("download", limit); }
