#include "wdog/monitor.hpp"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "core/log.hpp"
#include "wdog/history.hpp"
#include "wdog/log.hpp"
#include "wdog/ping.hpp"
#include "wdog/programs.hpp"
#include "wdog/settings.hpp"

namespace wdog {

namespace {

/// Uptime after which the reboots of the ping watchdog are forgotten.
constexpr int64_t settled_uptime = 86400;

/// Starts of the device in which a script may be run before it has ever stayed up that long. A script may reboot,
/// whatever the limit of reboots says.
constexpr int fewest_script_starts = 3;

volatile sig_atomic_t must_end = 0;
volatile sig_atomic_t must_read = 0;

void note_signal(int number) {
  if (number == SIGHUP) must_read = 1;
  if (number == SIGTERM || number == SIGINT) must_end = 1;
}

/// Signals come only while the process waits, with the mask that is returned.
sigset_t take_signals() {
  struct sigaction action {};
  action.sa_handler = note_signal;
  sigset_t taken;
  sigemptyset(&taken);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) {
    sigaction(number, &action, nullptr);
    sigaddset(&taken, number);
  }
  signal(SIGPIPE, SIG_IGN);
  sigset_t before;
  sigprocmask(SIG_BLOCK, &taken, &before);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) sigdelset(&before, number);
  return before;
}

using Reason = std::array<char, 256>;

class Monitor {
 public:
  explicit Monitor(const std::optional<Schedule> &given) {
    const Moment now = read_clocks();
    stored_ = stored_schedule();
    task_ = TaskMonitor(given ? *given : stored_.value_or(Schedule{}), now, read_history().due);
    ping_.configure(now);
    tell();
  }

  /// The settings have changed: a schedule of its own stays until the stored one changes.
  void read_settings() {
    const Moment now = read_clocks();
    const std::optional<Schedule> stored = stored_schedule();
    if (stored != stored_) task_ = TaskMonitor(stored.value_or(Schedule{}), now, read_history().due);
    stored_ = stored;
    ping_.configure(now);
    tell();
  }

  void work() {
    const Moment now = read_clocks();
    if (task_.is_due(now)) reboot_by_schedule(now);
    if (ping_.work(now)) act(now);
    if (!is_settled_ && now.uptime >= settled_uptime) is_settled_ = clear_count();
  }

  void wait(const sigset_t &mask) {
    constexpr int64_t longest = 1000;
    std::array<pollfd, PingWatchdog::most_descriptors> descriptors;
    const size_t count = ping_.wait_for(descriptors.data());
    const int64_t patience = std::clamp<int64_t>(ping_.patience(read_clocks()), 0, longest);
    const timespec time{static_cast<time_t>(patience / 1000), static_cast<long>(patience % 1000) * 1'000'000};
    ppoll(descriptors.data(), count, &time, &mask);
  }

  void reap() {
    int status = 0;
    pid_t process = 0;
    while ((process = waitpid(-1, &status, WNOHANG)) > 0) {
      if (process != program_) continue;
      program_ = -1;
      if (status != 0) zol::log_line("the action failed, with status %d", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    }
  }

 private:
  void tell() const {
    zol::log_line("schedule %s, ping watchdog %s", print_schedule(task_.schedule()).data(),
                  ping_.settings().is_on() ? "on" : "off");
  }

  void begin(Words words) {
    program_ = start(words);
    if (program_ == -1) zol::log_line("%s cannot be started", words[0]);
  }

  void reboot(const char *reason) {
    log_reboot(reason);
    constexpr const char *words[] = {"reboot", nullptr};
    begin(words);
  }

  void reboot_by_schedule(const Moment &now) {
    const Schedule &schedule = task_.schedule();
    const bool by_time = schedule.kind == Schedule::Kind::by_time;
    Reason reason;
    if (by_time) {
      snprintf(reason.data(), reason.size(), "scheduled for %02d:%02d", schedule.number / 60, schedule.number % 60);
    } else {
      snprintf(reason.data(), reason.size(), "scheduled for every %d hours of uptime", schedule.number);
    }
    if (!note_reboot(now, reason.data(), by_time ? task_.due() : 0, false)) zol::log_line("the reboot cannot be noted");
    reboot(reason.data());
  }

  Reason silence() {
    const PingSettings &settings = ping_.settings();
    Reason reason;
    int size = snprintf(reason.data(), reason.size(), "%d times no answer from", settings.failures);
    for (size_t i = 0; i < static_cast<size_t>(settings.target_count); ++i) {
      const auto used = std::min(static_cast<size_t>(size), reason.size() - 1);
      size += snprintf(reason.data() + used, reason.size() - used, " %s", settings.targets[i].get());
    }
    return reason;
  }

  void act(const Moment &now) {
    const Reason reason = silence();
    if (program_ != -1) {
      zol::log_line("%s; the last action still runs", reason.data());
      return;
    }
    if (ping_.settings().action == PingSettings::Action::reboot) {
      reboot_in_silence(now, reason.data());
    } else if (ping_.settings().action == PingSettings::Action::script) {
      run_script(now, reason.data());
    } else {
      zol::log_line("network restart, %s", reason.data());
      constexpr const char *words[] = {"/etc/init.d/network", "restart", nullptr};
      begin(words);
    }
  }

  /// A reboot that is not counted before it is made could be the first of endlessly many.
  void reboot_in_silence(const Moment &now, const char *reason) {
    if (read_history().count >= ping_.settings().limit) {
      if (ping_.has_answered()) zol::log_line("%s; no reboot: their limit is reached", reason);
    } else if (!note_reboot(now, reason, 0, true)) {
      zol::log_line("%s; no reboot: it cannot be counted", reason);
    } else {
      is_settled_ = true;
      reboot(reason);
    }
  }

  void run_script(const Moment &now, const char *reason) {
    const int most = std::max(ping_.settings().limit, fewest_script_starts);
    const char *script = ping_.settings().script.get();
    if (!has_script_run(now) && read_history().count >= most) {
      if (ping_.has_answered()) zol::log_line("%s; %s is not run: the limit is reached", reason, script);
    } else if (!note_script(now)) {
      zol::log_line("%s; %s is not run: it cannot be counted", reason, script);
    } else {
      is_settled_ = true;
      zol::log_line("%s is run, %s", script, reason);
      const char *const words[] = {script, nullptr};
      begin(words);
    }
  }

  std::optional<Schedule> stored_;
  TaskMonitor task_;
  PingWatchdog ping_;
  /// What was started and has not ended.
  pid_t program_ = -1;
  /// Whether the count of reboots is as it should be for the rest of this start of the device.
  bool is_settled_ = false;
};

}  // namespace

void watch(const std::optional<Schedule> &given) {
  const sigset_t mask = take_signals();
  Monitor monitor(given);
  while (must_end == 0) {
    if (must_read != 0) {
      must_read = 0;
      monitor.read_settings();
    }
    monitor.reap();
    monitor.work();
    monitor.wait(mask);
  }
  _exit(0);
}

}  // namespace wdog
