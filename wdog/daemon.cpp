#include "wdog/daemon.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "core/clock.hpp"
#include "core/log.hpp"
#include "wdog/files.hpp"
#include "wdog/log.hpp"

namespace wdog {

namespace {

flock whole_file() {
  flock lock{};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

pid_t holder_of(int descriptor) {
  flock lock = whole_file();
  if (fcntl(descriptor, F_GETLK, &lock) == -1 || lock.l_type == F_UNLCK) return -1;
  return lock.l_pid;
}

/// Takes the lock, and ends whoever holds it.
bool take_over(int descriptor) {
  constexpr int patience = 2000;  // milliseconds for a process that ends within a second
  constexpr int step = 20;
  pid_t told = -1;
  for (int waited = 0; waited < 2 * patience; waited += step) {
    flock lock = whole_file();
    if (fcntl(descriptor, F_SETLK, &lock) == 0) return true;
    const pid_t holder = holder_of(descriptor);
    if (holder > 0 && holder != told && kill(holder, SIGTERM) == -1 && errno != ESRCH) return false;
    if (holder > 0 && waited >= patience) kill(holder, SIGKILL);
    told = holder;
    msleep(step);
  }
  errno = EBUSY;
  return false;
}

int open_lock(int flags) { return open(path_of(File::lock), flags | O_CLOEXEC, 0644); }

/// Closes every descriptor but `kept`.
void close_others(int kept) {
  if (DIR *folder = opendir("/proc/self/fd")) {
    while (const dirent *entry = readdir(folder)) {
      const int descriptor = atoi(entry->d_name);
      if (entry->d_name[0] != '.' && descriptor != kept && descriptor != dirfd(folder)) close(descriptor);
    }
    closedir(folder);
  } else {
    const long most = sysconf(_SC_OPEN_MAX);
    for (int descriptor = 0; descriptor < most; ++descriptor) {
      if (descriptor != kept) close(descriptor);
    }
  }
}

/// Standard input, output and error come from nowhere and go there.
void open_nothing() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor != -1 && descriptor < STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

/// What the process in the background says to the one that has started it: 0, or a reason.
[[noreturn]] void end_with_answer(int pipe) {
  int reason = ECHILD;
  const bool answered = read(pipe, &reason, sizeof reason) == static_cast<ssize_t>(sizeof reason);
  if (answered && reason != 0) zol::log_line("%s: %s", path_of(File::lock), strerror(reason));
  if (!answered) zol::log_line("the process in the background has ended");
  _exit(answered && reason == 0 ? 0 : 1);
}

/// Who finds the lock may send the signal at once, before it is waited for.
void hold_hangup() {
  sigset_t hangup;
  sigemptyset(&hangup);
  sigaddset(&hangup, SIGHUP);
  sigprocmask(SIG_BLOCK, &hangup, nullptr);
}

void answer(int pipe, int reason) {
  if (write(pipe, &reason, sizeof reason) == -1) _exit(1);
  if (reason != 0) _exit(1);
  close(pipe);
}

}  // namespace

pid_t find_daemon() {
  const int descriptor = open_lock(O_RDWR);
  if (descriptor == -1) return -1;
  const pid_t holder = holder_of(descriptor);
  close(descriptor);
  return holder > 0 ? holder : -1;
}

void become_daemon() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == -1) _exit(1);
  const pid_t middle = fork();
  if (middle != 0) {
    close(ends[1]);
    end_with_answer(ends[0]);
  }
  setsid();
  // Not the leader of its session: so it never gets a terminal again.
  if (fork() != 0) _exit(0);
  if (chdir("/") == -1) answer(ends[1], errno);
  umask(022);
  close_others(ends[1]);
  open_nothing();
  log_to_syslog();
  hold_hangup();
  // The lock is the process's own: it is taken here, not inherited.
  const int descriptor = open_lock(O_RDWR | O_CREAT);
  if (descriptor == -1) answer(ends[1], errno);
  if (!take_over(descriptor)) answer(ends[1], errno);
  answer(ends[1], 0);
}

}  // namespace wdog
