// Fortified headers define poll() and ppoll() inline, which leaves no room for the ones below.
#undef _FORTIFY_SOURCE

#include "system_calls.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

thread_local SystemCalls systemCalls;

extern "C" {

ssize_t send(int socket, const void* bytes, std::size_t size, int flags) {
  if (systemCalls.slowSendSize > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    size = std::min(size, systemCalls.slowSendSize);
  }
  return sendto(socket, bytes, size, flags, nullptr, 0);
}

int poll(pollfd* sockets, nfds_t count, int milliseconds) {
  if (systemCalls.pollError != 0) {
    errno = systemCalls.pollError;
    return -1;
  }
  timespec timeOut{milliseconds / 1000, milliseconds % 1000 * 1000000L};
  return static_cast<int>(
      syscall(SYS_ppoll, sockets, count, milliseconds < 0 ? nullptr : &timeOut, nullptr, 0));
}

int ppoll(pollfd* sockets, nfds_t count, const timespec* timeOut, const sigset_t* /*signals*/) {
  if (systemCalls.beforePpoll) {
    systemCalls.beforePpoll(std::chrono::seconds(timeOut->tv_sec) +
                            std::chrono::nanoseconds(timeOut->tv_nsec));
  }
  timespec left = *timeOut;  // which the kernel changes
  return static_cast<int>(syscall(SYS_ppoll, sockets, count, &left, nullptr, 0));
}

}  // extern "C"
