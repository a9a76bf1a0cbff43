#pragma once

/// Marks what the library offers to the agent and to a hosting program; everything else stays inside.
#define ZOL_EXPORT __attribute__((visibility("default")))
