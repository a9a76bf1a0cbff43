#include "tests/unit/scripted_shell.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "core/net_snmp.hpp"

namespace {

ScriptedShell *current_shell = nullptr;
std::mutex guard;

bool take(const char *command, bool reads, zol::process::Child &child) {
  ScriptedShell *shell = ScriptedShell::current();
  if (!shell->record(command)) {
    errno = EAGAIN;
    return true;
  }
  child.pid = 0;
  if (!reads) return true;
  const std::string output = shell->output_of(command);
  child.output = memfd_create("output", MFD_CLOEXEC);
  if (write(child.output, output.data(), output.size()) == -1) abort();
  lseek(child.output, 0, SEEK_SET);
  return true;
}

}  // namespace

ScriptedShell::ScriptedShell() : outer_(current_shell), before_(zol::process::set_stand_in(take)) {
  current_shell = this;
  // Else an old agent's library would say first that nobody has told it where to log.
  snmp_enable_stderrlog();
}
ScriptedShell::~ScriptedShell() {
  current_shell = outer_;
  zol::process::set_stand_in(before_);
}
ScriptedShell *ScriptedShell::current() { return current_shell; }

ScriptedShell &ScriptedShell::answers(const std::string &command, const std::string &output) {
  const std::lock_guard lock(guard);
  outputs_[command] = output;
  return *this;
}

std::vector<std::string> ScriptedShell::commands() {
  const std::lock_guard lock(guard);
  return std::exchange(commands_, {});
}

bool ScriptedShell::record(const std::string &command) {
  const std::lock_guard lock(guard);
  if (!can_start_ || refused_.count(command) != 0) return false;
  commands_.push_back(command);
  return true;
}

std::string ScriptedShell::output_of(const std::string &command) {
  const std::lock_guard lock(guard);
  return outputs_[command];
}
