// Arrays: bounds, and copies that are cheap and independent all the same.
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>
#include <gtest/gtest.h>

using Pegasus::Array;
using Pegasus::Boolean;
using Pegasus::String;
using Pegasus::Uint32;

namespace {

TEST(Array, StartsEmpty) {
  const Array<String> array;
  EXPECT_EQ(array.size(), 0U);
  EXPECT_EQ(array.begin(), array.end());
  EXPECT_THROW(static_cast<void>(array[0]), Pegasus::IndexOutOfBoundsException);
}

TEST(Array, KeepsElementsInOrder) {
  Array<Uint32> array{1, 2};
  array.append(3);
  Uint32 expected = 1;
  for (const Uint32 element : array) {
    EXPECT_EQ(element, expected++);
  }
  EXPECT_EQ(array.size(), 3U);
}

TEST(Array, PositionPastTheEndThrows) {
  Array<Uint32> array{1};
  EXPECT_THROW(array[1] = 2, Pegasus::IndexOutOfBoundsException);
  EXPECT_THROW(static_cast<void>(array[Pegasus::PEG_NOT_FOUND]),
               Pegasus::IndexOutOfBoundsException);
}

TEST(Array, CopiesAreIndependent) {
  const Array<String> original{"a", "b"};
  Array<String> copy = original;
  EXPECT_EQ(&original[0], &static_cast<const Array<String>&>(copy)[0]) << "shared until changed";
  copy[0] = "x";
  copy.append("c");
  EXPECT_EQ(original, (Array<String>{"a", "b"}));
  EXPECT_EQ(copy, (Array<String>{"x", "b", "c"}));
  copy.clear();
  EXPECT_EQ(copy.size(), 0U);
  EXPECT_EQ(original.size(), 2U);
}

TEST(Array, BooleansAreAccessedByReference) {
  Array<Boolean> array{true, false};
  Boolean& second = array[1];
  second = true;
  EXPECT_EQ(array, (Array<Boolean>{true, true}));
}

TEST(Array, AppendingItsOwnElementIsSafe) {
  Array<String> array{"a"};
  for (int i = 0; i < 100; i++) {
    array.append(array[0]);
  }
  EXPECT_EQ(array[100], "a");
}

}  // namespace
