#pragma once

#include <span>

/// The device's journal: every shell command and every call of a stand-in, word for word.
///
/// A record's fields are separated by 0x1f and it ends with 0x1e: "sh", text; "exec", argv[0], argv[1]... of
/// what a shell has started; "run" and the same of what was started without one.
namespace journal {

/// Appends one record, in one write, so that records of concurrent commands do not mix.
void append(const char *kind, std::span<const char *const> fields);

}  // namespace journal
