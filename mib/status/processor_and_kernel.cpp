// The processor's load and the kernel's release.

#include <cstdio>

#include "core/command.hpp"
#include "mib/status/status.hpp"

using namespace zol;

int zol_get_cpu_info(float *busy, float *idle) {
  CommandOutput output("top -b -n 1 | grep \"CPU:\"");
  if (!output) return -1;
  *busy = 0;
  *idle = 0;
  if (!output.next()) return 0;
  float usr = 0, sys = 0, nic = 0, rest = 0, io = 0, irq = 0, sirq = 0;
  const int fields = sscanf(output.line(), "CPU:  %f%% usr  %f%% sys  %f%% nic %f%% idle  %f%% io  %f%% irq  %f%% sirq",
                            &usr, &sys, &nic, &rest, &io, &irq, &sirq);
  if (fields < 7) return 0;
  *busy = usr + sys + nic + io + irq + sirq;
  *idle = rest;
  return 0;
}

int zol_get_ld_version(char *release) {
  CommandOutput output("uname -a");
  if (!output.next()) return 0;
  // The third word, bounded to the buffer.
  static_assert(sizeof ld_version == 20);
  sscanf(output.line(), "%*s %*s %19s", release);
  return 0;
}
