#include "core/replaced_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include "core/text.hpp"

namespace zol {

namespace {

bool lock(int descriptor) {
  while (flock(descriptor, LOCK_EX) == -1) {
    if (errno != EINTR) return false;
  }
  return true;
}

bool is_still(const char *path, int descriptor) {
  struct stat held {};
  struct stat named {};
  return fstat(descriptor, &held) == 0 && stat(path, &named) == 0 && held.st_ino == named.st_ino &&
         held.st_dev == named.st_dev;
}

bool write_all(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written == -1 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

/// The owner first: a change of it takes bits of the mode away.
bool resemble(int descriptor, int like) {
  struct stat wanted {};
  struct stat present {};
  if (like == -1) return true;
  if (fstat(like, &wanted) == -1 || fstat(descriptor, &present) == -1) return false;
  const bool is_owners = wanted.st_uid == present.st_uid && wanted.st_gid == present.st_gid;
  return (is_owners || fchown(descriptor, wanted.st_uid, wanted.st_gid) == 0) &&
         fchmod(descriptor, wanted.st_mode & 07777U) == 0;
}

/// On the flash only synced data survives a power cut, and it must be there before the name is.
bool write_copy(const char *path, std::string_view text, int like) {
  unlink(path);
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor == -1) return false;
  const bool written = write_all(descriptor, text) && resemble(descriptor, like) && fsync(descriptor) == 0;
  const int reason = errno;
  const bool closed = close(descriptor) == 0;
  if (!written) errno = reason;
  return written && closed;
}

void sync_directory_of(const char *path) {
  std::array<char, PATH_MAX> directory;
  copy_text(directory, path);
  char *slash = strrchr(directory.data(), '/');
  if (slash == nullptr) {
    copy_text(directory, ".");
  } else {
    slash[slash == directory.data() ? 1 : 0] = '\0';
  }
  const int descriptor = open(directory.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor == -1) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace

FileLock::FileLock(const char *path) {
  for (;;) {
    descriptor_ = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor_ == -1) return;
    const bool locked = lock(descriptor_);
    if (locked && is_still(path, descriptor_)) return;
    close(descriptor_);
    descriptor_ = -1;
    if (!locked) return;
  }
}

FileLock::~FileLock() {
  if (descriptor_ != -1) close(descriptor_);
}

char *read_all(int descriptor, Arena &arena, size_t &size, size_t spare) {
  struct stat status {};
  if (fstat(descriptor, &status) == -1) return nullptr;
  size_t room = status.st_size > 0 ? static_cast<size_t>(status.st_size) : 0;
  auto *text = static_cast<char *>(arena.allocate(room + spare + 1));
  for (size = 0; text != nullptr;) {
    const ssize_t count = read(descriptor, text + size, room + 1 - size);
    if (count == 0) return text;
    if (count == -1 && errno != EINTR) return nullptr;
    if (count > 0) size += static_cast<size_t>(count);
    if (size <= room) continue;
    // It grows, or does not tell its size, as files of the kernel do.
    room = 2 * room + 4096;
    auto *larger = static_cast<char *>(arena.allocate(room + spare + 1));
    if (larger != nullptr) memcpy(larger, text, size);
    text = larger;
  }
  return nullptr;
}

bool replace_file(const char *path, std::string_view text, int like) {
  std::array<char, PATH_MAX> copy;
  if (static_cast<size_t>(snprintf(copy.data(), copy.size(), "%s.new", path)) >= copy.size()) {
    errno = ENAMETOOLONG;
    return false;
  }
  if (!write_copy(copy.data(), text, like) || rename(copy.data(), path) == -1) {
    const int reason = errno;
    unlink(copy.data());
    errno = reason;
    return false;
  }
  sync_directory_of(path);
  return true;
}

}  // namespace zol
