#pragma once

// Whether a text that somebody else chose may stand in a command: who wrote a firmware image or named a network is not
// to run commands here.

namespace zol {

/// What a text stands between in a command.
enum class Quotes { none, single, doubled };

/// Whether the shell takes a text for itself there, all of it and nothing else. Without quotes that is one of letters,
/// digits, "_ . / : @ = , + % -" and bytes from 0x80 on.
bool is_plain(const char *text, Quotes quotes);

}  // namespace zol
