// The socket that systemd passes to a service, and the states that the service reports.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <optional>
#include <string_view>

namespace cimd {

// Sends a state such as "READY=1" to the socket that systemd names in NOTIFY_SOCKET (sd_notify(3)).
// Does nothing where it names none, and nothing more than that when it fails: the service runs all
// the same.
void notifySystemd(std::string_view state);

// The listening socket that systemd holds for this process (sd_listen_fds(3)); nothing when there
// is none. Throws ConfigurationError when there are more, or it is not a TCP socket that listens on
// the loopback interface.
std::optional<boost::asio::ip::tcp::acceptor> passedAcceptor(boost::asio::io_context& io);

}  // namespace cimd
