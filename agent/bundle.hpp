#pragma once

#include "core/export.hpp"

extern "C" {

/// Brings up every module of the library in the right order and has sampling start from the agent's main loop. The
/// agent calls it for the line "dlmod netsnmpzolarc <library>"; a hosting program calls it before it reads its
/// configuration.
ZOL_EXPORT void init_netsnmpzolarc(void);

/// Ends sampling and takes back everything that the modules registered.
ZOL_EXPORT void deinit_netsnmpzolarc(void);
}
