#pragma once

#include "wdog/menu.hpp"

namespace wdog {

/// The device's own values: those of UCI are read and written by `uci`, as the SNMP objects do it, but without a shell.
Backend device_values();

}  // namespace wdog
