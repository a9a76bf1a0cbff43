#pragma once

// Running other programs, without a shell.

#include <sys/types.h>

#include "wdog/text.hpp"

namespace wdog {

/// Words and a null behind them; the first is the program, looked for in PATH.
using Words = const char *const *;

/// Runs a program to its end, with no input and its errors unseen.
/// @param output gets what it prints, up to 64 KiB; may be null
/// @return its exit status; 127 when it could not be run, -1 when it was ended by a signal
int run(Words words, Text *output);

/// Starts a program in a session of its own, with no input and no output. @return its process, or -1
pid_t start(Words words);

/// As a program that is started expects the signals.
void restore_signals();

}  // namespace wdog
