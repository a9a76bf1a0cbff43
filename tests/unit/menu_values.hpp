#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "wdog/menu.hpp"

/// Stands in for the device behind the menu.
struct MenuValues {
  using Key = std::pair<wdog::Place, int>;
  std::map<Key, std::string> values;
  std::vector<std::pair<Key, std::string>> writes;
  int radios = 2;
  bool can_write = true;

  wdog::Backend backend() {
    return {this, [](void *self) { return static_cast<MenuValues *>(self)->radios; }, read, write, tell};
  }

 private:
  static bool read(void *self, wdog::Place place, int index, wdog::Text &text) {
    const auto &values = static_cast<MenuValues *>(self)->values;
    const auto found = values.find({place, index});
    text.set(found == values.end() ? "" : found->second.c_str());
    return found != values.end();
  }
  static bool write(void *self, wdog::Place place, int index, const char *text) {
    auto &device = *static_cast<MenuValues *>(self);
    if (!device.can_write) return false;
    device.values[{place, index}] = text;
    device.writes.push_back({{place, index}, text});
    return true;
  }
  static void tell(void *, wdog::Fact, const wdog::Schedule &edited, wdog::Text &text) {
    text.set(wdog::print_schedule(edited).data());
  }
};

/// What the menu prints.
inline std::string screen_of(const wdog::Menu &menu) {
  char *text = nullptr;
  size_t size = 0;
  FILE *stream = open_memstream(&text, &size);
  menu.print(stream);
  fclose(stream);
  std::string screen(text, size);
  free(text);
  return screen;
}
