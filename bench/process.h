// What a running process has used.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace bench {

// Processor time of all its threads, in seconds. Throws std::runtime_error when there is no such
// process.
double processorTime(pid_t process);

// Memory that it has in use now (resident set size), in bytes. Throws the same.
std::size_t residentMemory(pid_t process);

}  // namespace bench
