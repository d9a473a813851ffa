// The system calls of the client that these tests watch or change. They replace those of the C
// library in this whole program, but act only in the thread that sets them.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

struct SystemCalls {
  // If it is not 0, send() takes at most this many bytes, and not before a millisecond has passed.
  std::size_t slowSendSize = 0;
  // If it is not 0, poll() fails with this error.
  int pollError = 0;
  // Called by ppoll() with its time-out, before it waits.
  std::function<void(std::chrono::nanoseconds)> beforePpoll;
};

extern thread_local SystemCalls systemCalls;
