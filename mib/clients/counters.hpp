#pragma once

#include <cstdint>

namespace zol {

/// The number behind the name of a counter, which may stand apart from it; 0 when the line has none.
int32_t counter_value(const char *name);

}  // namespace zol
