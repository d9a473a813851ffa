// The accounts and groups of this machine, from its account database (getpwnam(3),
// getgrouplist(3)).
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace cimd {

struct Account {
  uid_t user = 0;
  // For messages: letters, digits and the usual punctuation of names, everything else as '?'. The
  // number of an account that has no name.
  std::string name;
  // The primary group and the supplementary ones, as of now. Empty for an account that the database
  // does not have.
  std::vector<gid_t> groups;
};

// The account with this number, which the database need not have.
Account accountWithId(uid_t user);

struct AccountIds {
  uid_t user;
  gid_t group;
};

// Nothing when there is none of this name.
std::optional<AccountIds> accountNamed(const std::string& name);
std::optional<gid_t> groupNamed(const std::string& name);

}  // namespace cimd
