#include "uci/store.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "uci/syntax.hpp"

namespace uci {

namespace {

class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  explicit operator bool() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

  void write(std::string_view text) const {
    while (!text.empty()) {
      const ssize_t written = ::write(descriptor_, text.data(), text.size());
      if (written < 0 && errno != EINTR) throw io_error();
      if (written > 0) text.remove_prefix(static_cast<size_t>(written));
    }
  }

 private:
  int descriptor_;
};

/// The text of a file; nothing when there is no such file.
std::optional<std::string> read_file(const std::string &path) {
  struct stat present {};
  if (stat(path.c_str(), &present) != 0 || !S_ISREG(present.st_mode)) return std::nullopt;
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw io_error();
  std::string text;
  char block[4096];
  for (;;) {
    const ssize_t got = read(file.descriptor(), block, sizeof block);
    if (got == 0) return text;
    if (got < 0 && errno != EINTR) throw io_error();
    if (got > 0) text.append(block, static_cast<size_t>(got));
  }
}

/// Replaces a file by a new one with the same mode.
void replace_file(const std::string &path, std::string_view text) {
  char resolved[PATH_MAX];
  struct stat present {};
  if (realpath(path.c_str(), resolved) == nullptr || stat(resolved, &present) != 0) throw io_error();
  const std::filesystem::path target(resolved);
  std::string temporary = (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
  {
    const File file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) throw io_error();
    try {
      file.write(text);
      if (fchmod(file.descriptor(), present.st_mode & 07777) != 0) throw io_error();
    } catch (...) {
      unlink(temporary.c_str());
      throw;
    }
  }
  if (rename(temporary.c_str(), resolved) != 0) {
    unlink(temporary.c_str());
    throw io_error();
  }
}

}  // namespace

Store::Lock::Lock(const Folders &folders, Mode mode) : descriptor_(-1) {
  const bool writing = mode == Mode::exclusive;
  if (writing) {
    struct stat configuration {};
    if (stat(folders.configuration.c_str(), &configuration) != 0) throw not_found();
    mkdir(folders.changes.c_str(), configuration.st_mode & 0777);
  }
  descriptor_ = open(folders.changes.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor_ < 0) {
    if (writing) throw io_error();
    return;
  }
  while (flock(descriptor_, writing ? LOCK_EX : LOCK_SH) != 0) {
    if (errno != EINTR) throw io_error();
  }
}

Store::Lock::~Lock() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::vector<std::string> Store::packages() const {
  std::vector<std::string> names;
  std::error_code failure;
  for (const auto &entry : std::filesystem::directory_iterator(folders_.configuration, failure)) {
    std::string name = entry.path().filename().string();
    const bool hidden = name.starts_with('.') || (newer && name.find('.') != std::string::npos);
    if (!hidden && !entry.is_directory() && valid_type(name)) names.push_back(std::move(name));
  }
  if (names.empty()) throw not_found();
  std::sort(names.begin(), names.end());
  return names;
}

std::string Store::change_file(const std::string &package) const { return folders_.changes + "/" + package; }

Store::Contents Store::read(const std::string &package) const {
  const auto text = read_file(folders_.configuration + "/" + package);
  if (!text) throw not_found();
  Contents contents{Package(package), {}, 0};
  parse(*text, contents.package);
  const auto read_changes = [&](const std::string &folder) {
    for (Change &change :
         parse_changes(read_file(std::string(folder).append("/").append(package)).value_or(""), package)) {
      try {
        apply(change, contents.package);
        ++contents.applied;
      } catch (const Error &) {
        // Whoever removed what the change is about wins.
      }
      contents.changes.push_back(std::move(change));
    }
  };
  for (const std::string &folder : folders_.more_changes) read_changes(folder);
  read_changes(folders_.changes);
  return contents;
}

Package Store::load(const std::string &package) const {
  const Lock lock(folders_, Lock::Mode::shared);
  return read(package).package;
}

std::vector<Change> Store::changes(const std::string &package) const {
  const Lock lock(folders_, Lock::Mode::shared);
  return read(package).changes;
}

void Store::append(const std::string &package, const Change &change) const {
  const File file(open(change_file(package).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
  if (!file) throw io_error();
  file.write(format(change, package));
}

void Store::commit(const std::string &package) const {
  const Lock lock(folders_, Lock::Mode::exclusive);
  const Contents current = read(package);
  if (current.applied == 0) return;
  replace_file(folders_.configuration + "/" + package, format(current.package));
  // The file stays and is emptied.
  if (truncate(change_file(package).c_str(), 0) != 0 && errno != ENOENT) throw io_error();
}

void Store::revert(const std::string &package, const std::optional<std::string> &section,
                   const std::optional<std::string> &option) const {
  const Lock lock(folders_, Lock::Mode::exclusive);
  const auto text = read_file(change_file(package));
  if (!text) return;
  std::string kept;
  for (const Change &change : parse_changes(*text, package, Faulty::refused)) {
    const bool dropped = !section || (change.section == *section && (!option || change.option == option));
    if (!dropped) kept += format(change, package);
  }
  replace_file(change_file(package), kept);
}

}  // namespace uci
