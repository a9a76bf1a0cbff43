#pragma once

namespace wdog {

/// From now on lines for the operator go to syslog in place of standard error.
void log_to_syslog();
bool is_logging_to_syslog();

/// "[YYYY/MM/DD hh:mm:ss] wdog: reboot, <reason>" in syslog and in /var/snmp_log.
void log_reboot(const char *reason);

}  // namespace wdog
