// A table: the widths of its columns.
#include "table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace show {
namespace {

std::string written(const Table& table, std::size_t columns) {
  std::ostringstream out;
  table.write(out, {.columns = columns});
  return out.str();
}

TEST(Table, ColumnsAreAsWideAsTheirTexts) {
  Table table({"A", "LONG", "C"});
  table.add({"日本", "x", "last"});
  EXPECT_EQ(written(table, 0), "A     LONG  C\n日本  x     last\n");
}

TEST(Table, TheWidestColumnIsCutFirst) {
  Table table({"A", "B"});
  table.add({"123456789", std::string(50, 'x')});
  EXPECT_EQ(written(table, 30), "A          B\n123456789  " + std::string(18, 'x') + "…\n");
}

TEST(Table, ColumnsOfTheSameWidthAreCutAlike) {
  Table table({"A", "B"});
  table.add({std::string(50, 'x'), std::string(50, 'y')});
  EXPECT_EQ(written(table, 22), "A           B\nxxxxxxxxx…  yyyyyyyyy…\n");
}

TEST(Table, NoColumnIsCutBelowWhatTellsSomething) {
  Table table({"A", "B"});
  table.add({std::string(50, 'x'), "12345678"});
  EXPECT_EQ(written(table, 3), "A         B\nxxxxxxx…  12345678\n");
}

TEST(Table, AHugeTextIsNoBurden) {
  Table table({"A"});
  table.add({std::string(5000000, 'x')});
  EXPECT_EQ(written(table, 10), "A\nxxxxxxxxx…\n");
}

}  // namespace
}  // namespace show
