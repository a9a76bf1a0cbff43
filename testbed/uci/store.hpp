#pragma once

#include <optional>
#include <string>
#include <vector>

#include "uci/change.hpp"
#include "uci/model.hpp"

namespace uci {

/// The configuration files and the changes staged for them.
///
/// Changes wait in a folder of their own, one file for each package; reading applies them, `commit` writes them to the
/// configuration file. A lock on that folder keeps concurrent processes from losing each other's changes.
class Store {
 public:
  struct Folders {
    std::string configuration = "/etc/config";
    std::string changes = "/tmp/.uci";
    /// Folders with further changes, which are read and never written.
    std::vector<std::string> more_changes;
  };

  explicit Store(Folders folders) : folders_(std::move(folders)) {}

  /// All packages, by name. @throws Error when there are none
  [[nodiscard]] std::vector<std::string> packages() const;
  /// A package with its staged changes. @throws Error when it does not exist or cannot be read
  [[nodiscard]] Package load(const std::string &package) const;
  /// The staged changes, those that come to nothing included. @throws Error as `load` does
  [[nodiscard]] std::vector<Change> changes(const std::string &package) const;

  /// Stages the change that `edit` makes in the package, if any; nothing else gets in between.
  template <typename Edit>
  void stage(const std::string &package, Edit edit) const {
    const Lock lock(folders_, Lock::Mode::exclusive);
    Package current = read(package).package;
    if (const std::optional<Change> change = edit(current)) append(package, *change);
  }

  /// Writes the staged changes to the configuration file, which is replaced as a whole or not at all.
  void commit(const std::string &package) const;
  /// Drops the staged changes of a package, a section or an option. @throws Error, and all are kept, when one is faulty
  void revert(const std::string &package, const std::optional<std::string> &section,
              const std::optional<std::string> &option) const;

 private:
  class Lock {
   public:
    enum class Mode { shared, exclusive };
    /// Without the folder there is nothing to read and no lock. @throws Error when there is none for writing
    Lock(const Folders &folders, Mode mode);
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

   private:
    int descriptor_;
  };

  struct Contents {
    Package package;
    std::vector<Change> changes;
    /// How many of the changes had a place in the package.
    int applied;
  };

  [[nodiscard]] Contents read(const std::string &package) const;
  [[nodiscard]] std::string change_file(const std::string &package) const;
  void append(const std::string &package, const Change &change) const;

  Folders folders_;
};

}  // namespace uci
