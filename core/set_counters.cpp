#include "core/set_counters.hpp"

constinit zol::SetCounters zol::set_counters{};
