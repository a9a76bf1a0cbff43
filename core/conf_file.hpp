#pragma once

// Sectioned configuration files of the form
//
//   [section]
//   KEY=value
//
// Blanks around names and values do not count; empty lines and lines that begin with '#' or ';' are skipped. Of two
// keys or sections with the same name the first one counts. Here only the wireless driver's loader reads one; the
// functions are exported for programs that load the library.

#include <cstddef>

#include "core/export.hpp"

extern "C" {

/// An open file and the section that is selected in it.
struct ConfFile;

/// Lets `confOpen` find the file `path` under the short name `alias` as well; an alias that exists is moved. There is
/// room for 8 aliases of at most 31 characters, of paths of at most 127.
/// @return 0, or -1 when there is no room
ZOL_EXPORT int confAlias(const char *path, const char *alias);

/// Opens a file by its alias or by its path. No section is selected: keys are those before the first section.
/// @return a file to be closed with `confClose`, or null when it cannot be read
ZOL_EXPORT ConfFile *confOpen(const char *name);

/// Selects a section of at most 63 characters. @return 0; -1, and the old selection, when there is none of that name
ZOL_EXPORT int confSection(ConfFile *file, const char *section);

/// Reads a key of the selected section as text, cut to `size` bytes (at least 1) with its terminator.
/// @return 0; -1, and `value` untouched, when the section has no such key
ZOL_EXPORT int confRead(ConfFile *file, const char *key, char *value, size_t size);

/// Closes a file; null is let pass.
ZOL_EXPORT void confClose(ConfFile *file);
}
