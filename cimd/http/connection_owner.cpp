#include "http/connection_owner.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

#include "file.h"

namespace cimd {

namespace {

using boost::asio::ip::address;
using boost::asio::ip::tcp;

// As which the kernel shows accounts that a user namespace does not have.
constexpr uid_t overflowAccount = 65534;

[[noreturn]] void throwErrno(int error) {
  throw std::system_error(error, std::generic_category(), "sock_diag");
}

class NetlinkSocket {
 public:
  NetlinkSocket() : socket_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)) {
    if (!socket_.isOpen()) {
      throwErrno(errno);
    }
  }

  template <typename Message>
  void send(const Message& message) const {
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (sendto(socket_.number(), &message, sizeof message, 0,
               reinterpret_cast<const sockaddr*>(&kernel), sizeof kernel) < 0) {
      throwErrno(errno);
    }
  }

  // The kernel answers while it takes the request, so that there is nothing to wait for.
  template <typename Bytes>
  std::size_t receive(Bytes& bytes) const {
    sockaddr_nl from{};
    socklen_t size = sizeof from;
    const ssize_t count = recvfrom(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&from), &size);
    if (count < 0) {
      throwErrno(errno);
    }
    if (size != sizeof from || from.nl_pid != 0) {  // not the kernel
      throwErrno(EPROTO);
    }
    return static_cast<std::size_t>(count);
  }

 private:
  Descriptor socket_;
};

// An IPv4 address in the form of IPv6 is that IPv4 address.
address plain(const address& given) {
  return given.is_v6() && given.to_v6().is_v4_mapped()
             ? address(make_address_v4(boost::asio::ip::v4_mapped, given.to_v6()))
             : given;
}

template <std::size_t words>
void copyAddress(const address& from, __be32 (&to)[words]) {
  if (from.is_v4()) {
    const auto bytes = from.to_v4().to_bytes();
    std::memcpy(to, bytes.data(), bytes.size());
  } else {
    const auto bytes = from.to_v6().to_bytes();
    std::memcpy(to, bytes.data(), bytes.size());
  }
}

template <typename T>
T read(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// Asks and returns the answer. The socket is kept, for making one takes longer than asking; after
// an error there may be an answer in it that nobody received, so that one is not used again.
template <typename Query, typename Bytes>
std::size_t askAndReceive(const Query& query, Bytes& answer) {
  thread_local std::optional<NetlinkSocket> kernel;
  try {
    if (!kernel) {
      kernel.emplace();
    }
    kernel->send(query);
    return kernel->receive(answer);
  } catch (const std::system_error&) {
    kernel.reset();
    throw;
  }
}

// Asks the kernel for the socket at `first` that is connected to `second`: returns this socket, or
// else one that listens at `first`. Nothing when there is neither.
std::optional<inet_diag_msg> askKernel(const tcp::endpoint& first, const tcp::endpoint& second) {
  struct {
    nlmsghdr header;
    inet_diag_req_v2 request;
  } query{};
  query.header.nlmsg_len = sizeof query;
  query.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  query.header.nlmsg_flags = NLM_F_REQUEST;
  const address source = plain(first.address());
  query.request.sdiag_family = source.is_v4() ? AF_INET : AF_INET6;
  query.request.sdiag_protocol = IPPROTO_TCP;
  query.request.id.idiag_sport = htons(first.port());
  query.request.id.idiag_dport = htons(second.port());
  copyAddress(source, query.request.id.idiag_src);
  copyAddress(plain(second.address()), query.request.id.idiag_dst);
  query.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
  query.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;

  std::array<char, 8192> bytes{};
  const std::size_t count = askAndReceive(query, bytes);
  const std::size_t start = NLMSG_HDRLEN;
  if (count < start) {
    throwErrno(EPROTO);
  }
  const auto header = read<nlmsghdr>(bytes.data());
  if (header.nlmsg_type == NLMSG_ERROR && count >= start + sizeof(nlmsgerr)) {
    const int error = -read<nlmsgerr>(bytes.data() + start).error;
    if (error == ENOENT) {
      return std::nullopt;
    }
    throwErrno(error != 0 ? error : EPROTO);
  }
  if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY || count < start + sizeof(inet_diag_msg)) {
    throwErrno(EPROTO);
  }
  return read<inet_diag_msg>(bytes.data() + start);
}

// Whether this process sees all accounts of the machine as what they are.
bool seesAllAccounts() {
  std::ifstream map("/proc/self/uid_map");
  unsigned long inside = 1;
  unsigned long outside = 1;
  unsigned long count = 0;
  return map >> inside >> outside >> count && inside == 0 && outside == 0 && count == 0xFFFFFFFFU;
}

}  // namespace

Owner ownerOfConnection(const tcp::endpoint& peer, const tcp::endpoint& own) {
  const auto found = askKernel(peer, own);
  // A socket without inode was closed by its owner: it counts as root's from then on. One that
  // listens, or that is about to connect, is another than the one at the end of this connection.
  const bool isConnected = found && found->idiag_inode != 0 && found->idiag_state != TCP_LISTEN &&
                           found->idiag_state != TCP_SYN_SENT &&
                           found->id.idiag_dport == htons(own.port());
  if (!isConnected || (found->idiag_uid == overflowAccount && !seesAllAccounts())) {
    return std::nullopt;
  }
  return found->idiag_uid;
}

Owner ownerOfConnection(const tcp::socket& socket) {
  boost::system::error_code peerError;
  boost::system::error_code ownError;
  const auto peer = socket.remote_endpoint(peerError);
  const auto own = socket.local_endpoint(ownError);
  return peerError || ownError ? std::nullopt : ownerOfConnection(peer, own);
}

void checkOwnersAreKnown(const tcp::endpoint& listening) {
  if (!askKernel(listening, tcp::endpoint(listening.protocol(), 0))) {
    throwErrno(EPROTONOSUPPORT);  // a kernel without tcp_diag says "no such socket"
  }
}

}  // namespace cimd
