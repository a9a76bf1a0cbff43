#pragma once

// The only place that starts a process, and the only one in which the agent's thread waits. core/command/ has a file
// for each question: how a format becomes a command text, how a process is started and ended, how its output is read,
// what of it is kept, what becomes of a command that is late, and the runners.

#include "core/command/reader.hpp"   // IWYU pragma: export
#include "core/command/runners.hpp"  // IWYU pragma: export
