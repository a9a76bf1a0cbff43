#pragma once

#include "wdog/text.hpp"

namespace wdog {

/// Reads an option, such as "network.lan.ipaddr", by `uci show`. False when it has no value.
bool read_option(const char *option, Text &value);

/// Whether the option last read was printed in quotes, as later releases of uci do. They name the agent's section
/// otherwise, too.
bool prints_quotes();

/// How many sections "wireless.wifi<N>", from 0 on, are radios.
int count_radios();

/// Runs `uci set` with the value as it is, and `uci commit`. False when one of them fails.
bool write_option(const char *option, const char *value);

}  // namespace wdog
