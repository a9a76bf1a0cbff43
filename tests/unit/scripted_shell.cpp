#include "tests/unit/scripted_shell.hpp"

#include <dlfcn.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <utility>

namespace {

ScriptedShell *current_shell = nullptr;
std::mutex guard;
std::set<FILE *> scripted_streams;

template <class Function>
Function *original(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

ScriptedShell::ScriptedShell() : outer_(current_shell) { current_shell = this; }
ScriptedShell::~ScriptedShell() { current_shell = outer_; }
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

extern "C" {

FILE *popen(const char *command, const char *modes) {
  ScriptedShell *shell = ScriptedShell::current();
  if (shell == nullptr) return original<FILE *(const char *, const char *)>("popen")(command, modes);
  if (!shell->record(command)) return nullptr;
  const std::string output = shell->output_of(command);
  FILE *stream = fdopen(memfd_create("output", MFD_CLOEXEC), "w+");
  fwrite(output.data(), 1, output.size(), stream);
  rewind(stream);
  const std::lock_guard lock(guard);
  scripted_streams.insert(stream);
  return stream;
}

int pclose(FILE *stream) {
  {
    const std::lock_guard lock(guard);
    if (scripted_streams.erase(stream) != 0) return fclose(stream);
  }
  return original<int(FILE *)>("pclose")(stream);
}

int system(const char *command) {
  ScriptedShell *shell = ScriptedShell::current();
  if (shell == nullptr) return original<int(const char *)>("system")(command);
  return shell->record(command) ? 0 : -1;
}
}
