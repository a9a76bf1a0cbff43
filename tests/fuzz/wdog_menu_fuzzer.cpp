#include <cstring>

#include "tests/fuzz/printed.hpp"
#include "tests/unit/menu_values.hpp"
#include "wdog/settings.hpp"
#include "wdog/values.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

/// A screen is a title, lines of what was refused, items and an empty line.
void check_screen(const std::string &screen, bool refused) {
  require(screen[0] == '[' && screen.compare(2, 2, "] ") == 0, "a title comes first");
  require(screen.size() > 2 && screen.compare(screen.size() - 2, 2, "\n\n") == 0, "an empty line comes last");
  require((screen.find("\n! ") != std::string::npos) == refused, "what is refused explains itself");
  int items = 0;
  for (size_t at = screen.find('\n') + 1; at + 1 < screen.size(); at = screen.find('\n', at) + 1) {
    if (screen.compare(at, 2, "! ") == 0) continue;
    const std::string number = std::to_string(++items) + ". ";
    require(screen.compare(at, number.size(), number) == 0, "items are numbered");
  }
}

bool is_legal(const MenuValues::Key &key, const char *text) {
  switch (key.first) {
    case wdog::Place::schedule:
      return wdog::parse_schedule(text).has_value();
    case wdog::Place::ping:
      return wdog::ping_settings[static_cast<size_t>(key.second)].is_legal(text);
    default:
      return wdog::is_line(text, 1, 64);
  }
}

}  // namespace

/// The input: keys, with ';' between.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string keys(reinterpret_cast<const char *>(data), size);
  MenuValues device;
  wdog::Menu menu(device.backend());
  for (size_t at = 0; at <= keys.size() && !menu.has_ended();) {
    const size_t end = std::min(keys.find(';', at), keys.size());
    const std::string key = keys.substr(at, end - at);
    at = end + 1;
    const bool wants_value = menu.wants_value();
    const size_t writes = device.writes.size();
    menu.key(key.c_str());
    check_screen(screen_of(menu), menu.has_refused());
    if (wants_value) require(device.writes.size() == writes, "a value is only kept");
    if (device.writes.size() != writes) require(strpbrk(key.c_str(), "s") != nullptr, "only s writes");
    require(!menu.has_saved() || !menu.has_unsaved(), "what is saved is all");
  }
  for (const auto &[key, text] : device.writes) require(is_legal(key, text.c_str()), "only legal values are written");
  return 0;
}
