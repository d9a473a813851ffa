#include "accounts.h"

#include <grp.h>
#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "text/ascii.h"

namespace cimd {

namespace {

// A group may have thousands of members; an entry beyond this counts as missing.
constexpr std::size_t maxEntrySize = std::size_t{4} << 20U;
constexpr std::size_t maxNameLength = 64;
constexpr int maxGroups = 65536;  // NGROUPS_MAX of Linux

// Returns `take(entry)` of what `look`, one of getpwnam_r(3) and its like, finds for the key, with
// ever more room for the texts of the entry.
template <typename Entry, typename Key, typename Take>
auto lookUp(int (*look)(Key, Entry*, char*, std::size_t, Entry**), Key key, Take take)
    -> std::optional<decltype(take(std::declval<Entry>()))> {
  for (std::size_t size = 4096; size <= maxEntrySize; size *= 4) {
    std::vector<char> buffer(size);
    Entry entry{};
    Entry* found = nullptr;
    const int error = look(key, &entry, buffer.data(), buffer.size(), &found);
    if (error != ERANGE) {
      return found == nullptr ? std::nullopt : std::optional(take(entry));
    }
  }
  return std::nullopt;
}

std::string harmless(std::string_view name) {
  std::string text(name.substr(0, maxNameLength));
  const auto isOdd = [](char c) {
    return !Pegasus::text::isDigit(c) && !(c >= 'a' && c <= 'z') && !(c >= 'A' && c <= 'Z') &&
           std::string_view("._-+@$\\").find(c) == std::string_view::npos;
  };
  std::replace_if(text.begin(), text.end(), isOdd, '?');
  return text;
}

std::vector<gid_t> groupsOf(const passwd& entry) {
  std::vector<gid_t> groups(64);
  for (;;) {
    int count = static_cast<int>(groups.size());
    if (getgrouplist(entry.pw_name, entry.pw_gid, groups.data(), &count) >= 0) {
      groups.resize(static_cast<std::size_t>(count));
      return groups;
    }
    if (groups.size() >= maxGroups) {
      return {entry.pw_gid};
    }
    groups.resize(static_cast<std::size_t>(
        std::clamp(count, static_cast<int>(groups.size()) * 2, maxGroups)));
  }
}

}  // namespace

Account accountWithId(uid_t user) {
  const auto account = lookUp(getpwuid_r, user, [&](const passwd& entry) {
    Account found{user, harmless(entry.pw_name), groupsOf(entry)};
    return found;
  });
  return account.value_or(Account{user, std::to_string(user), {}});
}

std::optional<AccountIds> accountNamed(const std::string& name) {
  return lookUp(getpwnam_r, name.c_str(), [](const passwd& entry) {
    const AccountIds found{entry.pw_uid, entry.pw_gid};
    return found;
  });
}

std::optional<gid_t> groupNamed(const std::string& name) {
  return lookUp(getgrnam_r, name.c_str(), [](const group& entry) { return entry.gr_gid; });
}

}  // namespace cimd
