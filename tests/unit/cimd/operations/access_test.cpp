#include "operations/access.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <system_error>

#include "support.h"

namespace cimd::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

TEST(Writers, AreRootTheAccountsGivenAndTheMembersOfTheGroups) {
  const Writers writers{.accounts = {1000}, .groups = {50}};
  const auto have = [&](uid_t user, std::vector<gid_t> groups) {
    return writers.have(Account{user, "name", std::move(groups)});
  };
  EXPECT_TRUE(have(0, {}));
  EXPECT_TRUE(have(1000, {}));
  EXPECT_TRUE(have(1001, {7, 50}));
  EXPECT_FALSE(have(1001, {}));
  EXPECT_FALSE(have(50, {1000, 0}));
}

TEST(Caller, IsAskedForOnceUnlessThatIsAnError) {
  int questions = 0;
  Caller caller([&]() -> std::optional<uid_t> {
    if (++questions == 1) {
      throw std::system_error(ENOBUFS, std::generic_category());
    }
    return questions == 2 ? std::nullopt : std::optional<uid_t>(0);
  });
  EXPECT_THROW(caller.account(), std::system_error);
  EXPECT_FALSE(caller.account());
  EXPECT_FALSE(caller.account());
  EXPECT_EQ(questions, 2);
}

// By the account database of this machine.
TEST(Accounts, HaveTheirNameAndAllTheirGroups) {
  const passwd* const entry = getpwuid(getuid());
  ASSERT_NE(entry, nullptr);
  const auto ids = accountNamed(entry->pw_name);
  ASSERT_TRUE(ids);
  EXPECT_EQ(ids->user, getuid());
  EXPECT_EQ(ids->group, entry->pw_gid);
  const Account account = accountWithId(getuid());
  EXPECT_EQ(account.name, entry->pw_name);
  EXPECT_NE(std::find(account.groups.begin(), account.groups.end(), entry->pw_gid),
            account.groups.end());
  const group* const own = getgrgid(entry->pw_gid);
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(groupNamed(own->gr_name), entry->pw_gid);
}

TEST(Accounts, WithoutANameHaveTheirNumberAndNoGroups) {
  constexpr uid_t unused = 3999999999;
  EXPECT_EQ(accountWithId(unused).name, "3999999999");
  EXPECT_TRUE(accountWithId(unused).groups.empty());
  EXPECT_FALSE(accountNamed("no such account"));
  EXPECT_FALSE(groupNamed("no such group"));
}

TEST(ReportLimit, OneReportForEachAccountAndMinute) {
  ReportLimit limit;
  const ReportLimit::Time start{minutes(7)};
  EXPECT_TRUE(limit.isDue(1000, start));
  EXPECT_FALSE(limit.isDue(1000, start));
  EXPECT_TRUE(limit.isDue(1001, start + minutes(1) - milliseconds(1)));
  EXPECT_TRUE(limit.isDue(std::nullopt, start));
  EXPECT_FALSE(limit.isDue(std::nullopt, start + minutes(1) - milliseconds(1)));
  EXPECT_TRUE(limit.isDue(1000, start + minutes(1)));
  EXPECT_FALSE(limit.isDue(1001, start + minutes(1)));
}

TEST(ReportLimit, NoMoreThan64ReportsInAMinute) {
  ReportLimit limit;
  const ReportLimit::Time start{minutes(7)};
  int reports = 0;
  for (uid_t user = 0; user < 100; ++user) {
    reports += limit.isDue(user, start) ? 1 : 0;
  }
  EXPECT_EQ(reports, 64);
  EXPECT_TRUE(limit.isDue(99, start + minutes(1)));
}

class AccessTest : public Test {
 protected:
  // The error of a change, with what is logged.
  std::string changeBy(Caller& caller) { return changeBy(caller, access_); }
  static std::string changeBy(Caller& caller, Access& access) {
    internal::CaptureStderr();
    std::string answer;
    try {
      access.checkMayChange(caller, "CreateInstance");
    } catch (const CIMException& error) {
      EXPECT_EQ(error.getCode(), CIM_ERR_ACCESS_DENIED);
      answer = error.getDescription().toUtf8();
    }
    return answer + "\n" + internal::GetCapturedStderr();
  }

  Log log_{LogLevel::info};
  Access access_{Writers{.accounts = {3999999998}, .groups = {}}, log_};
};

TEST_F(AccessTest, OthersAreRefusedByName) {
  Caller root([] { return uid_t{0}; });
  EXPECT_EQ(changeBy(root), "\n");
  Caller other([] { return uid_t{3999999999}; });
  const std::string answer = "CIM_ERR_ACCESS_DENIED: account 3999999999 may not change instances\n";
  EXPECT_EQ(changeBy(other), answer +
                                 "morvik-cimd: warning: CreateInstance refused: account 3999999999 "
                                 "may not change instances\n");
  EXPECT_EQ(changeBy(other), answer);
}

TEST_F(AccessTest, NewWritersHoldForConnectionsThatThereAre) {
  Caller other([] { return uid_t{3999999999}; });
  EXPECT_NE(changeBy(other), "\n");
  access_.setWriters({.accounts = {3999999999}, .groups = {}});
  EXPECT_EQ(changeBy(other), "\n");
}

// Why the kernel does not answer is for the log.
TEST_F(AccessTest, AnUnknownAccountMayChangeNothing) {
  const std::string reason = "the account at the other end of the connection is unknown";
  for (const bool isError : {false, true}) {
    Caller unknown([&]() -> std::optional<uid_t> {
      if (isError) {
        throw std::system_error(EPROTONOSUPPORT, std::generic_category(), "sock_diag");
      }
      return std::nullopt;
    });
    Access access(Writers{}, log_);
    EXPECT_EQ(changeBy(unknown, access),
              "CIM_ERR_ACCESS_DENIED: " + reason +
                  "\nmorvik-cimd: warning: CreateInstance refused: " + reason +
                  (isError ? ": sock_diag: Protocol not supported\n" : "\n"));
  }
}

}  // namespace
}  // namespace cimd::test
