#include "tests/fuzz/printed.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/command/process.hpp"

std::string printed;

namespace {

const std::string bridges = "br-lan\t8000.000a521b2c2e\tno\tath0\n\t\t\tath1\n";

void (*watcher)(const char *) = nullptr;

bool print(const char *command, bool reads, zol::process::Child &child) {
  if (watcher != nullptr) watcher(command);
  child.pid = 0;
  if (!reads) return true;
  const std::string &output = strcmp(command, "brctl show") == 0 ? bridges : printed;
  child.output = memfd_create("printed", MFD_CLOEXEC);
  if (write(child.output, output.data(), output.size()) == -1) abort();
  lseek(child.output, 0, SEEK_SET);
  return true;
}

const bool in_place = (zol::process::set_stand_in(print), true);

}  // namespace

void watch_commands(void (*told)(const char *command)) { watcher = told; }

void require(bool condition, const char *what) {
  if (condition) return;
  fprintf(stderr, "does not hold: %s\n", what);
  abort();
}
