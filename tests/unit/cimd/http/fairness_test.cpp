// Whose request is worked on next, and whose memory gives way when that for large ones is used up.
#include "http/fairness.h"
#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace cimd {
namespace {

// Jobs that write down their names.
class TurnsTest : public testing::Test {
 protected:
  void add(const Owner& owner, Turn turn, const std::string& name) {
    turns_.add(owner, turn, [this, name] {
      order_ += name + ' ';
      return true;
    });
  }
  // As many parts as `parts`, one in each turn.
  void addParts(const Owner& owner, Turn turn, const std::string& name, int parts) {
    turns_.add(owner, turn, [this, owner, name, parts] {
      order_ += name + ' ';
      if (parts > 1) {
        addParts(owner, Turn::next, name, parts - 1);
      }
      return true;
    });
  }
  std::string order() {
    while (!turns_.isEmpty()) {
      turns_.next()();
    }
    return order_;
  }

  Turns turns_;
  std::string order_;
};

TEST_F(TurnsTest, ARoundEndsAfterSixteenSmallRequestsAndAfterALargeOne) {
  add(1, Turn::large, "L1");
  add(1, Turn::large, "L2");
  for (uid_t i = 0; i < 48; ++i) {
    add(1 + i % 2, Turn::small, "s");
  }
  while (!turns_.isEmpty()) {
    turns_.next()();
    order_ += turns_.isRoundOver() ? "| " : "";
  }
  std::string sixteen;
  for (int i = 0; i < 16; ++i) {
    sixteen += "s ";
  }
  EXPECT_EQ(order_, sixteen + "| L1 | " + sixteen + "| L2 | " + sixteen + "| ");
}

TEST_F(TurnsTest, AccountsTakeTurns) {
  for (const Turn turn : {Turn::small, Turn::large}) {
    for (const char* name : {"a1", "a2", "a3", "a4"}) {
      add(1, turn, name);
    }
    add(2, turn, "b1");
    add(2, turn, "b2");
    add(std::nullopt, turn, "u1");
    order_.clear();
    EXPECT_EQ(order(), "a1 b1 u1 a2 b2 a3 a4 ");
  }
}

TEST_F(TurnsTest, WhoComesLaterWaitsForOneRequestOfEachOtherAccount) {
  for (const char* name : {"a1", "a2", "a3"}) {
    add(1, Turn::small, name);
    add(2, Turn::small, name);
  }
  turns_.next()();
  add(3, Turn::small, "c");
  add(1, Turn::small, "a4");
  EXPECT_EQ(order(), "a1 a1 a2 c a2 a3 a3 a4 ");
}

TEST_F(TurnsTest, AnAccountFinishesALargeRequestBeforeItBeginsAnother) {
  addParts(1, Turn::large, "a1", 3);
  addParts(1, Turn::large, "a2", 2);
  addParts(2, Turn::large, "b1", 2);
  EXPECT_EQ(order(), "a1 b1 a1 b1 a1 a2 a2 ");
}

TEST_F(TurnsTest, SmallRequestsGoBetweenThePartsOfALargeOne) {
  addParts(1, Turn::large, "L", 3);
  turns_.next()();
  add(2, Turn::small, "s1");
  turns_.next()();
  add(1, Turn::small, "s2");
  EXPECT_EQ(order(), "L s1 s2 L L ");
}

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
