#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "core/export.hpp"

extern "C" {

/// Copies field `index` (from 0) of `src`, split at `delim`, into `dst`. Runs of the delimiter count as one, so empty
/// fields are skipped. `dst` is left unchanged when there is no such field, and must hold the field otherwise.
/// @return 0 always
ZOL_EXPORT int zoel_getElementOf_(char *dst, const char *src, unsigned short index, char delim);

/// The same as `zoel_getElementOf_`.
ZOL_EXPORT int zol_getElementOf_(char *dst, const char *src, unsigned short index, char delim);

/// The number of non-empty fields of `src` split at `delim`.
ZOL_EXPORT int zol_countElementOf_(const char *src, char delim);

/// Replaces every `from` in `text` by `to`, in place: turns UCI's blank-separated lists into ";"-separated ones and
/// back.
ZOL_EXPORT void zol_replace_a_char(char *text, char from, char to);

/// Turns the ASCII letters of `text` into upper case, in place. @return `text`
ZOL_EXPORT char *zol_strtoupper(char *text);
}

namespace zol {

/// Copies `source` into `target`, cut where it is too long, always terminated.
void copy_text(std::span<char> target, const char *source);

/// `zoel_getElementOf_` with a bound: a longer field is cut. False, and `target` unchanged, when there is no such
/// field.
bool copy_field(std::span<char> target, const char *source, unsigned index, char separator);

/// Stores the value of a configuration token: a text of `limit` characters or more keeps its first `limit` - 3 and ends
/// in "...", so that it is exactly `limit` characters long. `target` must hold `limit` + 1 characters.
void preset_text(char *target, size_t limit, const char *value);

/// The decimal number that `text` begins with (after blanks), 0 without one, as `atoi` reads it. Numbers beyond 32 bits
/// wrap, on 32-bit machines as on 64-bit ones, where the C library's own conversions would differ.
int32_t to_int32(const char *text);

/// Reads what `%d` reads at `cursor` and moves it behind the number; nothing, and `cursor` unchanged, without a number.
/// Wraps as `to_int32` does.
std::optional<int32_t> scan_int32(const char *&cursor);

/// The number behind `label`, which follows another number at `text`, with or without `blanks` between: the errors in
/// "1234 errors:5". Nothing where something else stands there.
std::optional<int32_t> scan_second_number(const char *text, const char *label, const char *blanks = " \t\v\f\r");

/// The text behind its first `count` words and the blanks before them.
const char *skip_words(const char *text, int count);

/// Reads a number of any length at `cursor` and moves it behind it; what does not fit 64 bits is cut to the largest.
std::optional<uint64_t> scan_count(const char *&cursor);

/// Reads "65.5" at `text`, behind blanks, as 65500.
std::optional<uint32_t> scan_thousandths(const char *cursor);

/// Whether a character can belong to a name: a letter, a digit or "_".
bool in_word(char character);

/// The text behind the first `label` in `text` that no character of a name stands before, or null.
const char *behind_word(const char *text, const char *label);

/// Reads what `%s` reads at `text`: the first run of non-blank characters, cut where it is too long. False, and
/// `target` unchanged, when only blanks follow.
bool scan_word(std::span<char> target, const char *text);

/// Copies `source` into a field of a record: cut where it is too long, and then without a terminator; filled with NULs
/// where it is shorter.
void fill_field(std::span<char> field, const char *source);

/// The text behind the first `marker` in `line` and `gap` more characters, or null. The text is empty when the line
/// ends before.
const char *text_after(const char *line, const char *marker, size_t gap = 0);

}  // namespace zol
