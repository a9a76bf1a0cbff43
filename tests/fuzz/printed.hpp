#pragma once

#include <string>

/// What every command of this program prints, but for "brctl show", which lists two wireless interfaces. None is run.
extern std::string printed;

/// Ends the program, which is what a fuzzer takes for a fault, unless `condition` holds.
void require(bool condition, const char *what);
