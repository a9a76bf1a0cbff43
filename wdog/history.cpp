#include "wdog/history.hpp"

#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/conf_file.hpp"
#include "core/replaced_file.hpp"
#include "core/text.hpp"
#include "wdog/files.hpp"
#include "wdog/values.hpp"

namespace wdog {

namespace {

using Value = std::array<char, 256>;

/// Null, and no file, when there is none yet.
ConfFile *open_history(bool make) {
  const char *path = path_of(File::history);
  if (make && access(path, F_OK) == -1) zol::replace_file(path, "# Kept by wdog(8).\n", -1);
  return cfopen(path);
}

int64_t read_seconds(ConfFile *file, const char *key) {
  Value value;
  return cfread(file, key, value.data(), value.size()) == 0 ? strtoll(value.data(), nullptr, 10) : 0;
}

void write_seconds(ConfFile *file, const char *key, int64_t seconds) {
  Value value;
  snprintf(value.data(), value.size(), "%" PRId64, seconds);
  cfwrite(file, key, value.data());
}

int read_count(ConfFile *file) {
  Value value;
  if (cfread(file, "reboots", value.data(), value.size()) != 0) return 0;
  return number_in(value.data()).value_or(INT_MAX);
}

void count_one(ConfFile *file) {
  const int count = read_count(file);
  write_seconds(file, "reboots", count == INT_MAX ? count : count + 1LL);
}

/// This start of the device, as the kernel names it.
Value boot_name() {
  Value name{"unknown"};
  if (FILE *file = fopen("/proc/sys/kernel/random/boot_id", "re")) {
    if (fscanf(file, "%255s", name.data()) != 1) zol::copy_text(name, "unknown");
    fclose(file);
  }
  return name;
}

bool has_run(ConfFile *file, const Moment &now) {
  Value name;
  return cfread(file, "script_boot", name.data(), name.size()) == 0 && strcmp(name.data(), boot_name().data()) == 0 &&
         read_seconds(file, "script_uptime") <= now.uptime;
}

}  // namespace

History read_history() {
  History history;
  ConfFile *file = open_history(false);
  if (file == nullptr) {
    if (errno != ENOENT) history.count = INT_MAX;
    return history;
  }
  history.count = read_count(file);
  history.last = read_seconds(file, "last");
  history.due = read_seconds(file, "due");
  cfread(file, "reason", history.reason.data(), history.reason.size());
  cfclose(file);
  return history;
}

bool note_reboot(const Moment &now, const char *reason, int64_t due, bool counts) {
  ConfFile *file = open_history(true);
  if (file == nullptr) return false;
  write_seconds(file, "last", now.wall);
  cfwrite(file, "reason", reason);
  if (due != 0) write_seconds(file, "due", due);
  if (counts) count_one(file);
  return cfclose(file) == 0;
}

bool note_script(const Moment &now) {
  ConfFile *file = open_history(true);
  if (file == nullptr) return false;
  if (!has_run(file, now)) {
    count_one(file);
    cfwrite(file, "script_boot", boot_name().data());
    write_seconds(file, "script_uptime", now.uptime);
  }
  return cfclose(file) == 0;
}

bool has_script_run(const Moment &now) {
  ConfFile *file = open_history(false);
  const bool run = file != nullptr && has_run(file, now);
  cfclose(file);
  return run;
}

bool clear_count() {
  ConfFile *file = open_history(false);
  if (file == nullptr) return errno == ENOENT;
  if (read_count(file) != 0) cfwrite(file, "reboots", "0");
  return cfclose(file) == 0;
}

}  // namespace wdog
