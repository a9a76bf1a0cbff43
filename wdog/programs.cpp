#include "wdog/programs.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

namespace wdog {

namespace {

[[noreturn]] void become(Words words, int output) {
  restore_signals();
  const int nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(output == -1 ? nothing : output, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  if (nothing > STDERR_FILENO) close(nothing);
  execvp(words[0], const_cast<char *const *>(words));
  _exit(127);
}

/// Reads to the end, so that the program never waits for a reader; what is too long is dropped.
void read_output(int pipe, Text &output) {
  constexpr size_t longest = 65536;
  auto *text = static_cast<char *>(malloc(longest));
  size_t size = 0;
  std::array<char, 1024> piece;
  for (;;) {
    const ssize_t count = read(pipe, piece.data(), piece.size());
    if (count == -1 && errno == EINTR) continue;
    if (count <= 0) break;
    const size_t fits = text == nullptr ? 0 : std::min(static_cast<size_t>(count), longest - size);
    if (fits > 0) memcpy(text + size, piece.data(), fits);
    size += fits;
  }
  output.set(text == nullptr ? "" : text, size);
  free(text);
}

}  // namespace

int run(Words words, Text *output) {
  int ends[2] = {-1, -1};
  if (output != nullptr && pipe2(ends, O_CLOEXEC) == -1) return 127;
  const pid_t process = fork();
  if (process == 0) become(words, ends[1]);
  if (ends[1] != -1) close(ends[1]);
  if (output != nullptr) read_output(ends[0], *output);
  if (ends[0] != -1) close(ends[0]);
  int status = 0;
  while (process != -1 && waitpid(process, &status, 0) == -1) {
    if (errno != EINTR) return 127;
  }
  if (process == -1) return 127;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

pid_t start(Words words) {
  const pid_t process = fork();
  if (process != 0) return process;
  setsid();
  become(words, -1);
}

void restore_signals() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGPIPE}) signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace wdog
