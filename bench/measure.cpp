// Runs a command and prints the seconds that passed, the seconds of CPU time, and the peak memory
// in KiB, of it alone:
//
//     measure COMMAND [ARG...]
//
// Small by itself, for a process inherits the peak of the one that started it. Ends with the status
// of the command.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: measure COMMAND [ARG...]\n", stderr);
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[1], argv + 1);
    std::perror(argv[1]);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child) {
    std::perror("measure");
    return 1;
  }
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  std::fprintf(stderr, "%.6f %.6f %ld\n", passed.count(),
               seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
