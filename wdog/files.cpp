#include "wdog/files.hpp"

#include <sys/stat.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace wdog {

namespace {

using Path = std::array<char, PATH_MAX + 32>;

std::array<char, PATH_MAX> folder{"/etc"};

}  // namespace

bool use_folder(const char *path) {
  struct stat status {};
  // From the root on: the daemon works elsewhere.
  if (realpath(path, folder.data()) == nullptr || stat(folder.data(), &status) == -1 || !S_ISDIR(status.st_mode)) {
    return false;
  }
  Path values;
  snprintf(values.data(), values.size(), "%s/zolarc.values", folder.data());
  return setenv("ZOLARC_VALUE_STORE", values.data(), 1) == 0;
}

const char *path_of(File file) {
  constexpr const char *names[] = {"wdog.conf", "sys.conf", "wdog.state", "wdog.lock"};
  static Path paths[4];
  const auto index = static_cast<size_t>(file);
  snprintf(paths[index].data(), paths[index].size(), "%s/%s", folder.data(), names[index]);
  return paths[index].data();
}

}  // namespace wdog
