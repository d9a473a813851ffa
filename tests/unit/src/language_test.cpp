// The language of an entry against the environment variable LANG.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "cim/selection.h"

using Pegasus::String;

namespace {

bool accepts(const char* lang, const String& line) {
  if (lang == nullptr) {
    unsetenv("LANG");
  } else {
    setenv("LANG", lang, 1);
  }
  return getLanguageQualifier(line);
}

bool acceptsValue(const char* lang, const std::string& value) {
  return accepts(lang, String(("\"1\",\"KEYBOARD\",\"LANGUAGE=" + value + "\",\"x\"").c_str()));
}

TEST(Language, IsTheFirstTwoLettersOfLangAsWritten) {
  for (const char* code :
       {"en", "de", "fr", "it", "ja", "ko", "EN", "De", "fR", "IT", "Ja", "KO"}) {
    EXPECT_TRUE(acceptsValue(code, code)) << code;
    EXPECT_TRUE(acceptsValue((std::string(code) + "_XX.UTF-8").c_str(), code)) << code;
  }
}

TEST(Language, IsComparedCaseSensitively) {
  EXPECT_FALSE(acceptsValue("en_US", "EN"));
  EXPECT_FALSE(acceptsValue("EN", "en"));
  EXPECT_FALSE(acceptsValue("de_DE.UTF-8", "DE"));
}

TEST(Language, IsComparedAsAWhole) {
  EXPECT_FALSE(acceptsValue("en_US", "en_US"));
  EXPECT_FALSE(acceptsValue("en_US", "e"));
  EXPECT_FALSE(acceptsValue("en_US", " en"));
  EXPECT_FALSE(acceptsValue("en_US", "en "));
  EXPECT_FALSE(acceptsValue("en_US", ""));
  EXPECT_FALSE(acceptsValue("en_US", "de"));
}

TEST(Language, IsEmptyForAnyOtherLang) {
  for (const char* lang : {"", "e", "C", "POSIX", "es_ES", "zh_CN", "zh_TW", "ZH_TW.Big5", "zh"}) {
    EXPECT_TRUE(acceptsValue(lang, "")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "en")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh_T")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh_TW")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "ZH_CN")) << lang;
  }
}

TEST(Language, IsEmptyForAnUnsetLang) {
  EXPECT_TRUE(acceptsValue(nullptr, ""));
  EXPECT_FALSE(acceptsValue(nullptr, "en"));
}

TEST(Language, OnlyTheFirstTwoLettersOfLangCount) {
  EXPECT_TRUE(acceptsValue("english", "en"));
  EXPECT_TRUE(acceptsValue("it:", "it"));
  EXPECT_TRUE(acceptsValue("xx_en", ""));
}

TEST(Language, BytesPastAsciiAreNoCode) {
  EXPECT_TRUE(acceptsValue("\xFF\xFE", ""));
  EXPECT_TRUE(acceptsValue("d\xC3\xA9", ""));
  EXPECT_TRUE(acceptsValue("de\xFF", "de"));
}

TEST(Language, IsReadAnewAtEveryCall) {
  EXPECT_TRUE(acceptsValue("en_US", "en"));
  EXPECT_TRUE(acceptsValue("de_DE", "de"));
}

TEST(Language, ValueRunsToTheEndOfTheLineWithoutClosingQuote) {
  EXPECT_TRUE(accepts("en_US", "LANGUAGE=en"));
  EXPECT_TRUE(accepts("C", "LANGUAGE="));
}

TEST(Language, WithoutTokenTheTextFromPositionEightIsJudged) {
  EXPECT_TRUE(accepts("en_US", "01234567en\"x"));
  EXPECT_TRUE(accepts("en_US", "01234567en"));
  EXPECT_FALSE(accepts("en_US", "0123456en\"x"));
  EXPECT_TRUE(accepts("C", "01234567\"x"));
  EXPECT_TRUE(accepts("C", "0123")) << "past the end the value is empty";
}

TEST(Language, TheFirstTokenCounts) {
  EXPECT_TRUE(accepts("en_US", "LANGUAGE=en\"LANGUAGE=de\""));
  EXPECT_TRUE(accepts("en_US", R"("1","KEYBOARD","","as LANGUAGE=en")"));
  EXPECT_FALSE(accepts("de_DE", "LANGUAGE=en\"LANGUAGE=de\""));
}

}  // namespace
