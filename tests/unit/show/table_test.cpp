// Tables on terminals and in files, their columns, and the bytes of CSV.
#include "table.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace show {
namespace {

using Cells = std::vector<std::optional<Pegasus::String>>;

const Columns two = {{"a", "A"}, {"longName", "B"}};

std::string written(const Columns& columns, const std::vector<Table::Row>& rows,
                    const TableForm& form = {}, std::size_t width = 0) {
  std::ostringstream out;
  const Output output = {out, {.columns = width}, form};
  Table table(output, columns);
  for (const Table::Row& row : rows) {
    table.add(row);
  }
  table.end();
  return out.str();
}

std::string onTerminal(std::size_t width, const Cells& cells, bool isWrapped = false) {
  return written(two, {{cells, Style::plain, isWrapped}}, {}, width);
}

Pegasus::String many(std::size_t count, char c) {
  return Pegasus::String(std::string(count, c));
}

TEST(Table, ColumnsAreAsWideAsTheirTexts) {
  EXPECT_EQ(onTerminal(0, {"日本", "x"}), "A     B\n日本  x\n");
  EXPECT_EQ(onTerminal(0, {std::nullopt, ""}), "A  B\n-  \n") << "a missing value";
}

TEST(Table, WidestColumnIsCutFirst) {
  EXPECT_EQ(onTerminal(30, {"123456789", many(50, 'x')}),
            "A          B\n123456789  " + std::string(18, 'x') + "…\n");
}

TEST(Table, ColumnsOfTheSameWidthAreCutAlike) {
  EXPECT_EQ(onTerminal(22, {many(50, 'x'), many(50, 'y')}),
            "A           B\nxxxxxxxxx…  yyyyyyyyy…\n");
}

TEST(Table, NoColumnBecomesTooNarrowToRead) {
  EXPECT_EQ(onTerminal(3, {many(50, 'x'), "12345678"}), "A         B\nxxxxxxx…  12345678\n");
}

TEST(Table, HugeTextIsCutQuickly) {
  EXPECT_EQ(onTerminal(10, {"1", many(5000000, 'x')}), "A  B\n1  xxxxxxx…\n");
}

TEST(Table, WrappedRowLosesNothing) {
  EXPECT_EQ(onTerminal(19, {"1", "a reason of many words"}, true),
            "A  B\n1  a reason of many\n   words\n");
}

TEST(Table, ColumnsAreChosenByNameOrHeadingInAnyCase) {
  EXPECT_EQ(written(two, {{{"1", "2"}}}, {.columns = {"LONGNAME", "a"}}), "B  A\n2  1\n");
  EXPECT_EQ(written(two, {{{"1", "2"}}}, {.isCsv = true, .columns = {"longname"}}),
            "longName\r\n2\r\n");
  EXPECT_EQ(written(two, {{{"1", "2"}}}, {.isCsv = true, .columns = {"b"}}), "longName\r\n2\r\n");
}

TEST(Table, UnknownColumnIsAnErrorThatNamesTheOthers) {
  try {
    checkColumns({.columns = {"A", "c"}}, two);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "--columns: no column 'c'; there are a, longName");
  }
}

TEST(Table, HeadingsCanBeLeftOut) {
  EXPECT_EQ(written(two, {{{"1", "2"}}}, {.hasHeadings = false}), "1  2\n");
  EXPECT_EQ(written(two, {{{"1", "2"}}}, {.isCsv = true, .hasHeadings = false}), "1,2\r\n");
}

TEST(Table, ColumnsOnDemandAreShownInCsvAndIfAskedFor) {
  const Columns columns = {{"a", "A"}, {"b", "B", Shown::onDemand}};
  EXPECT_EQ(written(columns, {{{"1", "2"}}}), "A\n1\n");
  EXPECT_EQ(written(columns, {{{"1", "2"}}}, {.columns = {"b"}}), "B\n2\n");
  EXPECT_EQ(written(columns, {{{"1", "2"}}}, {.isCsv = true}), "a,b\r\n1,2\r\n");
}

TEST(Table, ColumnThatOnlyCountsIfFilledIsDroppedIfEmpty) {
  const Columns columns = {{"a", "A", Shown::ifFilled}, {"b", "B"}};
  const Cells empty = {std::nullopt, "2"};
  EXPECT_EQ(written(columns, {{empty}, {empty}}), "B\n2\n2\n");
  EXPECT_EQ(written(columns, {{empty}, {{"1", "2"}}}), "A  B\n-  2\n1  2\n");
  EXPECT_EQ(written(columns, {{empty}}, {.columns = {"a"}}), "A\n-\n");
}

const Columns fixedColumns = {{"line", "LINE", Shown::always, 4},
                              {"kind", "KIND", Shown::always, 4},
                              {"words", "WORDS", Shown::always, 4}};

TEST(Table, FixedColumnsMoveForLongerTexts) {
  EXPECT_EQ(written(fixedColumns, {{{"7", "abcdef", "x"}}, {{"12345", "a", "y"}}}),
            "LINE  KIND  WORDS\n   7  abcdef x\n12345  a     y\n");
}

TEST(Table, LastFixedColumnGoesOnInTheNextLine) {
  const std::vector<Table::Row> rows = {{{"7", "kind", "words that are never cut, at all"}}};
  EXPECT_EQ(written(fixedColumns, rows, {}, 36),
            "LINE  KIND  WORDS\n   7  kind  words that are never\n            cut, at all\n");
  EXPECT_EQ(written(fixedColumns, rows, {}, 24),
            "LINE  KIND  WORDS\n   7  kind\n      words that are\n      never cut, at all\n")
      << "below its row if there is too little room beside it";
}

TEST(Csv, FieldsAreQuotedAsNeeded) {
  EXPECT_EQ(written(two, {{{"a,b", "\"c\" d"}}, {{"e\nf", "g\rh"}}, {{std::nullopt, ""}}},
                    {.isCsv = true}),
            "a,longName\r\n\"a,b\",\"\"\"c\"\" d\"\r\n\"e\nf\",\"g\rh\"\r\n,\r\n");
}

TEST(Csv, FileGetsTextsAsTheyAreAndATerminalHarmlessOnes) {
  for (const bool isTerminal : {false, true}) {
    std::ostringstream out;
    const Output output = {out, {.isTerminal = isTerminal}, {.isCsv = true, .hasHeadings = false}};
    Table(output, two).add({{"a\u009b\u202eb", ""}});
    EXPECT_EQ(out.str(), isTerminal ? "a\uFFFD\uFFFDb,\r\n" : "a\u009b\u202eb,\r\n");
  }
}

TEST(Csv, NoFieldIsAFormula) {
  std::string expected;
  std::vector<Table::Row> rows;
  for (const auto& [text, field] : {std::pair("=1", "'=1"),
                                    {"+1", "'+1"},
                                    {"-1", "'-1"},
                                    {"@x", "'@x"},
                                    {"\tx", "'\tx"},
                                    {"\rx", "\"'\rx\""},
                                    {"=\"a\",b", "\"'=\"\"a\"\",b\""},
                                    {"1=1", "1=1"},
                                    {"'x", "'x"}}) {
    rows.push_back({{text, ""}});
    expected += std::string(field) + ",\r\n";
  }
  EXPECT_EQ(written(two, rows, {.isCsv = true, .hasHeadings = false}), expected);
}

}  // namespace
}  // namespace show
