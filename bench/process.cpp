#include "process.h"

#include <unistd.h>

#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

double processorTime(pid_t process) {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
    throw std::runtime_error("there is no process " + std::to_string(process));
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::size_t residentMemory(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  if (!(file >> total >> resident)) {
    throw std::runtime_error("there is no process " + std::to_string(process));
  }
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace bench
