#include "xml/text.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

namespace Pegasus::xml {
namespace {

using Append = void (*)(std::string&, const String&);

std::string written(Append append, const std::u16string& units) {
  std::string out = "before ";
  append(out, String(units));
  return out.substr(7);
}

std::string escaped(const std::u16string& units) {
  return written(appendAttributeText, units);
}

TEST(XmlText, PlainTextStaysAsItIs) {
  EXPECT_EQ(escaped(u""), "");
  EXPECT_EQ(escaped(u" Hot swap  fan, 1.0 '%;/ "), " Hot swap  fan, 1.0 '%;/ ");
}

TEST(XmlText, ElementTextKeepsBlanksThatReadersTrim) {
  for (const Append append : {appendElementText, appendKeyText}) {
    EXPECT_EQ(written(append, u""), "");
    EXPECT_EQ(written(append, u"Hot swap fan"), "Hot swap fan");
    EXPECT_EQ(written(append, u" "), "&#32;");
    EXPECT_EQ(written(append, u"   "), "&#32;&#32;&#32;");
    EXPECT_EQ(written(append, u" a b "), "&#32;a b&#32;");
    EXPECT_EQ(written(append, u"a   b"), "a &#32;&#32;b");
    EXPECT_EQ(written(append, u"<  \t \U0001F600"), "&lt; &#32;&#9; \U0001F600");
  }
}

TEST(XmlText, KeyTextHasControlCharactersAsReferences) {
  EXPECT_EQ(written(appendKeyText, u"\x01 a\x1F "), "&#1; a&#31;&#32;");
  std::string out;
  for (const char16_t* text : {u"\xFFFE", u"\xD800"}) {
    EXPECT_THROW(appendKeyText(out, String(std::u16string(text))), InvalidValueException);
  }
  EXPECT_THROW(appendKeyText(out, String(std::u16string(1, u'\0'))), InvalidValueException);
}

TEST(XmlText, MarkupIsEscaped) {
  EXPECT_EQ(escaped(u"a&b<c>d\"e"), "a&amp;b&lt;c&gt;d&quot;e");
  EXPECT_EQ(escaped(u"]]>"), "]]&gt;");
  EXPECT_EQ(escaped(u"&amp;"), "&amp;amp;");
}

TEST(XmlText, WhiteSpaceThatXmlWouldChangeIsWrittenAsReference) {
  EXPECT_EQ(escaped(u"a\tb\nc\rd e"), "a&#9;b&#10;c&#13;d e");
}

TEST(XmlText, NonAsciiTextIsWrittenAsUtf8) {
  EXPECT_EQ(escaped(u"\u0080 caf\u00e9 \u07ff \u0800 \u4e2d \ud7ff \ue000 \ufffd"),
            "\xC2\x80 caf\xC3\xA9 \xDF\xBF \xE0\xA0\x80 \xE4\xB8\xAD \xED\x9F\xBF \xEE\x80\x80 "
            "\xEF\xBF\xBD");
  EXPECT_EQ(escaped(u"\U00010000 \U0001F600 \U0010FFFF"),
            "\xF0\x90\x80\x80 \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF");
  EXPECT_EQ(escaped(u"\u007f"), "\x7F");
}

TEST(XmlText, TextThatCameAsIso8859_1IsWrittenAsUtf8) {
  std::string out;
  appendAttributeText(out, String("L\xFC"
                                  "fter \xB5"));
  EXPECT_EQ(out, "L\u00fcfter \u00b5");
}

TEST(XmlText, ForbiddenCharactersThrow) {
  std::vector<std::u16string> forbidden = {u"\xFFFE",
                                           u"\xFFFF",
                                           u"\xD800",
                                           u"\xDC00",
                                           u"\xDBFFx",
                                           u"\xDC00\xD800",
                                           u"\xD800\xD800\xDC00"};
  for (char16_t c = 0; c < 0x20; ++c) {
    if (c != u'\t' && c != u'\n' && c != u'\r') {
      forbidden.emplace_back(1, c);
    }
  }
  EXPECT_EQ(forbidden.size(), 36U);
  for (const std::u16string& text : forbidden) {
    std::string out;
    EXPECT_THROW(appendAttributeText(out, String(u"good " + text)), InvalidValueException);
    EXPECT_THROW(appendElementText(out, String(u"good " + text)), InvalidValueException);
  }
}

TEST(XmlText, ForbiddenCharactersAreReplacedWhereTheTextMustGetThrough) {
  std::string out = "before ";
  appendAttributeTextOrReplaced(out, String(std::u16string(u"a\x01<\xD800z\xFFFF\U0001F600")));
  EXPECT_EQ(out, "before a?&lt;?z?\U0001F600");
}

TEST(XmlText, ExcerptsEndBetweenCharacters) {
  EXPECT_EQ(excerpt("short"), "short");
  EXPECT_EQ(excerpt(std::string(80, 'x')), std::string(80, 'x'));
  EXPECT_EQ(excerpt(std::string(81, 'x')), std::string(80, 'x') + "...");
  EXPECT_EQ(excerpt(std::string(79, 'x') + "\u00e9" + "y"), std::string(79, 'x') + "...");
}

}  // namespace
}  // namespace Pegasus::xml
