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
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    if (errno == ENOENT) return std::nullopt;
    throw io_error();
  }
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

Store::Lock::Lock(const std::string &folder, Mode mode) : descriptor_(-1) {
  mkdir(folder.c_str(), 0700);
  const bool writing = mode == Mode::exclusive;
  descriptor_ = open((folder + "/.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
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
    if (valid_package(name)) names.push_back(std::move(name));
  }
  if (failure) throw io_error();
  std::sort(names.begin(), names.end());
  return names;
}

std::string Store::change_file(const std::string &package) const { return folders_.changes + "/" + package; }

std::vector<Change> Store::read_changes(const std::string &package) const {
  std::vector<Change> changes;
  const auto read_folder = [&](const std::string &folder) {
    const auto text = read_file(folder + "/" + package);
    if (!text) return;
    for (Change &change : parse_changes(*text)) changes.push_back(std::move(change));
  };
  for (const std::string &folder : folders_.more_changes) read_folder(folder);
  read_folder(folders_.changes);
  return changes;
}

Package Store::read(const std::string &package) const {
  if (!valid_package(package)) throw invalid_argument();
  const auto text = read_file(folders_.configuration + "/" + package);
  if (!text) throw not_found();
  Package result(package);
  parse(*text, result);
  for (const Change &change : read_changes(package)) apply(change, result);
  return result;
}

Package Store::load(const std::string &package) const {
  const Lock lock(folders_.changes, Lock::Mode::shared);
  return read(package);
}

std::vector<Change> Store::changes(const std::string &package) const {
  const Lock lock(folders_.changes, Lock::Mode::shared);
  return read_changes(package);
}

void Store::append(const std::string &package, const std::vector<Change> &changes) const {
  if (changes.empty()) return;
  std::string text;
  for (const Change &change : changes) text += format(change);
  const File file(open(change_file(package).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
  if (!file) throw io_error();
  file.write(text);
}

void Store::commit(const std::string &package) {
  const Lock lock(folders_.changes, Lock::Mode::exclusive);
  const Package current = read(package);
  if (read_changes(package).empty()) return;
  replace_file(folders_.configuration + "/" + package, format(current));
  unlink(change_file(package).c_str());
}

void Store::revert(const std::string &package, std::string_view section, std::string_view option) {
  const Lock lock(folders_.changes, Lock::Mode::exclusive);
  const auto text = read_file(change_file(package));
  if (!text) return;
  std::string kept;
  for (const Change &change : parse_changes(*text)) {
    const bool dropped = section.empty() || (change.section == section && (option.empty() || change.option == option));
    if (!dropped) kept += format(change);
  }
  if (kept.empty()) {
    unlink(change_file(package).c_str());
  } else {
    replace_file(change_file(package), kept);
  }
}

}  // namespace uci
