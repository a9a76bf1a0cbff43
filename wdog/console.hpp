#pragma once

#include "wdog/menu.hpp"

namespace wdog {

/// Plays keys, between ';', from the top menu on and prints the screen after each.
/// @return whether all were taken and all that was to be saved was
bool play(Menu &menu, const char *keys);

/// Shows the menu on standard output and takes lines from standard input until one ends it. Screens are numbered texts,
/// one below the other: they do on any terminal.
void converse(Menu &menu);

}  // namespace wdog
