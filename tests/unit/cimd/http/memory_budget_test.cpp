// Which share gives way when the memory for large requests and answers is used up.
#include "http/memory_budget.h"
#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace cimd {
namespace {

class MemoryBudgetTest : public testing::Test {
 protected:
  MemoryShare& share(const Owner& owner, const std::string& name) {
    return shares_.emplace_back(budget_, owner, [this, name] { ended_ += name + ' '; });
  }

  std::shared_ptr<MemoryBudget> budget_ = std::make_shared<MemoryBudget>(100, 10);
  std::string ended_;
  std::deque<MemoryShare> shares_;
};

TEST_F(MemoryBudgetTest, TheAccountWithTheMostGivesUpItsOldest) {
  EXPECT_TRUE(share(1, "a1").resize(20));
  EXPECT_TRUE(share(2, "b1").resize(30));
  EXPECT_TRUE(share(2, "b2").resize(40));
  MemoryShare& third = share(3, "c1");
  EXPECT_TRUE(third.resize(20));
  EXPECT_EQ(ended_, "b1 ");
  EXPECT_TRUE(third.resize(40));
  EXPECT_EQ(ended_, "b1 ");
}

TEST_F(MemoryBudgetTest, AnAccountThatWouldHaveTheMostTakesNothingOfOthers) {
  EXPECT_TRUE(share(1, "a1").resize(40));
  MemoryShare& oldest = share(2, "b1");
  EXPECT_TRUE(oldest.resize(30));
  EXPECT_TRUE(share(2, "b2").resize(60));
  EXPECT_EQ(ended_, "b1 ");
  EXPECT_FALSE(share(3, "c1").resize(70));
  EXPECT_EQ(ended_, "b1 ");
}

TEST_F(MemoryBudgetTest, AShareLargerThanTheWholeBudgetIsRefusedAtOnce) {
  EXPECT_TRUE(share(1, "a1").resize(50));
  EXPECT_FALSE(share(1, "a2").resize(101));
  EXPECT_EQ(ended_, "");
}

TEST_F(MemoryBudgetTest, SmallSharesTakeNothing) {
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(share(1, "a").resize(10));
  }
  EXPECT_TRUE(share(2, "b").resize(100));
  EXPECT_EQ(ended_, "");
}

}  // namespace
}  // namespace cimd
