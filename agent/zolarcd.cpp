// zolarcd: the library in an agent of its own, as a master agent or as an AgentX subagent of one that is there already.

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "agent/bundle.hpp"
#include "core/agent.hpp"
#include "core/static_table.hpp"

extern "C" {
#include <net-snmp/agent/agent_read_config.h>
#include <net-snmp/agent/mib_modules.h>
}

namespace {

constexpr const char *program = "zolarcd";
constexpr const char *default_address = "udp:161";
constexpr int usage_error = 2;

volatile sig_atomic_t reload_asked = 0;
volatile sig_atomic_t stop_asked = 0;

struct Options {
  const char *configuration = nullptr;
  const char *address = default_address;
  /// The master agent's socket; null to be a master agent.
  const char *agentx = nullptr;
  bool background = false;
};

void print_help() {
  printf(
      "Usage: %s [OPTION]...\n"
      "Publishes the access point's configuration and status over SNMP.\n"
      "\n"
      "  -c, --config FILE     read FILE, in the format of snmpd.conf, instead of the usual places\n"
      "  -a, --address ADDR    listen on ADDR, for example udp:127.0.0.1:1161 (default %s);\n"
      "                        several are separated by commas\n"
      "  -x, --agentx SOCKET   be a subagent of the agent that serves AgentX on SOCKET,\n"
      "                        for example /var/agentx/master or tcp:127.0.0.1:705\n"
      "  -d, --daemon          go into the background and log to syslog;\n"
      "                        the default is to stay and to log to standard error\n"
      "  -h, --help            print this and leave\n"
      "  -V, --version         print the version and leave\n"
      "\n"
      "SIGHUP reads the configuration again, SIGTERM and SIGINT end the agent.\n",
      program, default_address);
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
  bool has_address = false;
  int choice = 0;
  while ((choice = getopt_long(argc, argv, "c:a:x:dhV", long_options, nullptr)) != -1) {
    switch (choice) {
      case 'c':
        options.configuration = optarg;
        break;
      case 'a':
        options.address = optarg;
        has_address = true;
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
  if (options.agentx != nullptr && has_address) {
    fprintf(stderr, "%s: a subagent (--agentx) does not listen on an address of its own (--address)\n", program);
    return usage_error;
  }
  if (options.configuration != nullptr && access(options.configuration, R_OK) == -1) {
    fprintf(stderr, "%s: cannot read %s: %s\n", program, options.configuration, strerror(errno));
    return EXIT_FAILURE;
  }
  return -1;
}

void on_signal(int number) {
  if (number == SIGHUP) {
    reload_asked = 1;
    return;
  }
  stop_asked = 1;
  std::atomic_ref(netsnmp_running).store(0, std::memory_order_relaxed);
}

/// Signals interrupt the wait for requests, so that they are acted on at once.
void catch_signals() {
  struct sigaction action {};
  action.sa_handler = on_signal;
  for (const int number : {SIGHUP, SIGTERM, SIGINT}) sigaction(number, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
}

void log_to(bool background) {
  snmp_disable_log();
  if (background) {
    snmp_enable_syslog_ident(program, LOG_DAEMON);
  } else {
    snmp_enable_stderrlog();
  }
}

void set_up(const Options &options) {
  log_to(false);
  const int role = options.agentx != nullptr ? 1 : 0;
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, role);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
  if (options.agentx != nullptr) {
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, options.agentx);
  } else {
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, options.address);
  }
  if (options.configuration != nullptr) {
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, options.configuration);
  }
}

/// Starts the agent. False when it cannot serve.
bool start(const Options &options) {
  // A master agent is configured like the stock agent, by snmpd.conf; a subagent leaves that file to its master.
  const char *application = options.agentx != nullptr ? program : "snmpd";
  if (init_agent(application) != 0) {
    fprintf(stderr, "%s: cannot set up the agent\n", program);
    return false;
  }
  if (options.agentx == nullptr) init_mib_modules();
  if (options.agentx != nullptr) zol::pass_over_missing_rows(true);
  init_netsnmpzolarc();
  init_snmp(application);
  if (options.agentx == nullptr && init_master_agent() != 0) {
    fprintf(stderr, "%s: cannot listen on %s: is another agent running there?\n", program, options.address);
    return false;
  }
  return true;
}

void serve() {
  while (netsnmp_running != 0) {
    if (reload_asked != 0) {
      reload_asked = 0;
      snmp_log(LOG_INFO, "%s: reading the configuration again\n", program);
      update_config();
    }
    agent_check_and_process(1);
  }
}

void stop(const Options &options) {
  deinit_netsnmpzolarc();
  snmp_shutdown(options.agentx != nullptr ? program : "snmpd");
  shutdown_agent();
}

/// Starts the program anew with the same arguments, in the same process, so that a supervisor sees no exit.
[[noreturn]] void start_again(char **argv) {
  const auto most = static_cast<int>(sysconf(_SC_OPEN_MAX));
  for (int descriptor = STDERR_FILENO + 1; descriptor < most && descriptor < 1024; ++descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
  execv("/proc/self/exe", argv);
  fprintf(stderr, "%s: cannot start again: %s\n", program, strerror(errno));
  exit(EXIT_FAILURE);
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  if (const int status = read_options(argc, argv, options); status != -1) return status;
  set_up(options);
  if (!start(options)) return EXIT_FAILURE;
  if (options.background) {
    if (daemon(0, 0) == -1) {
      perror(program);
      return EXIT_FAILURE;
    }
    log_to(true);
  }
  catch_signals();
  snmp_log(LOG_INFO, "%s %s started\n", program, ZOL_VERSION);
  serve();
  stop(options);
  if (is_reset != 0 && stop_asked == 0) start_again(argv);
  return EXIT_SUCCESS;
}
