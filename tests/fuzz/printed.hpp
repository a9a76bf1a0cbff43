#pragma once

#include <string>

/// What every command of this program prints, but for "brctl show", which lists two wireless interfaces. None is run.
extern std::string printed;

/// Has `told` see every command text that would be run.
void watch_commands(void (*told)(const char *command));

/// Ends the program, which is what a fuzzer takes for a fault, unless `condition` holds.
void require(bool condition, const char *what);
