// Giving up what a root process has and this server does not need.
#pragma once

#include <sys/types.h>

#include <optional>

#include "log.h"
#include "service/options.h"

namespace cimd {

// Makes a process that was started as root run as another account, without supplementary groups and
// without capabilities, for good: the account of --user, otherwise the owner of the directory of
// the store, otherwise nobody. Where only root will do, it stays root without capabilities: it may
// then do what the permissions of files allow root, and nothing beyond, and the log says why. A
// process that was not started as root is left as it is.
//
// Returns the account that the process has now; nothing when it is nobody for lack of another one:
// an account that many others may be using as well is not the server's own.
//
// Throws ConfigurationError for an account that does not exist, and std::runtime_error when it
// cannot run as the account of --user; the process may then have lost some of its privileges.
std::optional<uid_t> giveUpRoot(const Options& options, const Log& log);

}  // namespace cimd
