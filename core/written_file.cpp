#include "core/written_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zol {

void remove_link(const char *path) {
  struct stat status {};
  if (lstat(path, &status) == 0 && S_ISLNK(status.st_mode)) unlink(path);
}

void keep_private(const char *path) {
  remove_link(path);
  const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
  if (file == -1) return;
  // Earlier versions have left it to everybody.
  fchmod(file, 0600);
  close(file);
}

}  // namespace zol
