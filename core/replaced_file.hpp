#pragma once

// Files that are replaced as a whole: a power cut leaves the old one or the new one.

#include <sys/types.h>

#include <cstddef>
#include <string_view>

#include "core/arena.hpp"

namespace zol {

/// Holds the lock of an existing file for as long as it lives. The lock is on the file itself, so that nothing else
/// lies about, and is taken again when the file was replaced meanwhile.
class FileLock {
 public:
  explicit FileLock(const char *path);
  FileLock(const FileLock &) = delete;
  FileLock &operator=(const FileLock &) = delete;
  ~FileLock();
  explicit operator bool() const { return descriptor_ != -1; }
  /// The locked file, open for reading.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

/// Reads all that `descriptor` holds into `arena`. @return null, and errno, when it cannot
/// @param spare so many more bytes are there behind it
char *read_all(int descriptor, Arena &arena, size_t &size, size_t spare = 0);

/// Replaces the file `path`, which is no symbolic link, by `text`. False, and errno, when anything could not be done;
/// the old file then stands.
/// @param like an open file whose mode and owner the new one gets; -1 for mode 0600 and the owner of the process
bool replace_file(const char *path, std::string_view text, int like);

}  // namespace zol
