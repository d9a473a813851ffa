// The process as a service of the system: it gives up what root has and it does not need, takes the
// socket that systemd passes, and reports its states.
#pragma once

#include <sys/types.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <optional>
#include <string_view>

#include "log.h"
#include "service/options.h"

namespace cimd {

// Makes a process that was started as root run as another account, without supplementary groups and
// without capabilities, for good: the account of --user, otherwise the owner of the directory of
// the store, otherwise nobody. If only root will do, it stays root without capabilities: it may
// then do what the permissions of files allow root, and nothing beyond, and the log says why. A
// process that was not started as root is left as it is.
//
// Returns the account that the process has now; nothing when it is nobody for lack of another one:
// an account that many others may be using as well is not the server's own.
//
// Throws ConfigurationError for an account that does not exist, and std::runtime_error when it
// cannot run as the account of --user; the process may then have lost some of its privileges.
std::optional<uid_t> giveUpRoot(const Options& options, const Log& log);

// Sends a state such as "READY=1" to the socket that systemd names in NOTIFY_SOCKET (sd_notify(3)).
// Does nothing where it names none, and nothing more than that when it fails: the service runs all
// the same.
void notifySystemd(std::string_view state);

// The listening socket that systemd holds for this process (sd_listen_fds(3)); nothing when there
// is none. Throws ConfigurationError when there are more, or it is not a TCP socket that listens on
// the loopback interface.
std::optional<boost::asio::ip::tcp::acceptor> passedAcceptor(boost::asio::io_context& io);

}  // namespace cimd
