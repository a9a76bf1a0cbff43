// zolarcd: the library in an agent of its own, as a master agent or as an AgentX subagent of one that is there already.

#include <dirent.h>
#include <fcntl.h>
#include <getopt.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "agent/bundle.hpp"
#include "core/command/runners.hpp"
#include "core/enterprise.hpp"
#include "core/net_snmp.hpp"

extern "C" {
#include <net-snmp/agent/agent_callbacks.h>
#include <net-snmp/agent/agent_read_config.h>
#include <net-snmp/agent/mib_modules.h>
}

namespace {

constexpr const char *program = "zolarcd";
constexpr int usage_error = 2;
/// Tells a program that starts again that it is in the background already.
constexpr const char *background_mark = "ZOLARCD_IN_BACKGROUND";

volatile sig_atomic_t reload_asked = 0;
volatile sig_atomic_t stop_asked = 0;

struct Options {
  const char *configuration = nullptr;
  /// Where to listen; null for what the configuration says.
  const char *address = nullptr;
  /// The master agent's socket; null to be a master agent.
  const char *agentx = nullptr;
  bool background = false;

  /// The name by which net-snmp chooses the files to read. A master agent is configured like the stock agent, by
  /// snmpd.conf; a subagent leaves that file to its master.
  [[nodiscard]] const char *application() const { return agentx != nullptr ? program : "snmpd"; }
};

void print_help() {
  printf(
      "Usage: %s [OPTION]...\n"
      "Publishes the access point's configuration and status over SNMP.\n"
      "\n"
      "  -c, --config FILE     read FILE, in the format of snmpd.conf, instead of the usual places\n"
      "  -a, --address ADDR    listen on ADDR, for example udp:127.0.0.1:1161, whatever the\n"
      "                        configuration says; several are separated by commas\n"
      "                        (default: the configuration's agentAddress, or udp:161)\n"
      "  -x, --agentx SOCKET   be a subagent of the agent that serves AgentX on SOCKET,\n"
      "                        for example /var/agentx/master or tcp:127.0.0.1:705\n"
      "  -d, --daemon          go into the background and log to syslog;\n"
      "                        the default is to stay and to log to standard error\n"
      "  -h, --help            print this and leave\n"
      "  -V, --version         print the version and leave\n"
      "\n"
      "SIGHUP reads the configuration again, SIGTERM and SIGINT end the agent.\n",
      program);
}

/// Whether a file can be read; if not, errno says why.
bool readable(const char *file) {
  struct stat status {};
  if (access(file, R_OK) == -1 || stat(file, &status) == -1) return false;
  if (S_ISDIR(status.st_mode)) errno = EISDIR;
  return !S_ISDIR(status.st_mode);
}

/// Reads the command line into `options`. What to leave with, or -1 to go on.
int read_options(int argc, char **argv, Options &options) {
  static const option long_options[] = {{"config", required_argument, nullptr, 'c'},
                                        {"address", required_argument, nullptr, 'a'},
                                        {"agentx", required_argument, nullptr, 'x'},
                                        {"daemon", no_argument, nullptr, 'd'},
                                        {"help", no_argument, nullptr, 'h'},
                                        {"version", no_argument, nullptr, 'V'},
                                        {nullptr, 0, nullptr, 0}};
  int choice = 0;
  while ((choice = getopt_long(argc, argv, "c:a:x:dhV", long_options, nullptr)) != -1) {
    switch (choice) {
      case 'c':
        options.configuration = optarg;
        break;
      case 'a':
        options.address = optarg;
        break;
      case 'x':
        options.agentx = optarg;
        break;
      case 'd':
        options.background = true;
        break;
      case 'h':
        print_help();
        return EXIT_SUCCESS;
      case 'V':
        printf("%s %s (net-snmp %s)\n", program, ZOL_VERSION, netsnmp_get_version());
        return EXIT_SUCCESS;
      default:
        fprintf(stderr, "Try '%s --help'.\n", program);
        return usage_error;
    }
  }
  if (optind < argc) {
    fprintf(stderr, "%s: unexpected argument '%s'\nTry '%s --help'.\n", program, argv[optind], program);
    return usage_error;
  }
  if (options.agentx != nullptr && options.address != nullptr) {
    fprintf(stderr, "%s: a subagent (--agentx) does not listen on an address of its own (--address)\n", program);
    return usage_error;
  }
  if (options.configuration != nullptr && !readable(options.configuration)) {
    fprintf(stderr, "%s: cannot read %s: %s\n", program, options.configuration, strerror(errno));
    return EXIT_FAILURE;
  }
  return -1;
}

// Signals.

void on_signal(int number) {
  if (number == SIGPIPE) return;
  if (number == SIGHUP) {
    reload_asked = 1;
    return;
  }
  stop_asked = 1;
  std::atomic_ref(netsnmp_running).store(0, std::memory_order_relaxed);
}

sigset_t own_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGHUP, SIGTERM, SIGINT}) sigaddset(&signals, number);
  return signals;
}

/// From here on signals wait for the main loop. They interrupt its wait for requests, but nobody who reads what a
/// command prints. SIGPIPE has a handler because the commands would inherit that it is ignored.
void catch_signals() {
  struct sigaction action {};
  action.sa_handler = on_signal;
  action.sa_flags = SA_RESTART;
  for (const int number : {SIGHUP, SIGTERM, SIGINT, SIGPIPE}) sigaction(number, &action, nullptr);
  // A program that starts again has held them back.
  const sigset_t signals = own_signals();
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

// The subagent's side of AgentX.

/// Seconds between two attempts to reach a master agent, and between two looks at whether it is still there.
constexpr int ping_interval = 2;
/// How long a master agent may wait for an answer, since commands take their time.
constexpr int answer_seconds = 60;

bool connected = false;

/// The tree, or what stands beside it.
struct Root {
  explicit Root(oid last) : arcs{1, 3, 6, 1, 4, 1, static_cast<oid>(snmp_enterprise_oid), 8, last} {}

  oid arcs[9];

  /// Marks its rows as known to the master agent. Whether there are any.
  bool claim() {
    bool any = false;
    for (netsnmp_subtree *first = netsnmp_subtree_find_first(""); first != nullptr; first = first->next) {
      for (netsnmp_subtree *node = first; node != nullptr; node = node->children) {
        if (netsnmp_oid_is_subtree(arcs, std::size(arcs), node->name_a, node->namelen) != 0) continue;
        node->flags |= SUBTREE_ATTACHED;
        any = true;
      }
    }
    return any;
  }

  /// Registers the whole subtree with the master agent, or takes it back.
  void announce(int callback) {
    register_parameters subtree{};
    subtree.name = arcs;
    subtree.namelen = std::size(arcs);
    subtree.priority = DEFAULT_MIB_PRIORITY;
    subtree.contextName = "";
    snmp_call_callbacks(SNMP_CALLBACK_APPLICATION, callback, &subtree);
  }
};

constexpr oid roots[] = {1, 2};

/// Has the master agent know each whole subtree in place of its rows, of which there are some hundreds. It would ask
/// for one row after the other, and a GETNEXT that meets an empty row runs the commands of all the rows behind it.
int claim_subtrees(int, int, void *, void *) {
  for (const oid last : roots) {
    if (Root root(last); root.claim()) root.announce(SNMPD_CALLBACK_REGISTER_OID);
  }
  connected = true;
  return SNMPERR_SUCCESS;
}

// Start.

void log_to(bool background) {
  snmp_disable_log();
  if (background) {
    snmp_enable_syslog_ident(program, LOG_DAEMON);
  } else {
    snmp_enable_stderrlog();
  }
}

/// What must be known before the configuration is read.
void set_up(const Options &options) {
  const int role = options.agentx != nullptr ? 1 : 0;
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, role);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
  if (options.agentx != nullptr) {
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, options.agentx);
  }
}

/// Has `options.configuration` read in place of the usual files, but not of what the agent keeps for itself: the users
/// of SNMPv3 and how often it has started.
void choose_configuration(const Options &options) {
  if (options.configuration == nullptr) return;
  std::array<char, size_t{2} * PATH_MAX> files;
  const int length = snprintf(files.data(), files.size(), "%s,", options.configuration);
  char *kept = files.data() + length;
  snprintf(kept, files.size() - static_cast<size_t>(length), "%s/%s.conf", get_persistent_directory(),
           options.application());
  if (!readable(kept)) kept[-1] = '\0';
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, files.data());
}

bool start_master(const Options &options) {
  // Nobody asked for a port on which agents of another age register.
  char modules[] = "-smux";
  add_to_init_list(modules);
  init_mib_modules();
  init_netsnmpzolarc();
  init_snmp(options.application());
  // Only now: agentAddress would be added to it.
  if (options.address != nullptr) {
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, options.address);
  }
  errno = 0;
  if (init_master_agent() != 0) {
    snmp_log(LOG_ERR, "%s: cannot listen: %s\n", program, errno != 0 ? strerror(errno) : "is the address right?");
    return false;
  }
  send_easy_trap(SNMP_TRAP_COLDSTART, 0);
  return true;
}

/// A master agent that is not there yet is waited for.
void start_subagent(const Options &options) {
  netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, ping_interval);
  netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_TIMEOUT, answer_seconds * 1'000'000);
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, claim_subtrees, nullptr);
  init_netsnmpzolarc();
  init_snmp(options.application());
  if (!connected) snmp_log(LOG_WARNING, "%s: no master agent answers on %s: trying on\n", program, options.agentx);
}

/// Starts the agent. False when it cannot serve.
bool start(const Options &options) {
  set_up(options);
  if (init_agent(options.application()) != 0) {
    snmp_log(LOG_ERR, "%s: cannot set up the agent\n", program);
    return false;
  }
  choose_configuration(options);
  if (options.agentx != nullptr) {
    start_subagent(options);
  } else if (!start_master(options)) {
    return false;
  }
  // At once, so that what it counts and keeps survives a crash.
  snmp_store(options.application());
  return true;
}

/// The current directory stays: the arguments of a later start may name files relative to it.
bool go_into_background() {
  if (daemon(1, 0) == -1) {
    snmp_log_perror(program);
    return false;
  }
  log_to(true);
  return true;
}

// Service.

void serve() {
  while (stop_asked == 0 && netsnmp_running != 0) {
    if (reload_asked != 0) {
      reload_asked = 0;
      update_config();
      snmp_log(LOG_INFO, "%s: has read the configuration again\n", program);
    }
    agent_check_and_process(1);
  }
}

/// The master agent has yet to end the SET that asked for the restart.
void finish_requests() {
  constexpr int rounds = 10;
  constexpr useconds_t pause = 5'000;
  std::atomic_ref(netsnmp_running).store(1, std::memory_order_relaxed);
  for (int round = 0; round < rounds; ++round) {
    agent_check_and_process(0);
    usleep(pause);
  }
  std::atomic_ref(netsnmp_running).store(0, std::memory_order_relaxed);
}

void stop(const Options &options) {
  // First of all, so that the master agent asks for nothing that is on its way out.
  for (const oid last : roots) {
    if (Root root(last); connected && root.claim()) root.announce(SNMPD_CALLBACK_UNREGISTER_OID);
  }
  deinit_netsnmpzolarc();
  snmp_shutdown(options.application());
  shutdown_agent();
}

/// The parent of a process, or 0.
pid_t parent_of(const char *process) {
  std::array<char, 64> path;
  std::array<char, 256> text{};
  snprintf(path.data(), path.size(), "/proc/%.20s/stat", process);
  FILE *file = fopen(path.data(), "re");
  if (file == nullptr) return 0;
  const size_t length = fread(text.data(), 1, text.size() - 1, file);
  fclose(file);
  text[length] = '\0';
  // The name before it may hold anything.
  const char *name_end = strrchr(text.data(), ')');
  int parent = 0;
  return name_end != nullptr && sscanf(name_end, ") %*c %d", &parent) == 1 ? parent : 0;
}

/// Ends what is left of a collection that was given up: the program that starts in this process would know of no child
/// to wait for.
void end_children() {
  DIR *processes = opendir("/proc");
  if (processes == nullptr) return;
  while (const dirent *process = readdir(processes)) {
    const auto pid = static_cast<pid_t>(strtol(process->d_name, nullptr, 10));
    const bool changes_something = getpgid(pid) == zol_unfinished_command();
    if (pid > 0 && parent_of(process->d_name) == getpid() && !changes_something) kill(pid, SIGKILL);
  }
  closedir(processes);
  constexpr int rounds = 20;
  for (int round = 0; round < rounds && waitpid(-1, nullptr, WNOHANG) != -1; ++round) usleep(1'000);
}

/// Starts the program anew with the same arguments, in the same process, so that a supervisor sees no exit. Comes back
/// only when the program is to end instead, or cannot be started; answers what to leave with.
int start_again(const char *path, char **argv, const Options &options) {
  end_children();
  // What comes from now on is for the new program.
  const sigset_t signals = own_signals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  if (stop_asked != 0) return EXIT_SUCCESS;
  const auto most = static_cast<int>(sysconf(_SC_OPEN_MAX));
  for (int descriptor = STDERR_FILENO + 1; descriptor < most && descriptor < 1024; ++descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
  if (options.background) setenv(background_mark, "1", 1);
  execv(path, argv);
  fprintf(stderr, "%s: cannot start again: %s\n", program, strerror(errno));
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  if (const int status = read_options(argc, argv, options); status != -1) return status;
  // Found now: an upgrade may have put another program in its place by the time it starts again.
  std::array<char, PATH_MAX> path{};
  constexpr const char *self = "/proc/self/exe";
  if (readlink(self, path.data(), path.size() - 1) == -1) snprintf(path.data(), path.size(), "%s", self);
  const bool in_background = getenv(background_mark) != nullptr;
  unsetenv(background_mark);
  log_to(in_background);
  catch_signals();
  if (!start(options)) return EXIT_FAILURE;
  if (options.background && !in_background && !go_into_background()) return EXIT_FAILURE;
  snmp_log(LOG_INFO, "%s %s started\n", program, ZOL_VERSION);
  serve();
  const bool restarts = is_reset != 0 && stop_asked == 0;
  if (restarts) {
    snmp_log(LOG_INFO, "%s: starts again%s\n", program, is_apply_change != 0 ? " to apply changes" : "");
    if (options.agentx != nullptr) finish_requests();
  }
  stop(options);
  return restarts ? start_again(path.data(), argv, options) : EXIT_SUCCESS;
}
