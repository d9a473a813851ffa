// JSON: commas, escapes, line ends.
#include "json.h"

#include <gtest/gtest.h>

#include <sstream>

using Pegasus::String;

namespace show {
namespace {

std::string textOf(const String& text, bool hasOnlyAscii = false) {
  std::ostringstream out;
  JsonWriter(out, hasOnlyAscii).value(text);
  return out.str();
}

TEST(Json, TextIsEscapedWhereItMustBe) {
  EXPECT_EQ(textOf("a\"b\\c/d"), R"("a\"b\\c/d")");
  EXPECT_EQ(textOf("\n\t\x01\x7f"), R"("\u000a\u0009\u0001\u007f")");
  EXPECT_EQ(textOf("für 日本 \U0001F600"), "\"für 日本 \U0001F600\"");
}

TEST(Json, WhatHurtsATerminalIsEscaped) {
  EXPECT_EQ(textOf("\u009b\u202e\u2028"), R"("\u009b\u202e\u2028")");
}

TEST(Json, AsciiOnly) {
  EXPECT_EQ(textOf("ü日\U0001F600", true), R"("\u00fc\u65e5\ud83d\ude00")");
}

TEST(Json, LoneSurrogatesDoNotGetOut) {
  EXPECT_EQ(textOf(String(std::u16string(1, char16_t{0xD800}))), "\"\uFFFD\"");
}

TEST(Json, ValuesOfEachKind) {
  std::ostringstream out;
  JsonWriter json(out, false);
  json.openObject();
  json.key("text").value("x");
  json.key("nothing").value(std::optional<String>());
  json.key("true").value(true);
  json.key("number").value(std::uint64_t{18446744073709551615U});
  json.key("none").openArray().closeArray();
  json.key("list").openArray().value("a").value("b").closeArray();
  json.key("inner").openObject().key("a").value(false).closeObject();
  json.closeObject();
  EXPECT_EQ(out.str(),
            R"({"text": "x", "nothing": null, "true": true, "number": 18446744073709551615, )"
            R"("none": [], "list": ["a", "b"], "inner": {"a": false}})"
            "\n");
}

TEST(Json, ObjectsInAListStandOnLinesOfTheirOwn) {
  std::ostringstream out;
  JsonWriter json(out, false);
  json.openObject().key("list").openArray();
  json.openObject().key("a").openArray().closeArray().closeObject();
  json.openObject().closeObject();
  json.closeArray().key("end").value(true).closeObject();
  EXPECT_EQ(out.str(), "{\"list\": [\n{\"a\": []},\n{}\n], \"end\": true}\n");
}

}  // namespace
}  // namespace show
