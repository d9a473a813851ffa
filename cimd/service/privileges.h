// Giving up what a root process has and this server does not need.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace cimd {

struct Account {
  uid_t user;
  gid_t group;
};

// Nothing when the system knows no account of this name.
std::optional<Account> accountNamed(const std::string& name);

// Whether the permissions of the file or of a folder above keep this account from reading it. False
// where the file is missing. Asks for a process that runs as root, before it becomes the account.
bool isClosedTo(const Account& account, const std::filesystem::path& file);

// Makes a process that runs as root run as this account, without supplementary groups and without
// capabilities, for good; a process that does not run as root is left as it is. An account of root
// itself loses its capabilities: it then may do what files and folders of root allow, and nothing
// beyond. Throws std::system_error, and the process may then have lost some of its privileges.
void becomeAccount(const Account& account);

}  // namespace cimd
