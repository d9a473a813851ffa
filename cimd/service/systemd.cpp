#include "service/systemd.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "file.h"
#include "service/configuration.h"

namespace cimd {

namespace {

using boost::asio::ip::tcp;

// The first descriptor that is passed.
constexpr int passedDescriptor = 3;

bool isTcpSocketThatListens(int descriptor, const sockaddr_storage& name) {
  int type = 0;
  int listens = 0;
  socklen_t size = sizeof type;
  return (name.ss_family == AF_INET || name.ss_family == AF_INET6) &&
         getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM &&
         getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0;
}

bool isLoopback(const boost::asio::ip::address& address) {
  return address.is_loopback() ||
         (address.is_v6() && address.to_v6().is_v4_mapped() &&
          make_address_v4(boost::asio::ip::v4_mapped, address.to_v6()).is_loopback());
}

}  // namespace

std::optional<tcp::acceptor> passedAcceptor(boost::asio::io_context& io) {
  const char* const process = std::getenv("LISTEN_PID");
  const char* const count = std::getenv("LISTEN_FDS");
  // The variables may be those of another process, which started this one.
  if (process == nullptr || count == nullptr || process != std::to_string(getpid())) {
    return std::nullopt;
  }
  if (std::string_view(count) != "1") {
    throw ConfigurationError("systemd passes " + std::string(count) + " sockets instead of one");
  }
  static_cast<void>(fcntl(passedDescriptor, F_SETFD, FD_CLOEXEC));
  sockaddr_storage name{};
  socklen_t size = sizeof name;
  if (getsockname(passedDescriptor, reinterpret_cast<sockaddr*>(&name), &size) != 0 ||
      !isTcpSocketThatListens(passedDescriptor, name)) {
    throw ConfigurationError("systemd passes something else than a TCP socket that listens");
  }
  tcp::acceptor acceptor(io, name.ss_family == AF_INET ? tcp::v4() : tcp::v6(), passedDescriptor);
  if (!isLoopback(acceptor.local_endpoint().address())) {
    throw ConfigurationError("the socket of systemd is not one of the loopback interface");
  }
  return acceptor;
}

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
  const Descriptor sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  static_cast<void>(sendto(sender.number(), state.data(), state.size(), MSG_NOSIGNAL,
                           reinterpret_cast<const sockaddr*>(&address), size));
}

}  // namespace cimd
