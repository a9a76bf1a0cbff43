#pragma once

#include "standins/tools.hpp"

/// Becomes the busybox applet `name`. @return the exit status when that fails
int run_applet(const char *name, Arguments arguments);
