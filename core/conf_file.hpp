#pragma once

// Configuration files of the form
//
//   [section]
//   KEY=value
//
// and, by the functions that begin with "cf", the same without sections, where a line that begins with '[' is one like
// any other. Blanks around names and values do not count; empty lines and lines that begin with '#' or ';' are skipped.
// Of two keys or sections with the same name the first one counts. Lines are of any length; a NUL ends what a line
// says.
//
// wdog keeps its settings and its history so, the wireless driver's loader (mib/clients/driver) reads the radios'
// devices, and core/label the web interface's texts; all of it is exported for programs that load the library.

#include <cstddef>

#include "core/export.hpp"

extern "C" {

/// An open file: what it held when it was opened, the section that is selected in it, and the changes that `confClose`
/// will write. One thread at a time uses it. All its memory is given back when it is closed.
struct ConfFile;

/// Lets `confOpen` and `cfopen` find the file `path` under the short name `alias` as well; an alias that exists is
/// moved. There is room for 8 aliases of at most 31 characters, of paths of at most 127.
/// @return 0, or -1 when there is no room
ZOL_EXPORT int confAlias(const char *path, const char *alias);

/// Opens a file by its alias or by its path. No section is selected: keys are those before the first section.
/// @return a file to be closed with `confClose`, or null when it cannot be read
ZOL_EXPORT ConfFile *confOpen(const char *name);

/// Selects a section of at most 63 characters. @return 0; -1, and the old selection, when there is none of that name
ZOL_EXPORT int confSection(ConfFile *file, const char *section);

/// Reads a key of the selected section as text, cut to `size` bytes (at least 1) with its terminator. Changes that wait
/// to be written are read like what is there.
/// @return 0; -1, and `value` untouched, when the section has no such key
ZOL_EXPORT int confRead(ConfFile *file, const char *key, char *value, size_t size);

/// Appends a section of at most 63 characters to the file and selects it; one that is there already is only selected.
/// @return 0; -1, and the old selection, for a name that would not read back the same and without memory
ZOL_EXPORT int confAdd(ConfFile *file, const char *section);

/// Sets a key of the selected section to `value`, or removes it when `value` is null (a key that is not there is as
/// good as removed). The file changes when it is closed.
/// @return 0; -1, and nothing changed, for a key or a value that would not read back the same (such as a value with a
/// line end in it or blanks around it, or a key that begins with '#') and without memory
ZOL_EXPORT int confWrite(ConfFile *file, const char *key, const char *value);

/// Writes what was changed and closes the file; null is let pass. The changes are applied to the file as it is by then,
/// under a lock; every other byte stays, and so do its mode, its owner and symbolic links to it. The file is replaced
/// as a whole by a copy beside it, so that a power cut leaves the old or the new one, and not at all when it says the
/// same already.
/// @return 0; -1, and `errno`, when it could not be written: the file is then closed and unchanged
ZOL_EXPORT int confClose(ConfFile *file);

// Files without sections: the same, for keys wherever they stand.
ZOL_EXPORT ConfFile *cfopen(const char *name);
ZOL_EXPORT int cfread(ConfFile *file, const char *key, char *value, size_t size);
ZOL_EXPORT int cfwrite(ConfFile *file, const char *key, const char *value);
ZOL_EXPORT int cfclose(ConfFile *file);
}

namespace zol {

/// Where an alias leads; null when there is none of that name.
const char *path_of_alias(const char *alias);

}  // namespace zol
