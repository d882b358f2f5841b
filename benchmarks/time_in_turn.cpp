// time_in_turn ROUNDS PROGRAM...: starts the programs in turn, so many times, each with this
// process's environment and its output thrown away, and prints the median seconds of each from its
// start to its end, a line a program.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

double SecondsOf(char *program, const posix_spawn_file_actions_t &actions) {
  const auto start = std::chrono::steady_clock::now();
  char *arguments[] = {program, nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, program, &actions, nullptr, arguments, environ) != 0) {
    perror(program);
    std::exit(2);
  }
  waitpid(child, nullptr, 0);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: time_in_turn ROUNDS PROGRAM...\n");
    return 2;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<std::vector<double>> times(static_cast<size_t>(argc - 2));
  for (int round = std::atoi(argv[1]); round > 0; --round) {
    for (size_t i = 0; i < times.size(); ++i) {
      times[i].push_back(SecondsOf(argv[i + 2], actions));
    }
  }
  for (std::vector<double> &found : times) {
    const auto middle = found.begin() + static_cast<std::ptrdiff_t>(found.size() / 2);
    std::nth_element(found.begin(), middle, found.end());
    printf("%.9f\n", *middle);
  }
}
