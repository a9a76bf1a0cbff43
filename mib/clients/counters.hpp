#pragma once

#include <cstdint>

namespace zol {

/// The number behind the name of a counter: from its first digit other than 0 on, and 0 when the line has none.
int32_t counter_value(const char *name);

}  // namespace zol
