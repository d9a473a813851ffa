#include "service/daemon.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "accounts.h"
#include "file.h"
#include "service/configuration.h"

namespace cimd {

namespace {

using boost::asio::ip::tcp;

// --- privileges

constexpr AccountIds root{0, 0};

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

// Whether the permissions of the file or of a directory above it keep this account from reading it.
// False for a missing file. For a process that runs as root, before it becomes the account.
bool isClosedTo(const AccountIds& account, const std::filesystem::path& file) {
  // This changes nothing but the access of this process to files; with a user other than root the
  // capabilities for files are gone as well.
  setfsgid(account.group);
  setfsuid(account.user);
  const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  const bool isClosed = !opened.isOpen() && errno == EACCES;
  setfsuid(geteuid());
  setfsgid(getegid());
  return isClosed;
}

void becomeAccount(const AccountIds& account) {
  if (account.user != root.user) {
    check(setgroups(0, nullptr), "setgroups");
    check(setresgid(account.group, account.group, account.group), "setresgid");
    check(setresuid(account.user, account.user, account.user), "setresuid");
  }
  dropCapabilities();
}

// The directory of the file itself, where the name is a link.
std::filesystem::path directoryOf(const std::filesystem::path& file) {
  return std::filesystem::weakly_canonical(std::filesystem::absolute(file)).parent_path();
}

constexpr const char* stillRoot = "running as root, though without its capabilities: ";

AccountIds accountNobody() {
  return accountNamed("nobody").value_or(AccountIds{65534, 65534});
}

// Without --user: the owner of the store's directory, who can write it; without a store, nobody.
AccountIds chooseAccount(const Options& options, const Log& log) {
  struct stat directory = {};
  if (options.store && stat(directoryOf(*options.store).c_str(), &directory) == 0) {
    if (directory.st_uid == root.user) {
      log.warning(std::string(stillRoot) + "the directory of the store belongs to root");
    }
    return {directory.st_uid, directory.st_gid};
  }
  const AccountIds nobody = accountNobody();
  for (const auto& file : options.files) {
    if (isClosedTo(nobody, file)) {
      log.warning(stillRoot + file.string() + " is closed to the account nobody");
      return root;
    }
  }
  return nobody;
}

void becomeGivenAccount(const std::string& name) {
  const auto account = accountNamed(name);
  if (!account) {
    throw ConfigurationError("there is no account " + name);
  }
  try {
    becomeAccount(*account);
  } catch (const std::system_error& error) {
    throw std::runtime_error("cannot run as " + name + ": " + error.what());
  }
}

// --- systemd

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

std::optional<uid_t> giveUpRoot(const Options& options, const Log& log) {
  if (geteuid() != root.user) {
    if (options.user) {
      log.warning("not started as root: --user ignored");
    }
  } else if (options.user) {
    becomeGivenAccount(*options.user);
  } else {
    try {
      becomeAccount(chooseAccount(options, log));
    } catch (const std::system_error& error) {
      // For example in a container that has no other accounts.
      log.warning(std::string(stillRoot) + error.what());
      becomeAccount(root);
    }
    if (geteuid() == accountNobody().user && !options.store) {
      return std::nullopt;
    }
  }
  return geteuid();
}

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
