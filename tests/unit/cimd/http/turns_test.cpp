// Whose request is worked on next.
#include "http/turns.h"
#include <gtest/gtest.h>

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

TEST_F(TurnsTest, SmallRequestsGoBeforeLargeOnes) {
  add(1, Turn::large, "L1");
  add(1, Turn::large, "L2");
  add(1, Turn::small, "s1");
  add(2, Turn::small, "s2");
  EXPECT_EQ(order(), "s1 s2 L1 L2 ");
}

TEST_F(TurnsTest, AfterSixteenSmallRequestsComesALargeOne) {
  add(1, Turn::large, "L1");
  add(1, Turn::large, "L2");
  for (int i = 0; i < 33; ++i) {
    add(1, Turn::small, "s");
  }
  std::string expected;
  for (const char* large : {"L1 ", "L2 "}) {
    for (int i = 0; i < 16; ++i) {
      expected += "s ";
    }
    expected += large;
  }
  EXPECT_EQ(order(), expected + "s ");
}

TEST_F(TurnsTest, ARoundEndsAfterSixteenSmallRequestsAndAfterALargeOne) {
  add(1, Turn::large, "L");
  add(1, Turn::large, "L");
  for (int i = 0; i < 48; ++i) {
    add(1, Turn::small, "s");
  }
  while (!turns_.isEmpty()) {
    turns_.next()();
    order_ += turns_.isRoundOver() ? "| " : "";
  }
  std::string small;
  for (int i = 0; i < 16; ++i) {
    small += "s ";
  }
  EXPECT_EQ(order_, small + "| L | " + small + "| L | " + small + "| ");
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

}  // namespace
}  // namespace cimd
