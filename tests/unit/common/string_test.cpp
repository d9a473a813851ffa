// Text: how 8-bit text comes in, how positions behave, how it goes out again.
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>

using Pegasus::Char16;
using Pegasus::String;
using Pegasus::Uint32;

namespace {

// Built during static initialisation, before anything in main() has run.
const String namedEarly("root/kvasd");
const String copiedEarly(String::EMPTY);

std::u16string units(const String& text) {
  return std::u16string(text.view());
}

TEST(String, MayBeBuiltDuringStaticInitialisation) {
  EXPECT_EQ(namedEarly, "root/kvasd");
  EXPECT_EQ(copiedEarly.size(), 0U);
}

TEST(String, Utf8IsDecoded) {
  EXPECT_EQ(units("caf\xC3\xA9"), u"caf\u00E9");
  EXPECT_EQ(units("\xE4\xB8\xAD"), u"\u4E2D");
  EXPECT_EQ(units("Clavier fran\u00E7ais, 105 touches"), u"Clavier fran\u00E7ais, 105 touches");
  EXPECT_EQ(units("\xEF\xBF\xBF"), u"\uFFFF");
  EXPECT_EQ(units("\xF0\x90\x80\x80"), (std::u16string{0xD800, 0xDC00}));
  EXPECT_EQ(units("\xF4\x8F\xBF\xBF"), (std::u16string{0xDBFF, 0xDFFF}));
  EXPECT_EQ(units(std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(String, TextThatIsNotUtf8IsTakenByteForByteAsAWhole) {
  EXPECT_EQ(units("caf\xE9"), u"caf\u00E9");
  EXPECT_EQ(units("\xC3\xA9\xE9"), u"\u00C3\u00A9\u00E9") << "also the part that would be UTF-8";
  EXPECT_EQ(units("\x80\xFF"), u"\u0080\u00FF");
  for (const char* invalid :
       {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC3", "\xF0\x9F\x98"}) {
    EXPECT_EQ(String(invalid).size(), std::strlen(invalid));
  }
}

TEST(String, ALengthLimitsTheBytesBeforeTheyAreDecoded) {
  EXPECT_EQ(String("abcdef", 4), "abcd");
  EXPECT_EQ(String("ab", 4), "ab") << "a zero byte ends the text before";
  EXPECT_EQ(String("ab", 0), "");
  EXPECT_EQ(units(String("caf\xC3\xA9s", 5)), u"caf\u00E9");
  EXPECT_EQ(units(String("caf\xC3\xA9s", 4)), u"caf\u00C3") << "half a character is not UTF-8";
}

TEST(String, AssignReplaces) {
  String text("before");
  EXPECT_EQ(text.assign("after"), "after");
  EXPECT_EQ(text.assign("1234ABX", 4), "1234");
  EXPECT_EQ(text.assign(String("x")), "x");
  EXPECT_EQ(text.assign(text), "x");
  text.clear();
  EXPECT_EQ(text, String::EMPTY);
}

TEST(String, ANullPointerIsRefused) {
  const char* const nothing = nullptr;
  String text;
  EXPECT_THROW(String{nothing}, Pegasus::NullPointer);
  EXPECT_THROW(String(nothing, 3), Pegasus::NullPointer);
  EXPECT_THROW(text.assign(nothing), Pegasus::NullPointer);
  EXPECT_THROW(text.assign(nothing, 3), Pegasus::NullPointer);
  EXPECT_THROW(static_cast<void>(text.find(nothing)), Pegasus::NullPointer);
}

TEST(String, Grows) {
  String text("a");
  text.append(u'b').append(String("c"));
  text += u'd';
  text += text;
  EXPECT_EQ(text, "abcdabcd");
  EXPECT_EQ(String("a") + "b" + String("c"), "abc");
}

TEST(String, AnIndexPastTheEndThrows) {
  const String text("ab");
  EXPECT_EQ(text[1], u'b');
  EXPECT_THROW(static_cast<void>(text[2]), Pegasus::IndexOutOfBoundsException);
  EXPECT_THROW(static_cast<void>(text[PEG_NOT_FOUND]), Pegasus::IndexOutOfBoundsException);
}

TEST(String, FindsTheFirstAndTheLast) {
  const String text("a,b,c");
  EXPECT_EQ(text.find(u','), 1U);
  EXPECT_EQ(text.find(2, u','), 3U);
  EXPECT_EQ(text.find(1, u','), 1U) << "the position itself counts";
  EXPECT_EQ(text.reverseFind(u','), 3U);
  EXPECT_EQ(text.find("b,"), 2U);
  EXPECT_EQ(text.find(String("b,")), 2U);
  EXPECT_EQ(text.find(""), 0U);
  EXPECT_EQ(text.find(u'x'), PEG_NOT_FOUND);
  EXPECT_EQ(text.find("bc"), PEG_NOT_FOUND);
  EXPECT_EQ(text.reverseFind(u'x'), PEG_NOT_FOUND);
}

TEST(String, FindingFromTheEndOnFindsNothing) {
  const String text("aa");
  for (const Uint32 position : {2U, 3U, PEG_NOT_FOUND - 1, PEG_NOT_FOUND}) {
    EXPECT_EQ(text.find(position, u'a'), PEG_NOT_FOUND);
  }
  EXPECT_EQ(String().find(0, u'a'), PEG_NOT_FOUND);
}

TEST(String, SubStringClampsToTheText) {
  const String text("abcdef");
  EXPECT_EQ(text.subString(2), "cdef");
  EXPECT_EQ(text.subString(2, 3), "cde");
  EXPECT_EQ(text.subString(2, 0), "");
  EXPECT_EQ(text.subString(2, 100), "cdef");
  EXPECT_EQ(text.subString(5, PEG_NOT_FOUND - 1), "f");
  EXPECT_EQ(text.subString(6), "");
  EXPECT_EQ(text.subString(7, 1), "");
  EXPECT_EQ(text.subString(PEG_NOT_FOUND, 1), "");
  EXPECT_EQ(String().subString(0, 14), "");
}

TEST(String, ComparesUnitByUnit) {
  EXPECT_TRUE(String("a") == "a");
  EXPECT_TRUE("a" == String("a"));
  EXPECT_TRUE(String("a") != "A");
  EXPECT_TRUE("a" != String("ab"));
  EXPECT_TRUE(String("a") != String("b"));
  EXPECT_TRUE(String("a") < String("b"));
  EXPECT_FALSE(String("b") < String("a"));
  EXPECT_LT(String::compare("a", "ab"), 0);
  EXPECT_EQ(String::compare("a", "a"), 0);
  EXPECT_GT(String::compare("b", "a"), 0);
  EXPECT_TRUE(String::equal("a", "a"));
}

TEST(String, LetterCaseIsFoldedInAsciiOnly) {
  String text("AbZ[\xC3\x84");
  text.toLower();
  EXPECT_EQ(units(text), u"abz[\u00C4");
  EXPECT_TRUE(String::equalNoCase("KVAHalvoranFru", "kvahalvoranfru"));
  EXPECT_FALSE(String::equalNoCase("ZH_C", "ZH_CN"));
  EXPECT_FALSE(String::equalNoCase("\xC3\xA4", "\xC3\x84"));
  EXPECT_EQ(String::compareNoCase("FruNumber", "frunumber"), 0);
  EXPECT_LT(String::compareNoCase("A", "b"), 0);
  EXPECT_GT(String::compareNoCase("B", "a"), 0);
  EXPECT_LT(String::compareNoCase("a", "AB"), 0);
  EXPECT_GT(String::compareNoCase("ab", "A"), 0);
  EXPECT_EQ(String::compareNoCase("", ""), 0);
}

TEST(String, BecomesAZeroTerminatedTextOfOneBytePerUnit) {
  const std::unique_ptr<char[]> text(String("caf\xC3\xA9").allocateCString());
  EXPECT_STREQ(text.get(), "caf\xE9");
  const std::unique_ptr<char[]> empty(String().allocateCString());
  EXPECT_STREQ(empty.get(), "");
}

TEST(String, AllocatesExtraBytesAfterTheText) {
  const std::unique_ptr<char[]> text(String("ab").allocateCString(4, false));
  std::strcat(text.get(), "wpk");  // NOLINT: what the extra bytes are for
  EXPECT_STREQ(text.get(), "abwpk");
}

TEST(String, AUnitOfMoreThanEightBitsThrowsOrIsCut) {
  const String text(std::u16string{u'a', 0x4E2D});
  EXPECT_THROW(static_cast<void>(text.allocateCString()), Pegasus::TruncatedCharacter);
  EXPECT_THROW(static_cast<void>(String(std::u16string{0x100}).allocateCString(0, false)),
               Pegasus::TruncatedCharacter);
  const std::unique_ptr<char[]> cut(text.allocateCString(0, true));
  EXPECT_STREQ(cut.get(), "a\x2D");
}

TEST(String, IsWrittenAsUtf8) {
  for (const char* text : {"", "abc", "caf\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80"}) {
    EXPECT_EQ(String(text).toUtf8(), text);
    std::ostringstream stream;
    stream << String(text);
    EXPECT_EQ(stream.str(), text);
  }
  EXPECT_EQ(String("caf\xE9").toUtf8(), "caf\xC3\xA9");
}

TEST(String, ASurrogateWithoutPartnerIsWrittenAsTheReplacementCharacter) {
  for (const auto& text : {std::u16string{0xD800}, std::u16string{0xDC00}}) {
    EXPECT_EQ(String(text).toUtf8(), "\xEF\xBF\xBD");
  }
  EXPECT_EQ(String(std::u16string{0xD800, u'a'}).toUtf8(),
            "\xEF\xBF\xBD"
            "a");
  EXPECT_EQ(String(std::u16string{0xDC00, 0xD800}).toUtf8(), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

}  // namespace
