// One program under many names: /bin/sh, which journals what is run through it, and the stand-ins for the tools that
// the simulated device cannot really have.

#include <sys/auxv.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "standins/applet.hpp"
#include "standins/journal.hpp"
#include "standins/state.hpp"
#include "standins/tools.hpp"

namespace {

/// Where everything that a call needs is found inside the device.
constexpr const char *busybox = "/bin/busybox";
constexpr const char *real_uci = "/opt/device/uci";

int become(const char *program, const char *name, Arguments arguments) {
  std::vector<char *> words{const_cast<char *>(name)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  words.push_back(nullptr);
  execv(program, words.data());
  perror(program);
  return 127;
}

/// Nothing happens but the entry in the journal.
int recorded(Arguments /*arguments*/) { return 0; }

int uci(Arguments arguments) { return become(real_uci, "uci", arguments); }

/// The watchdog itself, with a clock of its own when the state says how fast that one runs.
int wdog(Arguments arguments) {
  if (const auto speed = state::Folder("").find("clock")) {
    setenv("LD_PRELOAD", "/opt/zolarc/lib/tests/fast_clock.so", 1);
    setenv("FAST_CLOCK", speed->c_str(), 1);
    setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  }
  return become("/opt/zolarc/lib/wdog", "wdog", arguments);
}

struct Tool {
  const char *path;
  /// Null for busybox's own applet, which is only journalled and open to overrides.
  int (*run)(Arguments);
};

/// Every stand-in and where it is found on the device.
constexpr Tool tools[] = {
    {"/usr/sbin/80211stats", stats80211},
    {"/usr/sbin/brctl", brctl},
    {"/bin/cat", nullptr},
    {"/bin/date", date},
    {"/bin/dmesg", dmesg},
    {"/usr/bin/hexdump", nullptr},
    {"/sbin/ifconfig", ifconfig},
    {"/usr/sbin/iwconfig", iwconfig},
    {"/usr/bin/iwinfo", iwinfo},
    {"/usr/bin/killall", nullptr},
    {"/usr/bin/md5sum", nullptr},
    {"/sbin/mtd", recorded},
    {"/usr/bin/passwd", passwd},
    {"/bin/pidof", nullptr},
    {"/sbin/reboot", recorded},
    {"/bin/rm", nullptr},
    {"/sbin/sysupgrade", recorded},
    {"/usr/bin/top", nullptr},
    {"/sbin/uci", uci},
    {"/bin/uname", nullptr},
    {"/usr/sbin/wdog", wdog},
    {"/usr/bin/wget", nullptr},
    {"/usr/sbin/wlanconfig", wlanconfig},
    {"/lib/bramo/apc_set_ap", recorded},
};

std::string_view base_name(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// A setting of `kind` for this call: for the whole command line ("iwinfo ath0 info", each "/" written "_"), or else
/// for the tool.
std::optional<std::string> setting(const char *kind, std::string_view tool, Arguments arguments) {
  std::string line(tool);
  for (const char *argument : arguments) line.append(" ").append(argument);
  for (char &c : line) {
    if (c == '/') c = '_';
  }
  const state::Folder settings(kind);
  if (auto found = settings.find(line)) return found;
  return settings.find(std::string(tool));
}

/// Waits for the delay of this call, or until it is taken away.
void wait_delay(std::string_view tool, Arguments arguments) {
  constexpr double step = 0.02;
  constexpr timespec pause{0, 20'000'000};
  for (double waited = 0;; waited += step) {
    const auto delay = setting("delay", tool, arguments);
    if (!delay || waited >= strtod(delay->c_str(), nullptr)) return;
    nanosleep(&pause, nullptr);
  }
}

int run_tool(std::string_view name, Arguments arguments) {
  wait_delay(name, arguments);
  const auto output = setting("output", name, arguments);
  const auto status = setting("exit", name, arguments);
  if (output || status) {
    if (output && !output->empty()) puts(output->c_str());
    return status ? atoi(status->c_str()) : 0;
  }
  for (const Tool &tool : tools) {
    if (base_name(tool.path) != name) continue;
    return tool.run == nullptr ? run_applet(std::string(name).c_str(), arguments) : tool.run(arguments);
  }
  fprintf(stderr, "%.*s: no such stand-in\n", static_cast<int>(name.size()), name.data());
  return 127;
}

/// Set for all that a shell starts.
constexpr const char *below_a_shell = "DEVICE_BELOW_A_SHELL";

/// Whether a shell has asked for this call. One whose environment was emptied was started by `env -i`, in a shell.
bool is_below_a_shell() { return getenv(below_a_shell) != nullptr || getenv("PATH") == nullptr; }

void journal_call(std::span<const char *const> words) { journal::append(is_below_a_shell() ? "exec" : "run", words); }

int shell(Arguments arguments) {
  // The C library runs `sh -c TEXT`, in newer releases `sh -c -- TEXT`.
  if (arguments.size() > 1 && strcmp(arguments[0], "-c") == 0) {
    const size_t text = arguments.size() > 2 && strcmp(arguments[1], "--") == 0 ? 2 : 1;
    journal::append("sh", arguments.subspan(text, 1));
  } else if (!arguments.empty() && !is_below_a_shell()) {
    // For a script that was started by its name the kernel knows that name.
    const auto *file = reinterpret_cast<const char *>(getauxval(AT_EXECFN));  // NOLINT(performance-no-int-to-ptr)
    std::vector<const char *> words;
    if (base_name(file) == "sh") words.push_back("/bin/sh");
    words.insert(words.end(), arguments.begin(), arguments.end());
    journal::append("run", words);
  }
  setenv(below_a_shell, "1", 1);
  return become(busybox, "sh", arguments);
}

}  // namespace

int run_applet(const char *name, Arguments arguments) {
  fflush(stdout);
  return become(busybox, name, arguments);
}

int main(int argc, char **argv) {
  const std::string_view name = base_name(argv[0]);
  const Arguments arguments(argv + 1, static_cast<size_t>(argc - 1));
  // What is preloaded into the agent is not meant for the commands that it runs.
  unsetenv("LD_PRELOAD");
  if (name == "sh") return shell(arguments);
  if (name == "journal") {
    // For stand-ins that are shell scripts: journal "$0" "$@"
    journal::append("exec", arguments);
    return 0;
  }
  if (arguments.size() == 1 && strcmp(arguments[0], "--list-standins") == 0) {
    puts("/bin/sh\n/bin/journal");
    for (const Tool &tool : tools) puts(tool.path);
    return 0;
  }
  journal_call({argv, static_cast<size_t>(argc)});
  return run_tool(name, arguments);
}
