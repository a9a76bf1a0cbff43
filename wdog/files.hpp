#pragma once

// Where everything is kept.

namespace wdog {

/// Takes the files of a folder, the value store's among them. False when it is no folder.
bool use_folder(const char *path);

enum class File { settings, language, history, lock };

/// The path of a file, for good.
const char *path_of(File file);

}  // namespace wdog
