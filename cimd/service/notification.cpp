#include "service/notification.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace cimd {

void notifySystemd(std::string_view state) {
  const char* name = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::size_t length = name == nullptr ? 0 : std::strlen(name);
  if (length < 2 || length >= sizeof address.sun_path) {
    return;
  }
  std::memcpy(address.sun_path, name, length);
  if (name[0] == '@') {
    address.sun_path[0] = '\0';  // the abstract namespace, written with "@" in the environment
  }
  const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket < 0) {
    return;
  }
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  static_cast<void>(sendto(socket, state.data(), state.size(), MSG_NOSIGNAL,
                           reinterpret_cast<const sockaddr*>(&address), size));
  ::close(socket);
}

}  // namespace cimd
