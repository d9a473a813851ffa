#include "xml/document.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Pegasus::xml {
namespace {

std::string repeated(const std::string& text, std::size_t count) {
  std::string out;
  out.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) {
    out += text;
  }
  return out;
}

std::string rootText(const std::string& xml) {
  const XmlDocument document(xml);
  return std::string(document.root().text());
}

// The message of the refusal; the empty text when the document is accepted.
std::string refusal(const std::string& xml) {
  try {
    const XmlDocument document(xml);
  } catch (const XmlValidationError&) {
    return "not CIM-XML";
  } catch (const XmlException& error) {
    return error.getMessage().toUtf8();
  }
  return "";
}

struct Refused {
  std::string xml;
  std::string what;
};

void expectRefused(const std::vector<Refused>& cases) {
  for (const Refused& each : cases) {
    EXPECT_EQ(refusal(each.xml), "XML error at byte " + each.what) << each.xml;
  }
}

TEST(XmlDocument, WalksElementsInOrder) {
  const XmlDocument document("<a>\n <b/> text <c><d/></c>\n<!-- x --><?p?><e/></a>\n");
  const Element root = document.root();
  EXPECT_EQ(root.name(), "a");
  const Element b = root.firstChild();
  EXPECT_EQ(b.name(), "b");
  EXPECT_FALSE(b.firstChild());
  const Element c = b.next();
  EXPECT_EQ(c.name(), "c");
  EXPECT_EQ(c.firstChild().name(), "d");
  EXPECT_EQ(c.next().name(), "e");
  EXPECT_FALSE(c.next().next());
  EXPECT_FALSE(root.next());
}

TEST(XmlDocument, EmptyElementHandleHasNothing) {
  const Element nothing;
  EXPECT_FALSE(nothing);
  EXPECT_EQ(nothing.name(), "");
  EXPECT_EQ(nothing.text(), "");
  EXPECT_FALSE(nothing.hasText());
  EXPECT_FALSE(nothing.attribute("A"));
  EXPECT_FALSE(nothing.firstChild());
  EXPECT_FALSE(nothing.next());
}

TEST(XmlDocument, AttributesAreFoundByExactName) {
  const XmlDocument document("<a One='1' TWO = \"\" three='a&amp;&#x41;&quot;\"&apos;&lt;'  />");
  EXPECT_EQ(document.root().attribute("One"), "1");
  EXPECT_EQ(document.root().attribute("TWO"), "");
  EXPECT_EQ(document.root().attribute("three"), "a&A\"\"'<");
  EXPECT_FALSE(document.root().attribute("ONE"));
  EXPECT_FALSE(document.root().attribute("On"));
  EXPECT_FALSE(document.root().attribute("One2"));
}

TEST(XmlDocument, TextIsExact) {
  EXPECT_EQ(rootText("<a>  x  </a>"), "  x  ");
  EXPECT_EQ(rootText("<a> </a>"), " ");
  EXPECT_EQ(rootText("<a>\t\n </a>"), "\t\n ");
  EXPECT_EQ(rootText("<a></a>"), "");
  EXPECT_EQ(rootText("<a/>"), "");
  EXPECT_EQ(rootText("<a>]] > ]></a>"), "]] > ]>");
}

TEST(XmlDocument, TextInPiecesIsJoined) {
  EXPECT_EQ(rootText("<a> <!-- c --> </a>"), "  ");
  EXPECT_EQ(rootText("<a><!-- c --> x<!----> </a>"), " x ");
  EXPECT_EQ(rootText("<a>x<![CDATA[<y>&amp;]]>z</a>"), "x<y>&amp;z");
  EXPECT_EQ(rootText("<a><![CDATA[ ]]> <![CDATA[]]>b</a>"), "  b");
  EXPECT_EQ(rootText("<a><![CDATA[]]]]><![CDATA[>]]></a>"), "]]>");
  EXPECT_EQ(rootText("<a>x<?p y?>z</a>"), "xz");
}

TEST(XmlDocument, WhiteSpaceBetweenElementsIsNotText) {
  EXPECT_FALSE(XmlDocument("<a>\n<b>x</b>\r\n\t </a>").root().hasText());
  EXPECT_FALSE(XmlDocument("<a/>").root().hasText());
  EXPECT_TRUE(XmlDocument("<a>x<b/></a>").root().hasText());
  EXPECT_TRUE(XmlDocument("<a><b/>x</a>").root().hasText());
  EXPECT_TRUE(XmlDocument("<a><b/><![CDATA[x]]></a>").root().hasText());
}

TEST(XmlDocument, ReferencesAreResolved) {
  EXPECT_EQ(rootText("<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;&#x00e9;&#x1F600;&#0000067;</a>"),
            "<>&\"'AB\u00e9\U0001F600C");
  EXPECT_EQ(rootText("<a>&amp;lt;</a>"), "&lt;");
}

TEST(XmlDocument, LineEndsBecomeLineFeedsUnlessTheyAreReferences) {
  EXPECT_EQ(rootText("<a>1\r\n2\r3\n4</a>"), "1\n2\n3\n4");
  EXPECT_EQ(rootText("<a>&#13;&#10;&#9;</a>"), "\r\n\t");
  const XmlDocument document("<a b='1\n2\t3&#10;4&#9;5'/>");
  EXPECT_EQ(document.root().attribute("b"), "1 2 3\n4\t5");
}

TEST(XmlDocument, NonAsciiTextStaysUtf8) {
  EXPECT_EQ(rootText("<a>caf\u00e9 \u4e2d \U0001F600 \u0085 \x7F</a>"),
            "caf\u00e9 \u4e2d \U0001F600 \u0085 \x7F");
}

TEST(XmlDocument, DeclarationAndByteOrderMarkAreAccepted) {
  for (const char* declaration :
       {"", "\xEF\xBB\xBF", "<?xml version='1.0'?>",
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n",
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding='UTF-8' standalone='yes'?>",
        "<?xml version='1.0' encoding='US-ASCII'?>", "<!-- c --><?p x?>\n"}) {
    EXPECT_EQ(rootText(std::string(declaration) + "<a>x</a>"), "x") << declaration;
  }
}

TEST(XmlDocument, OtherDeclarationsAreRefused) {
  for (const char* declaration :
       {" <?xml version='1.0'?>", "<?xml encoding='utf-8'?>", "<?xml version='2.0'?>",
        "<?xml version='1.0' encoding='ISO-8859-1'?>", "<?xml version='1.0' encoding='utf-16'?>",
        "<?xml version='1.0'", "<?xml version='1.0'>", "<?xml?>", "<?XML version='1.0'?>",
        "<?xml version='1.0' other='1'?>", "<?xml version='1.0'?><?xml version='1.0'?>",
        "<!-- c --><?xml version='1.0'?>", "<?xml version='1.0' encoding=''?>",
        "<?xml version='&#49;.0'?>", "<?xml version='1.0' encoding='&#117;tf-8'?>"}) {
    EXPECT_NE(refusal(std::string(declaration) + "<a/>"), "") << declaration;
  }
}

TEST(XmlDocument, MessageShowsWhatIsWrongAndWhere) {
  expectRefused({{"<a><b></a>", "9: an end tag without its start tag: a"},
                 {"<a></ab>", "7: an end tag without its start tag: ab"},
                 {"<a>&foo;</a>", "3: '&' that does not begin a reference of XML"},
                 {"<a>\xFF</a>", "3: not UTF-8"},
                 {"<a>\x01</a>", "3: a control character"},
                 {"<a>&#1;</a>", "3: a reference to a character that XML forbids"},
                 {"<a b='1' b='2'/>", "10: a second attribute b"},
                 {"<a b='1'c='2'/>", "8: '>' expected"},
                 {"<a b='<'/>", "6: '<' in an attribute value"},
                 {"<a/><b/>", "4: a second root element"},
                 {"<a/>x", "4: text outside the root element"},
                 {"x<a/>", "0: text outside the root element"},
                 {"<a><b>", "6: the text ends inside element b"},
                 {"<!-- -->", "8: there is no element"},
                 {"<", "1: a name expected"},
                 {"<1a/>", "1: a name expected"},
                 {"<a></>", "5: a name expected"},
                 {"<a>&#;</a>", "3: a character reference without number or end"}});
}

TEST(XmlDocument, DocumentTypesAreRefused) {
  for (const char* xml :
       {"<!DOCTYPE a><a/>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>",
        "<?xml version='1.0'?><!DOCTYPE a SYSTEM 'a.dtd'><a/>", "<a><!DOCTYPE b></a>"}) {
    // XML allows them; CIM-XML does not.
    EXPECT_THROW(XmlDocument{std::string(xml)}, XmlValidationError) << xml;
  }
  expectRefused({{"<a><!ELEMENT b></a>", "3: a declaration, which CIM-XML messages do not have"},
                 {"<!doctype a><a/>", "0: a declaration, which CIM-XML messages do not have"}});
}

TEST(XmlDocument, OnlyOneRootAndNoTextBesideIt) {
  for (const char* xml : {"", " \n", "x", "\xEF\xBB\xBF", "<!-- only -->", "<?xml version='1.0'?>",
                          "<a/><a/>", "<a></a><b></b>", "<a/>&#32;", "<a/><![CDATA[ ]]>",
                          "<![CDATA[x]]><a/>", "<a/>x<!-- c -->", "</a>", "<a/></a>"}) {
    EXPECT_NE(refusal(xml), "") << xml;
  }
  EXPECT_EQ(refusal(" \n<a/> <!-- c --> <?p?>\n"), "");
}

TEST(XmlDocument, BrokenMarkupIsRefused) {
  for (const char* xml : {"<a",
                          "<a>",
                          "<a/",
                          "<a/ >",
                          "< a/>",
                          "<1/>",
                          "<a></a",
                          "<a></ a>",
                          "<a></b>",
                          "<a></A>",
                          "<a><b></a></b>",
                          "<a><",
                          "<a b></a>",
                          "<a b=></a>",
                          "<a b=1/>",
                          "<a b='1/>",
                          "<a b='1\"/>",
                          "<a 1='1'/>",
                          "<a b='&'/>",
                          "<a b='&x;'/>",
                          "<a/ b='1'>",
                          "<a><!-></a>",
                          "<a><!-- -- --></a>",
                          "<a><!-- ---></a>",
                          "<a><!-- </a>",
                          "<a><!x></a>",
                          "<a><![CDATA[</a>",
                          "<a><![cdata[]]></a>",
                          "<a><![CDATA[]]</a>",
                          "<a>]]></a>",
                          "<a><?p </a>",
                          "<a><? p?></a>",
                          "<a><?xml version='1.0'?></a>",
                          "<a><?p!?></a>",
                          "<a></a/>",
                          "<a></a b='1'>",
                          "<\u00e9/>",
                          "<a \u00e9='1'/>",
                          "<a><b\u00e9/></a>"}) {
    EXPECT_NE(refusal(xml), "") << xml;
  }
}

TEST(XmlDocument, BrokenReferencesAreRefused) {
  for (const char* reference :
       {"&",        "& ",       "&;",         "&#;",           "&#x;",
        "&amp",     "&AMP;",    "&nbsp;",     "&#X41;",        "&#65",
        "&#6 5;",   "&#-65;",   "&#+65;",     "&#x41g;",       "&#0;",
        "&#x0;",    "&#8;",     "&#x1F;",     "&#xD800;",      "&#xDFFF;",
        "&#xFFFE;", "&#xFFFF;", "&#x110000;", "&#4294967361;", "&#99999999999999999999;"}) {
    EXPECT_NE(refusal("<a>" + std::string(reference) + "</a>"), "") << reference;
    EXPECT_NE(refusal("<a b='" + std::string(reference) + "'/>"), "") << reference;
  }
}

TEST(XmlDocument, ReferencesToControlCharactersAreReadWhereTheyAreAllowed) {
  const XmlDocument document("<a b='&#x1;&#31;'>&#1;&#x1F; &#8;</a>", ControlReferences::allowed);
  EXPECT_EQ(document.root().attribute("b"), "\x01\x1F");
  EXPECT_EQ(document.root().text(), "\x01\x1F \x08");
  for (const char* text : {"\x01", "&#0;", "&#x0;", "&#xD800;", "&#xFFFE;", "<![CDATA[\x01]]>"}) {
    EXPECT_THROW(XmlDocument("<a>" + std::string(text) + "</a>", ControlReferences::allowed),
                 XmlException)
        << text;
  }
}

TEST(XmlDocument, ForbiddenCharactersAreRefusedEverywhere) {
  using namespace std::string_literals;
  for (const std::string& bad :
       {"\0"s, "\x01"s, "\x08"s, "\x0B"s, "\x1F"s, "\xEF\xBF\xBE"s, "\xEF\xBF\xBF"s}) {
    for (const char* place : {"<a>@</a>", "<a b='@'/>", "<a><!--@--></a>", "<a><![CDATA[@]]></a>",
                              "<a><?p @?></a>", "<a/>@", "@<a/>", "<a@/>"}) {
      std::string xml = place;
      xml.replace(xml.find('@'), 1, bad);
      EXPECT_NE(refusal(xml), "") << place;
    }
  }
}

TEST(XmlDocument, TextThatIsNotUtf8IsRefused) {
  for (const char* bad :
       {"\x80", "\xC3", "\xC0\x80", "\xE9t\xE9", "\xED\xA0\x80", "\xF5\x80\x80\x80",
        "\xF4\x90\x80\x80", "\xE0\x80\x80", "\xFE", "\xFF\xFE<"}) {
    EXPECT_NE(refusal("<a>" + std::string(bad) + "</a>"), "") << bad;
  }
}

// Long texts are checked many bytes at a time.
TEST(XmlDocument, PlaceInALongTextMakesNoDifference) {
  for (std::size_t before = 0; before < 100; ++before) {
    const auto around = [before](const std::string& character) {
      return "<a>" + std::string(before, 'x') + character + std::string(100, 'x') + "</a>";
    };
    for (const char* bad : {"\x01", "\x1F", "\x80", "\xC3", "\xFF", "\xEF\xBF\xBE"}) {
      EXPECT_NE(refusal(around(bad)), "") << before;
    }
    for (const char* good : {"\t", "\n", "\r", "\x7F", "\u00e9"}) {
      EXPECT_EQ(refusal(around(good)), "") << before;
    }
  }
}

TEST(XmlDocument, DepthIsBoundedBeforeATreeIsBuilt) {
  const std::size_t limit = XmlLimits().depth;
  const auto nested = [](std::size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
  };
  EXPECT_EQ(refusal(nested(limit)), "");
  EXPECT_EQ(refusal(nested(limit + 1)), "XML error at byte 384: elements nested deeper than 128");
  EXPECT_NE(refusal(repeated("<a>", limit) + "<a/>" + repeated("</a>", limit)), "");
  EXPECT_NE(refusal(nested(1'000'000)), "");
  EXPECT_NE(refusal(repeated("<a>", 1'000'000)), "");
}

TEST(XmlDocument, AttributesOfAnElementAreBounded) {
  const auto element = [](std::size_t count) {
    std::string xml = "<a";
    for (std::size_t i = 0; i < count; ++i) {
      xml += " a" + std::to_string(i) + "='1'";
    }
    return xml + "/>";
  };
  EXPECT_EQ(refusal(element(XmlLimits().attributes)), "");
  EXPECT_NE(refusal(element(XmlLimits().attributes + 1)), "");
  EXPECT_NE(refusal(element(1'000'000)), "");
}

TEST(XmlDocument, WideDocumentsAreRead) {
  const XmlDocument document("<a>" + repeated("<b>x</b>\n", 200'000) + "</a>");
  std::size_t count = 0;
  for (Element b = document.root().firstChild(); b; b = b.next()) {
    ++count;
  }
  EXPECT_EQ(count, 200'000U);
}

TEST(XmlDocument, NodesAreBounded) {
  // Without the limit its tree takes sixteen times the memory of the text.
  EXPECT_EQ(refusal("<a>" + repeated("<b/>", XmlLimits().nodes) + "</a>").substr(0, 17),
            "XML error at byte");
}

TEST(XmlDocument, ElementsAndAttributesCount) {
  const auto parse = [](const char* xml, std::size_t nodes) {
    const XmlDocument document(xml, ControlReferences::refused, {10, 10, nodes});
  };
  for (const char* xml : {"<a><b/><b/><b/><b/></a>", "<a b='' c=''><b/>x<!-- -->x<b/></a>"}) {
    EXPECT_NO_THROW(parse(xml, 5)) << xml;
    EXPECT_THROW(parse(xml, 4), XmlException) << xml;
  }
}

TEST(XmlDocument, LongNamesDoNotFillTheMessage) {
  const std::string name(100'000, 'n');
  EXPECT_LT(refusal("<" + name + "></b>").size(), 200U);
  EXPECT_LT(refusal("<" + name + ">").size(), 200U);
  EXPECT_LT(refusal("<a></" + name + ">").size(), 200U);
}

}  // namespace
}  // namespace Pegasus::xml
