// What it takes to start a command, read what it prints and take leave of it, and nothing else: the least that any way
// to answer from a command costs. Does it once for each line that it reads and answers the microseconds.
//   bare_start PROGRAM ARGUMENT...

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

double start(char **words) {
  const auto begin = std::chrono::steady_clock::now();
  int ends[2];
  if (pipe(ends) == -1) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  pid_t child = 0;
  if (posix_spawnp(&child, words[0], &actions, nullptr, words, environ) != 0) return -1;
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  char block[1024];
  while (read(ends[0], block, sizeof block) > 0) {
  }
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return 2;
  char character = 0;
  while (read(STDIN_FILENO, &character, 1) == 1) {
    printf("%.0f\n", start(argv + 1));
    fflush(stdout);
  }
}
