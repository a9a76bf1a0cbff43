#pragma once

#include "core/export.hpp"

extern "C" {

/// The text that is shown for `key` in the language of the web interface, which LANGUAGE (or else LANG) in the file
/// with the alias "sys" names by two letters, or else the environment variable LANG. The texts are in the language's
/// file, as "key=text": the alias "language" for "en", the alias "label" for "ja" and "jp", /home/web/<xx>/label.conf
/// for others.
/// @return UTF-8 without control characters, for as long as the process lives; the built-in English where the file has
/// no such text, and `key` itself where there is none of either
ZOL_EXPORT const char *zol_label(const char *key);
}

namespace zol {

/// The file that names the language, in place of the one with the alias "sys". `path` stays the caller's.
void name_language_in(const char *path);

/// `zol_label`, but null where there is neither a text in the language's file nor built-in English.
const char *find_label(const char *key);

}  // namespace zol
