// Factory reset, applying pending changes, memory use.

#include <cstdio>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/net_snmp.hpp"
#include "core/scalar.hpp"
#include "core/written_file.hpp"

using namespace zol;

/// @syntax ZolarcAction
/// Set to perform(1), the device loses its whole configuration and reboots with factory settings (mtd -r erase
/// rootfs_data). A GET answers what was set last.
ZOL_INTEGER(reset_ap, .oid = {1, 2}, .accepts = range(0, 1));

ZOL_HELD(reset_ap)

int set_reset_ap(int32_t value) {
  // Erases the writable overlay, which holds the whole configuration, and reboots.
  if (value == 1) shell("mtd -r erase rootfs_data");
  return 0;
}

/// @syntax ZolarcAction
/// Set to perform(1), the agent answers, ends and starts again, so that it takes over its own changed configuration; a
/// line goes to /var/snmp_log. An agent that nobody starts again stays away. A GET always answers idle(0). The network
/// is not reloaded by it.
ZOL_INTEGER(apply_change, .oid = {1, 3}, .accepts = range(0, 1));

int get_apply_change(int32_t *value) {
  *value = 0;
  return 0;
}

int set_apply_change(int32_t value) {
  if (value != 1) return 0;
  char stamp[20] = "";
  zoel_print_time(stamp);
  // One file under two names.
  remove_link("/tmp/snmp_log");
  remove_link("/var/snmp_log");
  run_system("echo '[%s] snmpd applying change...' >> /var/snmp_log", stamp);
  request_restart();
  is_apply_change = 1;
  return 0;
}

/// @syntax ZolarcAction
/// Accepted for managers that set it; changes nothing. A GET always answers idle(0).
ZOL_INTEGER(web_mngt, .oid = {1, 6}, .accepts = range(0, 1));

int get_web_mngt(int32_t *value) {
  *value = 0;
  return 0;
}

// Accepted for managers that set it, and meant to change nothing: this object once reset the device.
int set_web_mngt(int32_t) { return 0; }

/// @syntax ZolarcText (SIZE (0..31))
/// The memory in use, for example '29744 KB' (top).
ZOL_TEXT_WITHOUT_SET(ram_used, 32, .oid = {2, 10}, .access = read_only);

int get_ram_used(char *text) {
  static float kilobytes = 0;
  CommandOutput output("top -b -n 1 | grep \"Mem:\"");
  const bool started = static_cast<bool>(output);
  // The first word behind the label, for example "29744K".
  if (output.next()) sscanf(output.line(), "Mem: %fK", &kilobytes);
  // Without an answer the previous reading stands.
  snprintf(text, sizeof ram_used, "%.0f KB", static_cast<double>(kilobytes));
  return started ? 0 : -1;
}
