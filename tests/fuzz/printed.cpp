#include "tests/fuzz/printed.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

std::string printed;

namespace {

const std::string bridges = "br-lan\t8000.000a521b2c2e\tno\tath0\n\t\t\tath1\n";

}  // namespace

extern "C" {

FILE *popen(const char *command, const char *) {
  std::string &output = strcmp(command, "brctl show") == 0 ? const_cast<std::string &>(bridges) : printed;
  return output.empty() ? fopen("/dev/null", "re") : fmemopen(output.data(), output.size(), "r");
}

int pclose(FILE *stream) { return fclose(stream); }
}

void require(bool condition, const char *what) {
  if (condition) return;
  fprintf(stderr, "does not hold: %s\n", what);
  abort();
}
