#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "uci/change.hpp"
#include "uci/model.hpp"

namespace uci {

/// The configuration files and the changes staged for them.
///
/// Changes wait in a folder of their own, one file for each package; reading applies them, `commit` writes them to the
/// configuration file. A lock in that folder keeps concurrent processes from losing each other's changes.
class Store {
 public:
  struct Folders {
    std::string configuration = "/etc/config";
    std::string changes = "/tmp/.uci";
    /// Folders with further changes, which are read and never written.
    std::vector<std::string> more_changes;
  };

  explicit Store(Folders folders) : folders_(std::move(folders)) {}

  /// All packages, by name.
  [[nodiscard]] std::vector<std::string> packages() const;
  /// A package with its staged changes. @throws Error when it does not exist or cannot be read
  [[nodiscard]] Package load(const std::string &package) const;
  [[nodiscard]] std::vector<Change> changes(const std::string &package) const;

  /// Stages what `edit` makes of the package; nothing else gets in between.
  template <typename Edit>
  void stage(const std::string &package, Edit edit) {
    const Lock lock(folders_.changes, Lock::Mode::exclusive);
    Package current = read(package);
    append(package, edit(current));
  }

  /// Writes the staged changes to the configuration file, which is replaced as a whole or not at all.
  void commit(const std::string &package);
  /// Drops the staged changes of a package, a section or an option (empty names stand for all).
  void revert(const std::string &package, std::string_view section, std::string_view option);

 private:
  class Lock {
   public:
    enum class Mode { shared, exclusive };
    /// A folder that cannot be written gives no lock for reading. @throws Error when there is none for writing
    Lock(const std::string &folder, Mode mode);
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

   private:
    int descriptor_;
  };

  [[nodiscard]] Package read(const std::string &package) const;
  [[nodiscard]] std::vector<Change> read_changes(const std::string &package) const;
  [[nodiscard]] std::string change_file(const std::string &package) const;
  void append(const std::string &package, const std::vector<Change> &changes) const;

  Folders folders_;
};

}  // namespace uci
