#include "xml/encoder.h"
#include <gtest/gtest.h>

#include <limits>

namespace Pegasus::xml {
namespace {

template <typename Append, typename T>
std::string encoded(Append append, const T& object) {
  std::string out = "|";
  append(out, object);
  return out.substr(1);
}

template <typename T>
std::string value(const T& content) {
  return encoded(appendValue, CIMValue(content));
}

std::string path(const CIMObjectPath& object) {
  return encoded(appendObjectPath, object);
}

TEST(EncodeValue, NullIsNothing) {
  EXPECT_EQ(encoded(appendValue, CIMValue()), "");
  EXPECT_EQ(encoded(appendValue, CIMValue(CIMTYPE_UINT8, true)), "");
}

TEST(EncodeValue, ScalarsOfEveryType) {
  EXPECT_EQ(value(true), "<VALUE>true</VALUE>");
  EXPECT_EQ(value(false), "<VALUE>false</VALUE>");
  EXPECT_EQ(value(Uint8{255}), "<VALUE>255</VALUE>");
  EXPECT_EQ(value(Sint8{-128}), "<VALUE>-128</VALUE>");
  EXPECT_EQ(value(Uint16{65535}), "<VALUE>65535</VALUE>");
  EXPECT_EQ(value(Sint16{-32768}), "<VALUE>-32768</VALUE>");
  EXPECT_EQ(value(Uint32{4294967295}), "<VALUE>4294967295</VALUE>");
  EXPECT_EQ(value(Sint32{-5}), "<VALUE>-5</VALUE>");
  EXPECT_EQ(value(std::numeric_limits<Uint64>::max()), "<VALUE>18446744073709551615</VALUE>");
  EXPECT_EQ(value(std::numeric_limits<Sint64>::min()), "<VALUE>-9223372036854775808</VALUE>");
  EXPECT_EQ(value(u'\u00e9'), "<VALUE>\u00e9</VALUE>");
  EXPECT_EQ(value(u'<'), "<VALUE>&lt;</VALUE>");
  EXPECT_EQ(value(String(" a & b ")), "<VALUE>&#32;a &amp; b&#32;</VALUE>");
  EXPECT_EQ(value(String()), "<VALUE></VALUE>");
  EXPECT_EQ(value(CIMDateTime("20260214093000.000000+060")),
            "<VALUE>20260214093000.000000+060</VALUE>");
}

TEST(EncodeValue, RealsHaveADecimalPoint) {
  EXPECT_EQ(value(Real64{1}), "<VALUE>1.0</VALUE>");
  EXPECT_EQ(value(Real64{-0.1}), "<VALUE>-0.1</VALUE>");
  EXPECT_EQ(value(Real64{1e300}), "<VALUE>1.0e+300</VALUE>");
  EXPECT_EQ(value(Real64{1.5e-7}), "<VALUE>1.5e-07</VALUE>");
  EXPECT_EQ(value(Real32{0.1F}), "<VALUE>0.1</VALUE>");
  EXPECT_EQ(value(std::numeric_limits<Real64>::infinity()), "<VALUE>INF</VALUE>");
  EXPECT_EQ(value(-std::numeric_limits<Real32>::infinity()), "<VALUE>-INF</VALUE>");
  EXPECT_EQ(value(std::numeric_limits<Real64>::quiet_NaN()), "<VALUE>NaN</VALUE>");
}

TEST(EncodeValue, Arrays) {
  EXPECT_EQ(value(Array<Uint8>{1, 2}),
            "<VALUE.ARRAY><VALUE>1</VALUE><VALUE>2</VALUE></VALUE.ARRAY>");
  EXPECT_EQ(value(Array<Boolean>{true, false}),
            "<VALUE.ARRAY><VALUE>true</VALUE><VALUE>false</VALUE></VALUE.ARRAY>");
  EXPECT_EQ(value(Array<String>()), "<VALUE.ARRAY></VALUE.ARRAY>");
}

TEST(EncodeValue, References) {
  const CIMObjectPath a(String(), String(), "A");
  const std::string reference =
      "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"A\"></INSTANCENAME></VALUE.REFERENCE>";
  EXPECT_EQ(value(a), reference);
  EXPECT_EQ(value(Array<CIMObjectPath>{a}), "<VALUE.REFARRAY>" + reference + "</VALUE.REFARRAY>");
}

TEST(EncodeValue, CharactersThatXmlForbidsThrow) {
  EXPECT_THROW(value(String(std::u16string(u"\x02"))), InvalidValueException);
  EXPECT_THROW(value(char16_t{0xD800}), InvalidValueException);
  EXPECT_THROW(value(char16_t{0}), InvalidValueException);
}

TEST(EncodeProperty, AttributesAreWrittenWhereThePropertyHasThem) {
  EXPECT_EQ(encoded(appendProperty, CIMProperty("Name", CIMValue("FAN"))),
            "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>FAN</VALUE></PROPERTY>");
  EXPECT_EQ(
      encoded(appendProperty, CIMProperty("n", CIMValue(Uint8{1}), 0, String(), "CIM_A", true)),
      "<PROPERTY NAME=\"n\" CLASSORIGIN=\"CIM_A\" PROPAGATED=\"true\" TYPE=\"uint8\">"
      "<VALUE>1</VALUE></PROPERTY>");
  EXPECT_EQ(encoded(appendProperty, CIMProperty("a\"<", CIMValue("x"))),
            "<PROPERTY NAME=\"a&quot;&lt;\" TYPE=\"string\"><VALUE>x</VALUE></PROPERTY>");
}

TEST(EncodeProperty, NullIsAnElementWithoutValue) {
  EXPECT_EQ(encoded(appendProperty, CIMProperty("n", CIMValue(CIMTYPE_UINT32, false))),
            "<PROPERTY NAME=\"n\" TYPE=\"uint32\"></PROPERTY>");
  EXPECT_EQ(encoded(appendProperty, CIMProperty("n", CIMValue(CIMTYPE_STRING, true))),
            "<PROPERTY.ARRAY NAME=\"n\" TYPE=\"string\"></PROPERTY.ARRAY>");
  EXPECT_EQ(encoded(appendProperty, CIMProperty("n", CIMValue(CIMTYPE_REFERENCE, false))),
            "<PROPERTY.REFERENCE NAME=\"n\"></PROPERTY.REFERENCE>");
}

TEST(EncodeProperty, ArraysAndReferencesHaveElementsOfTheirOwn) {
  EXPECT_EQ(encoded(appendProperty, CIMProperty("n", CIMValue(Array<Sint16>{-1}), 4)),
            "<PROPERTY.ARRAY NAME=\"n\" TYPE=\"sint16\" ARRAYSIZE=\"4\"><VALUE.ARRAY>"
            "<VALUE>-1</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>");
  const CIMObjectPath b(String(), "root/a", "B");
  EXPECT_EQ(
      encoded(appendProperty, CIMProperty("n", CIMValue(b), 0, "B")),
      "<PROPERTY.REFERENCE NAME=\"n\" REFERENCECLASS=\"B\"><VALUE.REFERENCE>"
      "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"a\"/>"
      "</LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"B\"></INSTANCENAME></LOCALINSTANCEPATH>"
      "</VALUE.REFERENCE></PROPERTY.REFERENCE>");
}

TEST(EncodeProperty, AnArrayOfReferencesThrows) {
  std::string out;
  EXPECT_THROW(appendProperty(out, CIMProperty("n", CIMValue(Array<CIMObjectPath>()))),
               InvalidValueException);
}

TEST(EncodeNameSpace, EachPartIsAnElement) {
  const std::string rootKvasd =
      "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"kvasd\"/>"
      "</LOCALNAMESPACEPATH>";
  EXPECT_EQ(encoded(appendLocalNameSpacePath, String("root/kvasd")), rootKvasd);
  EXPECT_EQ(encoded(appendLocalNameSpacePath, String("/root//kvasd/")), rootKvasd);
  std::string out;
  EXPECT_THROW(appendLocalNameSpacePath(out, ""), InvalidValueException);
  EXPECT_THROW(appendLocalNameSpacePath(out, "/"), InvalidValueException);
}

TEST(EncodePath, KeysOfEveryType) {
  const CIMObjectPath other(String(), String(), "B",
                            {CIMKeyBinding("x", "1", CIMKeyBinding::STRING)});
  const CIMObjectPath all(
      String(), String(), "A",
      {CIMKeyBinding("s", "a\"b\x01 ", CIMKeyBinding::STRING),
       CIMKeyBinding("n", "007", CIMKeyBinding::NUMERIC),
       CIMKeyBinding("b", "TRUE", CIMKeyBinding::BOOLEAN), CIMKeyBinding("r", other)});
  EXPECT_EQ(path(all),
            "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"s\"><KEYVALUE VALUETYPE=\"string\">"
            "a&quot;b&#1;&#32;</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"n\"><KEYVALUE "
            "VALUETYPE=\"numeric\">007"
            "</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"b\"><KEYVALUE VALUETYPE=\"boolean\">TRUE"
            "</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"r\"><VALUE.REFERENCE><INSTANCENAME "
            "CLASSNAME=\"B\"><KEYBINDING NAME=\"x\"><KEYVALUE VALUETYPE=\"string\">1</KEYVALUE>"
            "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE></KEYBINDING></INSTANCENAME>");
}

TEST(EncodePath, OnlyASingleKeyMayHaveNoName) {
  const CIMKeyBinding bare("", "x", CIMKeyBinding::STRING);
  EXPECT_EQ(path(CIMObjectPath(String(), String(), "A", {bare})),
            "<INSTANCENAME CLASSNAME=\"A\"><KEYVALUE VALUETYPE=\"string\">x</KEYVALUE>"
            "</INSTANCENAME>");
  EXPECT_THROW(path(CIMObjectPath(String(), String(), "A", {bare, bare})), InvalidValueException);
}

TEST(EncodePath, HostAndNamespaceChooseTheElement) {
  const std::string name = "<INSTANCENAME CLASSNAME=\"A\"></INSTANCENAME>";
  const std::string nameSpace =
      "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH>";
  EXPECT_EQ(path(CIMObjectPath("", "", "A")), name);
  EXPECT_EQ(path(CIMObjectPath("h", "", "A")), name);
  EXPECT_EQ(path(CIMObjectPath("", "root", "A")),
            "<LOCALINSTANCEPATH>" + nameSpace + name + "</LOCALINSTANCEPATH>");
  EXPECT_EQ(path(CIMObjectPath("h&", "root", "A")),
            "<INSTANCEPATH><NAMESPACEPATH><HOST>h&amp;</HOST>" + nameSpace + "</NAMESPACEPATH>" +
                name + "</INSTANCEPATH>");
}

TEST(EncodeInstance, NameAndProperties) {
  CIMInstance instance("A");
  instance.addProperty(CIMProperty("p", CIMValue("x")));
  const std::string element =
      "<INSTANCE CLASSNAME=\"A\"><PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE>x</VALUE></PROPERTY>"
      "</INSTANCE>";
  EXPECT_EQ(encoded(appendInstance, instance), element);
  instance.setPath(CIMObjectPath("h", "root", "A"));
  EXPECT_EQ(encoded(appendInstance, instance), element) << "without its path";
  EXPECT_EQ(encoded(appendClassName, String("A")), "<CLASSNAME NAME=\"A\"/>");
}

}  // namespace
}  // namespace Pegasus::xml
