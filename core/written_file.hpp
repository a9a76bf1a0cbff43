#pragma once

// Files that commands write to.

namespace zol {

/// Removes a symbolic link: what a command writes there would go where somebody else has chosen.
void remove_link(const char *path);

/// Has a log that holds secrets be a file of its own that its owner alone can read, made if there is none.
void keep_private(const char *path);

}  // namespace zol
