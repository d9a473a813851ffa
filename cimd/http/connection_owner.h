// The account at the other end of a TCP connection within this machine, as the kernel knows it
// (sock_diag(7)). Anybody may ask.
#pragma once

#include <sys/types.h>

#include <boost/asio/ip/tcp.hpp>
#include <optional>

namespace cimd {

// An account, or nothing when it is unknown.
using Owner = std::optional<uid_t>;

// The account that made the socket of `peer`, which is connected to `own` in this network
// namespace. A process that was given the socket later acts for that account.
//
// Nothing when the peer has closed its socket, although its last request may still be unread; when
// there is no such connection; and for an account of another user namespace. Throws
// std::system_error when the kernel does not answer.
Owner ownerOfConnection(const boost::asio::ip::tcp::endpoint& peer,
                        const boost::asio::ip::tcp::endpoint& own);
// The same for the other end of this socket.
Owner ownerOfConnection(const boost::asio::ip::tcp::socket& socket);

// Throws std::system_error when the kernel cannot be asked about TCP: it finds not even
// `listening`, the address of a socket that listens.
void checkOwnersAreKnown(const boost::asio::ip::tcp::endpoint& listening);

}  // namespace cimd
