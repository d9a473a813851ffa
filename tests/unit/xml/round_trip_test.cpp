// Everything that is written is read back as the same. Both halves are ours, so a misunderstanding
// could cancel out here: the recorded traffic is the check against that.
#include <gtest/gtest.h>
#include "xml/decoder.h"
#include "xml/encoder.h"
#include "xml/values.h"

#include <limits>
#include <locale>

namespace Pegasus::xml {
namespace {

CIMObjectPath samplePath() {
  const CIMObjectPath inner("host:5989", "root/cimv2", "B",
                            {CIMKeyBinding("", "<\n>", CIMKeyBinding::STRING)});
  return {String(),
          "root/kvasd",
          "A",
          {CIMKeyBinding("text", " caf\u00e9 ", CIMKeyBinding::STRING),
           CIMKeyBinding("number", "-1", CIMKeyBinding::NUMERIC),
           CIMKeyBinding("flag", "false", CIMKeyBinding::BOOLEAN), CIMKeyBinding("path", inner)}};
}

template <typename T>
std::vector<CIMValue> scalarAndArrays(T low, T high) {
  return {CIMValue(low), CIMValue(high), CIMValue(Array<T>{high, low, high}), CIMValue(Array<T>())};
}

template <typename T>
std::vector<CIMValue> limitsOf() {
  return scalarAndArrays(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
}

void append(std::vector<CIMValue>& all, const std::vector<CIMValue>& some) {
  all.insert(all.end(), some.begin(), some.end());
}

std::vector<CIMValue> sampleValues() {
  std::vector<CIMValue> all;
  append(all, scalarAndArrays(false, true));
  append(all, limitsOf<Uint8>());
  append(all, limitsOf<Sint8>());
  append(all, limitsOf<Uint16>());
  append(all, limitsOf<Sint16>());
  append(all, limitsOf<Uint32>());
  append(all, limitsOf<Sint32>());
  append(all, limitsOf<Uint64>());
  append(all, limitsOf<Sint64>());
  append(all, limitsOf<Real32>());
  append(all, limitsOf<Real64>());
  append(all, scalarAndArrays(std::numeric_limits<Real32>::denorm_min(), 0.1F));
  append(all, scalarAndArrays(std::numeric_limits<Real64>::denorm_min(), -1.0 / 3));
  append(all, scalarAndArrays(-std::numeric_limits<Real64>::infinity(), -0.0));
  append(all, scalarAndArrays(u'\t', u'\ufffd'));
  append(all, scalarAndArrays(String(), String(" \t\r\n&<>\"']]> \u00e9\u4e2d\U0001F600 ")));
  append(all, scalarAndArrays(CIMDateTime(), CIMDateTime("20260214093000.******-300")));
  all.emplace_back(samplePath());
  for (int type = CIMTYPE_BOOLEAN; type < CIMTYPE_REFERENCE; ++type) {
    all.emplace_back(static_cast<CIMType>(type), false);
    all.emplace_back(static_cast<CIMType>(type), true);
  }
  all.emplace_back(CIMTYPE_REFERENCE, false);
  return all;
}

TEST(RoundTrip, PropertiesOfEveryType) {
  for (const CIMValue& value : sampleValues()) {
    std::string xml = "<INSTANCE CLASSNAME=\"C\">";
    appendProperty(xml, CIMProperty("p", value, 0, "R", "O", true));
    const XmlDocument document(xml + "</INSTANCE>");
    const CIMInstance instance = decodeInstance(document.root());
    ASSERT_EQ(instance.getPropertyCount(), 1U) << xml;
    const CIMProperty& property = instance.getProperty(0);
    EXPECT_EQ(property.getType(), value.getType()) << xml;
    EXPECT_EQ(property.isArray(), value.isArray()) << xml;
    EXPECT_TRUE(property.getValue() == value) << xml;
    EXPECT_EQ(property.getReferenceClassName(), "R");
    EXPECT_EQ(property.getClassOrigin(), "O");
    EXPECT_TRUE(property.getPropagated());
  }
}

struct GermanNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(RoundTrip, NumbersDoNotDependOnTheLocale) {
  const std::locale german(std::locale::classic(), new GermanNumbers);
  const std::locale before = std::locale::global(german);
  std::string xml;
  appendValue(xml, CIMValue(Array<Real64>{1234.5}));
  appendValue(xml, CIMValue(Array<Uint32>{1234567}));
  const CIMValue real = parseScalar(CIMTYPE_REAL64, "1234.5");
  std::locale::global(before);
  EXPECT_EQ(xml,
            "<VALUE.ARRAY><VALUE>1234.5</VALUE></VALUE.ARRAY>"
            "<VALUE.ARRAY><VALUE>1234567</VALUE></VALUE.ARRAY>");
  EXPECT_TRUE(real == CIMValue(Real64{1234.5}));
}

TEST(RoundTrip, ArraysOfPaths) {
  const CIMValue value(Array<CIMObjectPath>{samplePath(), samplePath()});
  std::string xml;
  appendValue(xml, value);
  EXPECT_TRUE(decodeUntypedValue(XmlDocument(xml).root()) == value);
}

TEST(RoundTrip, ArraysWithNullElements) {
  for (CIMValue value :
       {CIMValue(Array<Char16>{u'a', 0, u'b'}),
        CIMValue(Array<CIMObjectPath>{samplePath(), CIMObjectPath(), samplePath()})}) {
    value.setNullElement(1);
    std::string xml;
    appendValue(xml, value);
    EXPECT_NE(xml.find("<VALUE.NULL/>"), std::string::npos) << xml;
    EXPECT_TRUE(decodeTypedValue(value.getType(), true, XmlDocument(xml).root()) == value) << xml;
  }
}

TEST(RoundTrip, PathsKeepHostNamespaceAndKeys) {
  CIMObjectPath path = samplePath();
  for (const char* host : {"", "box"}) {
    path.setHost(host);
    std::string xml;
    appendObjectPath(xml, path);
    EXPECT_EQ(decodeObjectPath(XmlDocument(xml).root()).toString(), path.toString());
  }
}

TEST(RoundTrip, EveryCharacterThatXmlHas) {
  std::u16string units;
  for (char32_t c = 0x20; c < 0xFFFE; ++c) {
    if (c < 0xD800 || c > 0xDFFF) {
      units += static_cast<char16_t>(c);
    }
  }
  units += u"\t\r\n\r\n\U00010000\U0010FFFF";
  std::string xml;
  appendValue(xml, CIMValue(String(units)));
  EXPECT_TRUE(decodeUntypedValue(XmlDocument(xml).root()) == CIMValue(String(units)));
  // As an attribute too.
  xml = "<CLASSNAME";
  appendAttribute(xml, "NAME", String(units));
  xml += "/>";
  EXPECT_TRUE(String(requireAttribute(XmlDocument(xml).root(), "NAME")) == String(units));
}

TEST(RoundTrip, NamedInstances) {
  CIMInstance instance("A");
  for (const CIMValue& value : sampleValues()) {
    const std::string name = "p" + std::to_string(instance.getPropertyCount());
    instance.addProperty(CIMProperty(name.c_str(), value));
  }
  CIMObjectPath path = samplePath();
  path.setNameSpace("");
  instance.setPath(path);
  std::string xml = "<VALUE.NAMEDINSTANCE>";
  appendInstanceName(xml, instance.getPath());
  appendInstance(xml, instance);
  const XmlDocument document(xml + "</VALUE.NAMEDINSTANCE>");
  const CIMInstance back = decodeNamedInstance(document.root());
  EXPECT_EQ(back.getPath(), path);
  ASSERT_EQ(back.getPropertyCount(), instance.getPropertyCount());
  for (Uint32 i = 0; i < back.getPropertyCount(); ++i) {
    EXPECT_EQ(back.getProperty(i).getName(), instance.getProperty(i).getName());
    EXPECT_TRUE(back.getProperty(i).getValue() == instance.getProperty(i).getValue());
  }
}

}  // namespace
}  // namespace Pegasus::xml
