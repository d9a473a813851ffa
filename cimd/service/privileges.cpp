#include "service/privileges.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace cimd {

namespace {

void check(long result, const char* what) {
  if (result != 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

void dropCapabilities() {
  // Also for programs that would be started, though this server starts none.
  check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "prctl");
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const std::array<__user_cap_data_struct, 2> none{};
  check(syscall(SYS_capset, &header, none.data()), "capset");
}

}  // namespace

std::optional<Account> accountNamed(const std::string& name) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  return Account{entry.pw_uid, entry.pw_gid};
}

bool isClosedTo(const Account& account, const std::filesystem::path& file) {
  // Of the whole process, only its access to files changes. A user other than root takes the
  // capabilities for files away as well.
  setfsgid(account.group);
  setfsuid(account.user);
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  const bool isClosed = descriptor < 0 && errno == EACCES;
  setfsuid(geteuid());
  setfsgid(getegid());
  if (descriptor >= 0) {
    close(descriptor);
  }
  return isClosed;
}

void becomeAccount(const Account& account) {
  if (geteuid() != 0) {
    return;
  }
  if (account.user != 0) {
    check(setgroups(0, nullptr), "setgroups");
    check(setresgid(account.group, account.group, account.group), "setresgid");
    check(setresuid(account.user, account.user, account.user), "setresuid");
  }
  dropCapabilities();
}

}  // namespace cimd
