// What it takes to start a command, read what it prints and take leave of it, and nothing else: the least that any way
// to answer from a command costs. Prints the median in microseconds.
//   bare_start TIMES PROGRAM ARGUMENT...

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char **argv) {
  if (argc < 3) return 2;
  const int times = atoi(argv[1]);
  std::vector<double> took;
  for (int i = 0; i < times; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    int ends[2];
    if (pipe(ends) == -1) return 1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    pid_t child = 0;
    if (posix_spawnp(&child, argv[2], &actions, nullptr, argv + 2, environ) != 0) return 1;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char block[1024];
    while (read(ends[0], block, sizeof block) > 0) {
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    took.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
  }
  std::ranges::nth_element(took, took.begin() + times / 2);
  printf("%.0f\n", took[static_cast<size_t>(times / 2)]);
}
