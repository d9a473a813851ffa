#include "operations/access.h"

#include <algorithm>
#include <system_error>

#include "model/errors.h"

namespace cimd {

const std::optional<Account>& Caller::account() {
  if (!isKnown_) {
    if (const auto user = ask_()) {
      account_ = accountWithId(*user);
    }
    isKnown_ = true;
  }
  return account_;
}

bool Writers::have(const Account& account) const {
  return account.user == 0 || accounts.contains(account.user) ||
         std::any_of(account.groups.begin(), account.groups.end(),
                     [&](gid_t group) { return groups.contains(group); });
}

bool ReportLimit::isDue(std::optional<uid_t> account, Time now) {
  constexpr std::size_t maxReports = 64;
  std::erase_if(reported_,
                [&](const auto& report) { return now - report.second >= std::chrono::minutes(1); });
  return reported_.size() < maxReports && reported_.emplace(account, now).second;
}

void Access::checkMayChange(Caller& caller, std::string_view operation) {
  std::string reason = "the account at the other end of the connection is unknown";
  std::string detail;
  std::optional<uid_t> user;
  try {
    if (const auto& account = caller.account()) {
      if (writers_.have(*account)) {
        return;
      }
      user = account->user;
      reason = "account " + account->name + " may not change instances";
    }
  } catch (const std::system_error& error) {
    detail = std::string(": ") + error.what();
  }
  if (reports_.isDue(user, std::chrono::steady_clock::now())) {
    log_.warning(std::string(operation) + " refused: " + reason + detail);
  }
  throwCimError(Pegasus::CIM_ERR_ACCESS_DENIED, Pegasus::String(reason));
}

}  // namespace cimd
