// Which data files are refused before anything is deleted, and how entries are compared.
#include "publish.h"

#include <gtest/gtest.h>

using namespace run;

namespace {

Item fanOf(const std::string& number, const std::string& description = "Fan") {
  return {"FAN", number, description, "KVAHalvoranFru1", "KVA", "1.0"};
}

std::string refusalOf(const std::string& text) {
  try {
    checkForm(text);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::refused);
    return failure.what();
  }
  return "";
}

bool isEnough(std::size_t predicted, std::size_t before, double share) {
  try {
    checkShare({Items(predicted), ""}, before, share);
    return true;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::refused);
    return false;
  }
}

show::Entry entry(const char* number) {
  show::Entry entry;
  entry.fruNumber = "F1";
  entry.identifyingNumber = number;
  entry.isOurs = std::string(number).starts_with("KVAHalvoranFru");
  return entry;
}

}  // namespace

TEST(Judge, WholeTextPasses) {
  EXPECT_EQ(refusalOf("\"A1\",\"FAN\",\"\",\"Fan\"\n"), "");
  EXPECT_EQ(refusalOf("# only a comment\n"), "");
  EXPECT_EQ(refusalOf("\xEF\xBB\xBF\"A1\",\"FAN\",\"\",\"a < b\"\r\n"), "");
}

TEST(Judge, DamagedTextIsRefused) {
  EXPECT_EQ(refusalOf(""), "it is empty");
  EXPECT_EQ(refusalOf(" \r\n\t\n"), "it has only blank lines");
  EXPECT_EQ(refusalOf("\xEF\xBB\xBF"), "it has only blank lines");
  EXPECT_EQ(refusalOf("\"A1\",\"FAN\",\"\",\"Fan\""),
            "its last line has no newline, so it is probably cut short");
  EXPECT_EQ(refusalOf(std::string("a\0b\n", 4)),
            "it has zero bytes, so it is damaged or not a text");
  EXPECT_EQ(refusalOf("\x1F\x8B\b and more\n"), "it is compressed by gzip");
  EXPECT_EQ(refusalOf("\"A1\",\"FAN\",\"\",\"Fan\"\r\"A2\",\"FAN\",\"\",\"Fan\"\r"),
            "its lines end with CR alone; save it with LF or CR LF");
  EXPECT_EQ(refusalOf("\"A1\",\"FAN\",\"\",\"Fan\"\r"),
            "its last line has no newline, so it is probably cut short");
}

TEST(Judge, HtmlIsRefused) {
  for (const char* text :
       {"<html>\n", "\n  <!DOCTYPE html>\n", "<?xml version=\"1.0\"?>\n", "\xEF\xBB\xBF<p>\n"}) {
    EXPECT_EQ(refusalOf(text), "it is HTML or XML, not a FRU data file") << text;
  }
}

TEST(Judge, ShareIsOfTheEntriesBefore) {
  EXPECT_TRUE(isEnough(1, 0, 0.5));
  EXPECT_TRUE(isEnough(2, 4, 0.5));
  EXPECT_FALSE(isEnough(1, 4, 0.5));
  EXPECT_TRUE(isEnough(3, 5, 0.5));
  EXPECT_FALSE(isEnough(2, 5, 0.5));
  EXPECT_FALSE(isEnough(4, 5, 1));
  EXPECT_TRUE(isEnough(1, 1000, 0));
}

TEST(Judge, NothingToPublishIsNeverEnough) {
  EXPECT_FALSE(isEnough(0, 0, 0));
  EXPECT_FALSE(isEnough(0, 4, 0));
}

TEST(Judge, ReasonWhyNothingWouldBePublishedIsShown) {
  try {
    checkShare({{}, "line 2: no such clock"}, 0, 0);
    FAIL() << "passed";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(),
                 "no entry of it would be published on this machine; line 2: no such clock");
  }
}

TEST(Judge, EqualItemsAreCounted) {
  const Items two = {fanOf("A1"), fanOf("A1")};
  const Items one = {fanOf("A1")};
  EXPECT_EQ(missingFrom(one, two), one);
  EXPECT_EQ(missingFrom(two, one), Items());
  EXPECT_EQ(missingFrom({fanOf("A1", "Old")}, one), one);
}

TEST(Judge, OnlyOwnEntriesCount) {
  const Items items = ownItems({entry("KVAHalvoranFru1"), entry("Other1")});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].identifyingNumber, "KVAHalvoranFru1");
  EXPECT_EQ(items[0].description, "");
}
