// The tools that act on the device as a whole.

#include <cstdio>
#include <cstring>
#include <string>

#include "standins/applet.hpp"
#include "standins/state.hpp"
#include "standins/tools.hpp"

int dmesg(Arguments /*arguments*/) {
  const std::string log = state::Folder("").text("dmesg");
  if (!log.empty()) puts(log.c_str());
  return 0;
}

int passwd(Arguments arguments) {
  const std::string user = arguments.empty() ? "root" : arguments[0];
  char entered[2][256] = {"", ""};
  for (char(&line)[256] : entered) {
    if (fgets(line, sizeof line, stdin) == nullptr) line[0] = '\0';
    line[strcspn(line, "\n")] = '\0';
  }
  if (entered[0][0] == '\0' || strcmp(entered[0], entered[1]) != 0) {
    fprintf(stderr, "passwd: password for %s is unchanged\n", user.c_str());
    return 1;
  }
  state::Folder("passwords").set(user, entered[0]);
  printf("passwd: password for %s changed by root\n", user.c_str());
  return 0;
}

int date(Arguments arguments) {
  constexpr std::string_view set = "--set=";
  if (arguments.empty() || !std::string_view(arguments[0]).starts_with(set)) return run_applet("date", arguments);
  state::Folder("").set("date", arguments[0] + set.size());
  return 0;
}
