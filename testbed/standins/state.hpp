#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The device's state: a folder of small text files that a test or a person may edit while the device runs.
namespace state {

/// One folder of values. A value is the text of a file less its newline; what is not there has a default.
class Folder {
 public:
  /// `path` is relative to the state folder.
  explicit Folder(const std::string &path) : path_("/state/" + path) {}

  [[nodiscard]] bool exists() const;
  [[nodiscard]] std::string name() const { return path_.substr(path_.rfind('/') + 1); }
  [[nodiscard]] std::optional<std::string> find(const std::string &value) const;
  [[nodiscard]] std::string text(const std::string &value, std::string_view fallback = "") const;
  [[nodiscard]] long long number(const std::string &value, long long fallback = 0) const;
  void set(const std::string &value, std::string_view text) const;

 private:
  std::string path_;
};

/// The folders inside `path`, by name.
std::vector<Folder> folders(const std::string &path);

Folder interface(std::string_view name);
std::vector<Folder> interfaces();
/// Wireless interfaces are those whose names begin with "ath".
bool is_wireless(const Folder &interface);
/// The stations associated with an interface; a station's folder is named by its MAC address.
std::vector<Folder> stations(std::string_view interface);
/// The networks that a radio hears.
std::vector<Folder> neighbours(std::string_view radio);

std::string upper(std::string text);

}  // namespace state
