// Decides who may change instances. Reading is free to everybody on this machine.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "accounts.h"
#include "log.h"

namespace cimd {

// The sender of the requests of one connection.
class Caller {
 public:
  // Returns the number of the account; nothing when that is unknown. Throws std::system_error when
  // it cannot find out.
  using Ask = std::function<std::optional<uid_t>()>;

  explicit Caller(Ask ask) : ask_(std::move(ask)) {}

  // Asks at the first call only, so that the account has the groups that it had then, as after a
  // log-in. Nothing when the account is unknown. Throws what asking throws.
  const std::optional<Account>& account();

 private:
  Ask ask_;
  bool isKnown_ = false;
  std::optional<Account> account_;
};

// Root is always among them.
struct Writers {
  std::set<uid_t> accounts;
  std::set<gid_t> groups;

  bool have(const Account& account) const;
};

// Limits the refusals in the log to one for each account and minute.
class ReportLimit {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // `account` is nothing for an unknown one. A user can have thousands of accounts, so no more than
  // 64 are reported in a minute.
  bool isDue(std::optional<uid_t> account, Time now);

 private:
  std::map<std::optional<uid_t>, Time> reported_;
};

class Access {
 public:
  // The log must outlive this.
  Access(Writers writers, const Log& log) : writers_(std::move(writers)), log_(log) {}

  // From the next request on, also for connections that there are.
  void setWriters(Writers writers) { writers_ = std::move(writers); }

  // Throws CIMException (ACCESS_DENIED) unless the caller is a writer. `operation` is for the log.
  void checkMayChange(Caller& caller, std::string_view operation);

 private:
  Writers writers_;
  const Log& log_;
  ReportLimit reports_;
};

}  // namespace cimd
