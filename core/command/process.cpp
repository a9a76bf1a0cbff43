#include "core/command/process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "core/command/counters.hpp"
#include "core/command/request.hpp"
#include "core/lock.hpp"
#include "core/log.hpp"
#include "core/net_snmp.hpp"

namespace zol::process {

namespace {

constinit std::atomic<StandIn *> in_place = nullptr;

// The child's side. With vfork it runs in the agent's memory until it execs: it stores nothing but its failure.

void default_signals() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) sigaction(number, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The agent does not mark its descriptors close-on-exec and opens new ones at any time. A service that a command
/// leaves running would hold the agent's socket, and the agent could not listen on its port after a restart.
void close_descriptors() {
#ifdef SYS_close_range
  if (syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0) == 0) return;
#endif
  constexpr int most = 256;
  for (int descriptor = STDERR_FILENO + 1; descriptor < most; ++descriptor) close(descriptor);
}

struct Image {
  const char *file;
  char *const *words;
  /// What takes the place of standard output, or -1.
  int output = -1;
  const char *announced = nullptr;
};

[[noreturn]] void become(const Image &image, volatile int &failure) {
  setpgid(0, 0);
  default_signals();
  if (image.output != -1) dup2(image.output, STDOUT_FILENO);
  close_descriptors();
  if (image.announced != nullptr) [[maybe_unused]]
    const ssize_t written = write(STDERR_FILENO, image.announced, strlen(image.announced));
  execvp(image.file, image.words);
  failure = errno;
  _exit(not_there);
}

/// Holds all signals back: a handler of the agent must not run in a child that shares its memory.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsHeld(const SignalsHeld &) = delete;
  SignalsHeld &operator=(const SignalsHeld &) = delete;
  ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

struct Launched {
  pid_t pid;
  /// Why the program is not what runs now, or 0.
  int failure;
};

[[gnu::noinline]] Launched launch(const Image &image) {
  volatile int failure = 0;
  const SignalsHeld held;
  ++command_counters.started;
  const pid_t pid = vfork();
  if (pid == 0) become(image, failure);
  return {pid, pid == -1 ? errno : failure};
}

// What a command text needs.

/// The words of a text without shell syntax. A longer text goes through the shell.
struct Words {
  std::array<char, 1024> text;
  std::array<char *, 513> word;
};

bool is_plain(const char *text) {
  constexpr const char *plain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
      " \t_./:@=,+%-[]";
  return text[strspn(text, plain)] == '\0';
}

/// Splits `text` into `words`; false when it needs a shell.
bool split(const char *text, Words &words) {
  const size_t length = strlen(text);
  if (length >= words.text.size() || !is_plain(text)) return false;
  memcpy(words.text.data(), text, length + 1);
  size_t count = 0;
  char *rest = nullptr;
  for (char *word = strtok_r(words.text.data(), " \t", &rest); word != nullptr;
       word = strtok_r(nullptr, " \t", &rest)) {
    words.word[count++] = word;
  }
  words.word[count] = nullptr;
  // An assignment in front is the shell's business, and so is an empty text.
  return count > 0 && strchr(words.word[0], '=') == nullptr;
}

bool is_not_there(int failure) { return failure == ENOENT || failure == EACCES || failure == ENOTDIR; }

Child launch_text(const char *text, Through through, int output) {
  Words words;
  const bool direct = through == Through::what_it_needs && split(text, words);
  std::array<char, 3> shell = {"sh"};
  std::array<char, 3> option = {"-c"};
  char *const shell_words[] = {shell.data(), option.data(), const_cast<char *>(text), nullptr};
  const Image image = direct ? Image{words.word[0], words.word.data(), output} : Image{"/bin/sh", shell_words, output};
  if (!direct) ++command_counters.shells;
  const auto [pid, failure] = launch(image);
  if (pid == -1 || failure == 0) return {pid, -1};
  waitpid(pid, nullptr, 0);
  errno = failure;
  if (!direct || !is_not_there(failure)) return {};
  tell_missing(text);
  return {0, -1};
}

// Those that are to be ended, and have not been taken leave of.

/// A child that is left to finish is never killed.
constexpr int64_t never = INT64_MAX;

struct Dying {
  pid_t pid = 0;
  int64_t kill_at = 0;
};

pthread_mutex_t dying_guard = PTHREAD_MUTEX_INITIALIZER;
constinit std::array<Dying, 64> dying;
constinit std::atomic<int> dying_count = 0;

void kill_the_dying() {
  const Lock lock(dying_guard);
  for (const Dying &one : dying) {
    if (one.pid != 0 && one.kill_at != never) kill(-one.pid, SIGKILL);
  }
}

/// Puts a child into the list; false when there is no room.
bool enlist(pid_t pid, int64_t kill_at) {
  const Lock lock(dying_guard);
  static bool at_exit = false;
  if (!at_exit) at_exit = atexit(kill_the_dying) == 0;
  for (Dying &one : dying) {
    if (one.pid != 0) continue;
    one = {pid, kill_at};
    ++dying_count;
    return true;
  }
  return false;
}

/// A descriptor that can be read from once the child has ended, or -1 where the kernel has none.
int open_end_of([[maybe_unused]] pid_t pid) {
#ifdef SYS_pidfd_open
  return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
  return -1;
#endif
}

}  // namespace

StandIn *set_stand_in(StandIn *stand_in) { return in_place.exchange(stand_in); }

Child start(const char *text, Through through) {
  Child child;
  if (StandIn *stand_in = in_place.load(); stand_in != nullptr && stand_in(text, false, child)) return child;
  tend();
  return launch_text(text, through, -1);
}

Child start_reading(const char *text, Through through) {
  Child child;
  if (StandIn *stand_in = in_place.load(); stand_in != nullptr && stand_in(text, true, child)) return child;
  tend();
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == -1) return child;
  child = launch_text(text, through, ends[1]);
  const int reason = errno;
  close(ends[1]);
  child.output = ends[0];
  if (child.pid == -1) {
    close(ends[0]);
    child.output = -1;
  }
  errno = reason;
  return child;
}

Child start_words(char *const *words, const char *announced) {
  tend();
  const auto [pid, failure] = launch({words[0], words, -1, announced});
  if (pid != -1 && failure != 0) {
    waitpid(pid, nullptr, 0);
    return {0, -1};
  }
  return {pid, -1};
}

// The sanitizers' own vfork keeps one return address for both children below and would send the agent the wrong way.
#ifdef ZOL_SANITIZED
#define ZOL_SECOND_VFORK fork
#else
#define ZOL_SECOND_VFORK vfork
#endif

bool start_detached(char *const *words, int pid_pipe) {
  const SignalsHeld held;
  ++command_counters.started;
  volatile int failure = 0;
  const pid_t child = vfork();
  if (child == -1) return false;
  if (child == 0) {
    const int32_t pid = ZOL_SECOND_VFORK();
    if (pid == 0) become({words[0], words}, failure);
    _exit(pid_pipe == -1 || write(pid_pipe, &pid, sizeof pid) == sizeof pid ? 0 : 1);
  }
  while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
  }
  return true;
}

void tell_missing(const char *text) {
  static pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
  static std::array<char, 64> last;
  const Lock lock(guard);
  if (strncmp(last.data(), text, last.size() - 1) == 0) return;
  strncpy(last.data(), text, last.size() - 1);
  const Request *request = Request::current();
  log_line("%s%sa program is not there: %.200s", request != nullptr ? request->object() : "",
           request != nullptr ? ": " : "", text);
}

bool has_ended(pid_t pid) {
  siginfo_t info{};
  return pid > 0 && waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == pid;
}

bool wait(pid_t pid, Deadline &deadline, int *status) {
  if (pid <= 0) {
    *status = 0;
    return true;
  }
  // Where the end cannot be polled for, the first looks are close together: most commands end at once.
  int pause = 1;
  int end_of_it = -1;
  bool ended = false;
  for (bool asked = false;; asked = true) {
    const pid_t answer = waitpid(pid, status, WNOHANG);
    ended = answer == pid || (answer == -1 && errno != EINTR);
    if (ended || deadline.passed()) break;
    if (!asked) end_of_it = open_end_of(pid);
    pollfd polled{end_of_it, POLLIN, 0};
    const bool interrupted = poll(&polled, 1, deadline.slice(end_of_it != -1 ? 200 : pause)) == -1 && errno == EINTR;
    pause = std::min(2 * pause, 20);
    deadline.look_up(interrupted);
  }
  if (end_of_it != -1) close(end_of_it);
  return ended;
}

void end(pid_t pid) {
  if (pid <= 0) return;
  kill(-pid, SIGTERM);
  constexpr int64_t grace_ms = 1000;
  if (enlist(pid, monotonic_ms() + grace_ms)) return;
  log_line("too many commands do not end: one more is left to itself");
  kill(-pid, SIGKILL);
}

void leave(pid_t pid) {
  if (!enlist(pid, never)) log_line("too many commands do not end: one more is left to itself");
}

void tend() {
  if (dying_count == 0) return;
  const Lock lock(dying_guard);
  for (Dying &one : dying) {
    if (one.pid == 0) continue;
    if (one.kill_at != never) {
      // Not before: as long as the first of a group is not taken leave of, no other group can have its number.
      if (one.kill_at > monotonic_ms()) continue;
      kill(-one.pid, SIGKILL);
    }
    if (waitpid(one.pid, nullptr, WNOHANG) == 0) continue;
    one.pid = 0;
    --dying_count;
  }
}

void tend_from_the_agent() {
  static unsigned alarm = 0;
  if (dying_count == 0 || alarm != 0) return;
  alarm = snmp_alarm_register(
      1, SA_REPEAT,
      [](unsigned, void *) {
        tend();
        if (dying_count != 0) return;
        snmp_alarm_unregister(alarm);
        alarm = 0;
      },
      nullptr);
}

}  // namespace zol::process
