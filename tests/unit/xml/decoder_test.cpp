#include "xml/decoder.h"
#include <gtest/gtest.h>
#include "xml/encoder.h"
#include "xml/values.h"

namespace Pegasus::xml {
namespace {

template <typename Decode>
auto decoded(const std::string& xml, Decode decode) {
  const XmlDocument document(xml);
  return decode(document.root());
}

CIMValue untyped(const std::string& xml) {
  return decoded(xml, decodeUntypedValue);
}
CIMObjectPath objectPath(const std::string& xml) {
  return decoded(xml, decodeObjectPath);
}
CIMInstance instance(const std::string& xml) {
  return decoded(xml, decodeInstance);
}
// The only property of an instance.
CIMProperty property(const std::string& xml) {
  const CIMInstance holder = instance("<INSTANCE CLASSNAME='C'>" + xml + "</INSTANCE>");
  EXPECT_EQ(holder.getPropertyCount(), 1U) << xml;
  return holder.getProperty(0);
}
CIMInstance named(const std::string& xml) {
  return decoded(xml, decodeNamedInstance);
}

CIMProperty stringProperty(const std::string& content) {
  return property("<PROPERTY NAME=\"p\" TYPE=\"string\">" + content + "</PROPERTY>");
}

void expectPropertiesRefused(const std::vector<const char*>& all) {
  for (const char* xml : all) {
    EXPECT_THROW(property(xml), XmlValidationError) << xml;
  }
}

void expectPathsRefused(const std::vector<const char*>& all) {
  for (const char* xml : all) {
    EXPECT_THROW(objectPath(xml), XmlValidationError) << xml;
  }
}

void expectInstancesRefused(const std::vector<const char*>& all) {
  for (const char* xml : all) {
    EXPECT_THROW(instance(xml), XmlValidationError) << xml;
  }
}

TEST(DecodeProperty, TextIsExact) {
  for (const char* text : {"FAN", " FAN ", " ", "   \t", "\n", "a\nb"}) {
    const CIMValue value =
        stringProperty("\n<VALUE>" + std::string(text) + "</VALUE>\n").getValue();
    EXPECT_FALSE(value.isNull());
    EXPECT_EQ(value.toString(), text);
  }
}

TEST(DecodeProperty, TextInPiecesIsJoined) {
  const CIMProperty joined =
      stringProperty("<VALUE> a<!-- c --> <![CDATA[<b> ]]>&amp;<![CDATA[]]> </VALUE>");
  EXPECT_EQ(joined.getValue().toString(), " a <b> & ");
}

TEST(DecodeProperty, EmptyValueIsTheEmptyText) {
  for (const char* value : {"<VALUE/>", "<VALUE></VALUE>", "<VALUE><!-- nothing --></VALUE>"}) {
    EXPECT_FALSE(stringProperty(value).getValue().isNull()) << value;
    EXPECT_EQ(stringProperty(value).getValue().toString(), "");
  }
}

TEST(DecodeProperty, EmptyValueOfATypeWithoutEmptyTextIsNull) {
  for (const std::string type : {"uint16", "sint64", "real32", "boolean", "datetime"}) {
    const CIMProperty empty =
        property("<PROPERTY NAME='p' TYPE='" + type + "'><VALUE> </VALUE></PROPERTY>");
    EXPECT_TRUE(empty.getValue().isNull()) << type;
    EXPECT_EQ(cimTypeToString(empty.getType()), type);
  }
  EXPECT_THROW(property("<PROPERTY NAME='p' TYPE='char16'><VALUE/></PROPERTY>"),
               XmlValidationError);
}

TEST(DecodeProperty, WithoutValueItIsNullOfItsType) {
  for (const char* content : {"", "\n", " \r\n\t<!-- c -->"}) {
    EXPECT_TRUE(stringProperty(content).getValue().isNull()) << content;
  }
  const CIMProperty number = property("<PROPERTY NAME='p' TYPE='uint32'/>");
  EXPECT_TRUE(number.getValue().isNull());
  EXPECT_EQ(number.getType(), CIMTYPE_UINT32);
  const CIMProperty array = property("<PROPERTY.ARRAY NAME='p' TYPE='sint16'>\n</PROPERTY.ARRAY>");
  EXPECT_TRUE(array.getValue().isNull());
  EXPECT_TRUE(array.isArray());
  EXPECT_EQ(array.getType(), CIMTYPE_SINT16);
  const CIMProperty reference = property("<PROPERTY.REFERENCE NAME='p'/>");
  EXPECT_TRUE(reference.getValue().isNull());
  EXPECT_EQ(reference.getType(), CIMTYPE_REFERENCE);
}

TEST(DecodeProperty, AttributesAroundTheValueAreKept) {
  const CIMProperty all = property(
      "<PROPERTY NAME=' Name '  CLASSORIGIN=' CIM_FRU ' PROPAGATED='TRUE' TYPE='uint8' x='y' >"
      "<VALUE>7</VALUE></PROPERTY >");
  EXPECT_EQ(all.getName(), "Name");
  EXPECT_EQ(all.getClassOrigin(), "CIM_FRU");
  EXPECT_TRUE(all.getPropagated());
  EXPECT_EQ(all.getValue(), CIMValue(Uint8{7}));
  const CIMProperty few = property("<PROPERTY NAME='n' TYPE='string' PROPAGATED='false'/>");
  EXPECT_EQ(few.getClassOrigin(), "");
  EXPECT_FALSE(few.getPropagated());
  EXPECT_EQ(few.getArraySize(), 0U);
}

TEST(DecodeProperty, QualifiersArePassedOver) {
  const CIMProperty qualified = stringProperty(
      "<QUALIFIER NAME='Key' TYPE='boolean'><VALUE>true</VALUE></QUALIFIER>\n"
      "<QUALIFIER NAME='Read' TYPE='boolean'/><VALUE>x</VALUE>");
  EXPECT_EQ(qualified.getValue().toString(), "x");
  EXPECT_TRUE(stringProperty("<QUALIFIER NAME='Key' TYPE='boolean'/>").getValue().isNull());
}

TEST(DecodeProperty, EmbeddedObjectsAreTheirText) {
  const CIMProperty embedded = property(
      "<PROPERTY NAME='p' TYPE='string' EmbeddedObject='instance'>"
      "<VALUE>&lt;INSTANCE CLASSNAME=&quot;A&quot;/&gt;</VALUE></PROPERTY>");
  EXPECT_EQ(embedded.getValue(), CIMValue("<INSTANCE CLASSNAME=\"A\"/>"));
}

CIMValue withNullElement(CIMValue array, Uint32 position) {
  array.setNullElement(position);
  return array;
}

TEST(DecodeProperty, ArraysKeepTypeOrderAndSize) {
  const CIMProperty array = property(
      "<PROPERTY.ARRAY NAME='p' TYPE='uint16' ARRAYSIZE='3'>\n<VALUE.ARRAY>\n<VALUE>3</VALUE>\n"
      "<VALUE>1</VALUE>\n<VALUE.NULL/></VALUE.ARRAY>\n</PROPERTY.ARRAY>");
  EXPECT_EQ(array.getArraySize(), 3U);
  EXPECT_EQ(array.getValue(), withNullElement(Array<Uint16>{3, 1, 0}, 2));
  const CIMProperty empty =
      property("<PROPERTY.ARRAY NAME='p' TYPE='string'><VALUE.ARRAY/></PROPERTY.ARRAY>");
  EXPECT_FALSE(empty.getValue().isNull());
  EXPECT_EQ(empty.getValue(), CIMValue(Array<String>()));
}

TEST(DecodeProperty, AnArrayOfReferencesIsNone) {
  EXPECT_THROW(property("<PROPERTY.ARRAY NAME='p' TYPE='reference'><VALUE.REFARRAY/>"
                        "</PROPERTY.ARRAY>"),
               XmlValidationError);
}

TEST(DecodeProperty, ReferencesArePaths) {
  const CIMProperty reference = property(
      "<PROPERTY.REFERENCE NAME='Antecedent' REFERENCECLASS='CIM_Card'><VALUE.REFERENCE>\n"
      "<INSTANCEPATH><NAMESPACEPATH><HOST> box </HOST><LOCALNAMESPACEPATH>"
      "<NAMESPACE NAME='root'/><NAMESPACE NAME='cimv2'/></LOCALNAMESPACEPATH></NAMESPACEPATH>"
      "<INSTANCENAME CLASSNAME='CIM_Card'><KEYBINDING NAME='Tag'><KEYVALUE>c1</KEYVALUE>"
      "</KEYBINDING></INSTANCENAME></INSTANCEPATH></VALUE.REFERENCE></PROPERTY.REFERENCE>");
  EXPECT_EQ(reference.getReferenceClassName(), "CIM_Card");
  CIMObjectPath path;
  reference.getValue().get(path);
  EXPECT_EQ(path.toString(), "//box/root/cimv2:CIM_Card.Tag=\"c1\"");
}

TEST(DecodeProperty, WhatIsNoPropertyIsRefused) {
  expectPropertiesRefused(
      {"<PROPERTY TYPE='string'/>", "<PROPERTY NAME='p'/>", "<PROPERTY NAME='' TYPE='string'/>",
       "<PROPERTY NAME=' ' TYPE='string'/>", "<PROPERTY NAME='p' TYPE='text'/>",
       "<PROPERTIES NAME='p' TYPE='string'/>", "<property NAME='p' TYPE='string'/>",
       "<PROPERTY NAME='p' TYPE='string'>text</PROPERTY>",
       "<PROPERTY NAME='p' TYPE='string'><VALUE/>text</PROPERTY>",
       "<PROPERTY NAME='p' TYPE='string'><VALUE/><VALUE/></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='string'><VALUE.ARRAY/></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='string'><VALUE><VALUE/></VALUE></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='string'><VALUE/><QUALIFIER/></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='uint8'><VALUE>256</VALUE></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='reference'><VALUE>x</VALUE></PROPERTY>"});
  expectPropertiesRefused(
      {"<PROPERTY.ARRAY NAME='p' TYPE='string'><VALUE/></PROPERTY.ARRAY>",
       "<PROPERTY.ARRAY NAME='p' TYPE='string'><VALUE.ARRAY>x</VALUE.ARRAY></PROPERTY.ARRAY>",
       "<PROPERTY.ARRAY NAME='p' TYPE='string'><VALUE.ARRAY><X/></VALUE.ARRAY></PROPERTY.ARRAY>",
       "<PROPERTY.ARRAY NAME='p' TYPE='string' ARRAYSIZE='x'/>",
       "<PROPERTY.ARRAY NAME='p' TYPE='uint8'><VALUE.ARRAY><VALUE>1</VALUE><VALUE>x</VALUE>"
       "</VALUE.ARRAY></PROPERTY.ARRAY>",
       "<PROPERTY.REFERENCE NAME='p'><VALUE>x</VALUE></PROPERTY.REFERENCE>",
       "<PROPERTY.REFERENCE NAME='p'><VALUE.REFERENCE/></PROPERTY.REFERENCE>",
       "<PROPERTY.REFERENCE NAME='p'><VALUE.REFERENCE><CLASSNAME NAME='x'/></VALUE.REFERENCE>"
       "</PROPERTY.REFERENCE>"});
}

TEST(DecodeProperty, NullElementsAreWrittenAsTheyWereRead) {
  for (const char* xml : {"<VALUE.ARRAY><VALUE.NULL/><VALUE>1</VALUE><VALUE.NULL/></VALUE.ARRAY>",
                          "<VALUE.ARRAY><VALUE>0</VALUE><VALUE.NULL/></VALUE.ARRAY>"}) {
    std::string written;
    appendValue(written, property("<PROPERTY.ARRAY NAME='p' TYPE='sint8'>" + std::string(xml) +
                                  "</PROPERTY.ARRAY>")
                             .getValue());
    EXPECT_EQ(written, xml);
  }
  const std::string references =
      "<VALUE.REFARRAY><VALUE.NULL/><VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"A\">"
      "</INSTANCENAME></VALUE.REFERENCE></VALUE.REFARRAY>";
  std::string written;
  appendValue(written, untyped(references));
  EXPECT_EQ(written, references);
}

TEST(DecodeUntypedValue, EachKindOfValue) {
  EXPECT_EQ(decodeUntypedValue(Element()), CIMValue());
  EXPECT_EQ(untyped("<VALUE> 12 </VALUE>"), CIMValue(" 12 "));
  EXPECT_EQ(untyped("<VALUE.ARRAY><VALUE>a</VALUE>\n<VALUE.NULL/><VALUE/></VALUE.ARRAY>"),
            withNullElement(Array<String>{"a", "", ""}, 1));
  const CIMObjectPath path(String(), String(), "A");
  EXPECT_EQ(untyped("<VALUE.REFERENCE><INSTANCENAME CLASSNAME='A'/></VALUE.REFERENCE>"),
            CIMValue(path));
  EXPECT_EQ(untyped("<VALUE.REFARRAY><VALUE.REFERENCE><INSTANCENAME CLASSNAME='A'/>"
                    "</VALUE.REFERENCE></VALUE.REFARRAY>"),
            CIMValue(Array<CIMObjectPath>{path}));
  EXPECT_THROW(untyped("<VALUES/>"), XmlValidationError);
  EXPECT_THROW(untyped("<VALUE><x/></VALUE>"), XmlValidationError);
}

TEST(DecodeLocalNameSpacePath, PartsAreJoined) {
  const auto path = [](const std::string& parts) {
    return decoded("<LOCALNAMESPACEPATH>" + parts + "</LOCALNAMESPACEPATH>",
                   decodeLocalNameSpacePath);
  };
  EXPECT_EQ(path("\n<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"kvasd\" />"), "root/kvasd");
  EXPECT_EQ(path("<NAMESPACE NAME=\"root/kvasd\"></NAMESPACE>"), "root/kvasd");
  EXPECT_EQ(path("<NAMESPACE NAME='/root//a/'/><NAMESPACE NAME='/'/><NAMESPACE NAME='/b'/>"),
            "root/a/b");
  for (const char* parts : {"", "<NAMESPACE/>", "<NAMESPACE NAME=''/>", "<NAMESPACE NAME='//'/>",
                            "root", "<X NAME='root'/>"}) {
    EXPECT_THROW(path(parts), XmlValidationError) << parts;
  }
}

TEST(DecodeObjectPath, KeysKeepTheirTypeAndText) {
  const CIMObjectPath path = objectPath(
      "<INSTANCENAME CLASSNAME='A'>\n"
      "<KEYBINDING NAME='s'>\n<KEYVALUE VALUETYPE='string' TYPE='string'> x "
      "</KEYVALUE>\n</KEYBINDING>"
      "<KEYBINDING NAME='n'><KEYVALUE VALUETYPE='numeric' TYPE='uint32'>\n 007\n </KEYVALUE>"
      "</KEYBINDING>"
      "<KEYBINDING NAME=' b '><KEYVALUE VALUETYPE=' boolean '>\tTRUE </KEYVALUE></KEYBINDING>"
      "<KEYBINDING NAME='d'><KEYVALUE/></KEYBINDING></INSTANCENAME>");
  EXPECT_EQ(path.getClassName(), "A");
  const Array<CIMKeyBinding>& keys = path.getKeyBindings();
  ASSERT_EQ(keys.size(), 4U);
  EXPECT_EQ(keys[0].getName(), "s");
  EXPECT_EQ(keys[0].getType(), CIMKeyBinding::STRING);
  EXPECT_EQ(keys[0].getValue(), " x ");
  EXPECT_EQ(keys[1].getType(), CIMKeyBinding::NUMERIC);
  EXPECT_EQ(keys[1].getValue(), "007");
  EXPECT_EQ(keys[2].getName(), "b");
  EXPECT_EQ(keys[2].getType(), CIMKeyBinding::BOOLEAN);
  EXPECT_EQ(keys[2].getValue(), "TRUE");
  EXPECT_EQ(keys[3].getType(), CIMKeyBinding::STRING);
  EXPECT_EQ(keys[3].getValue(), "");
}

TEST(DecodeObjectPath, ASingleKeyMayHaveNoName) {
  const CIMObjectPath text =
      objectPath("<INSTANCENAME CLASSNAME='A'><KEYVALUE>x</KEYVALUE></INSTANCENAME>");
  ASSERT_EQ(text.getKeyBindings().size(), 1U);
  EXPECT_EQ(text.getKeyBindings()[0].getName(), "");
  EXPECT_EQ(text.getKeyBindings()[0].getValue(), "x");
  const CIMObjectPath reference = objectPath(
      "<INSTANCENAME CLASSNAME='A'><VALUE.REFERENCE><INSTANCENAME CLASSNAME='B'/>"
      "</VALUE.REFERENCE></INSTANCENAME>");
  ASSERT_EQ(reference.getKeyBindings().size(), 1U);
  EXPECT_EQ(reference.getKeyBindings()[0].getReference().getClassName(), "B");
}

TEST(DecodeObjectPath, KeysMayBePaths) {
  const CIMObjectPath path = objectPath(
      "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='r'><VALUE.REFERENCE>\n<LOCALINSTANCEPATH>"
      "<LOCALNAMESPACEPATH><NAMESPACE NAME='root'/></LOCALNAMESPACEPATH>"
      "<INSTANCENAME CLASSNAME='B'><KEYVALUE VALUETYPE='numeric'>1</KEYVALUE></INSTANCENAME>"
      "</LOCALINSTANCEPATH>\n</VALUE.REFERENCE></KEYBINDING></INSTANCENAME>");
  ASSERT_EQ(path.getKeyBindings().size(), 1U);
  const CIMObjectPath& key = path.getKeyBindings()[0].getReference();
  EXPECT_EQ(key.getNameSpace(), "root");
  EXPECT_EQ(key.getHost(), "");
  EXPECT_EQ(key.getClassName(), "B");
}

TEST(DecodeObjectPath, SingletonsHaveNoKeys) {
  EXPECT_EQ(objectPath("<INSTANCENAME CLASSNAME='A'>\n</INSTANCENAME>").getKeyBindings().size(),
            0U);
}

TEST(DecodeObjectPath, WhatIsNoPathIsRefused) {
  expectPathsRefused(
      {"<CLASSNAME NAME='A'/>", "<INSTANCENAME/>", "<INSTANCENAME CLASSNAME=''/>",
       "<INSTANCENAME CLASSNAME='A'>x</INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'/></INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYBINDING><KEYVALUE/></KEYBINDING></INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE/><KEYVALUE/></KEYBINDING>"
       "</INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE VALUETYPE='real'/></KEYBINDING>"
       "</INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYVALUE/><KEYVALUE/></INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYVALUE/><KEYBINDING NAME='k'><KEYVALUE/></KEYBINDING>"
       "</INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE/></KEYBINDING>"
       "<KEYBINDING NAME='K'><KEYVALUE/></KEYBINDING></INSTANCENAME>",
       "<INSTANCENAME CLASSNAME='A'><KEYVALUE><b/></KEYVALUE></INSTANCENAME>"});
  expectPathsRefused(
      {"<LOCALINSTANCEPATH/>",
       "<LOCALINSTANCEPATH><INSTANCENAME CLASSNAME='A'/></LOCALINSTANCEPATH>",
       "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME='a'/></LOCALNAMESPACEPATH>"
       "</LOCALINSTANCEPATH>",
       "<INSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME='a'/></LOCALNAMESPACEPATH>"
       "<INSTANCENAME CLASSNAME='A'/></INSTANCEPATH>",
       "<INSTANCEPATH><NAMESPACEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME='a'/></LOCALNAMESPACEPATH>"
       "</NAMESPACEPATH><INSTANCENAME CLASSNAME='A'/></INSTANCEPATH>",
       "<INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME='a'/>"
       "</LOCALNAMESPACEPATH></NAMESPACEPATH></INSTANCEPATH>",
       "<INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME='a'/>"
       "</LOCALNAMESPACEPATH></NAMESPACEPATH><INSTANCENAME CLASSNAME='A'/>"
       "<INSTANCENAME CLASSNAME='A'/></INSTANCEPATH>"});
}

TEST(DecodeObjectPath, WhatDoesNotBelongThereIsRefusedAtEachLevel) {
  const std::string nameSpace = "<LOCALNAMESPACEPATH><NAMESPACE NAME='a'/></LOCALNAMESPACEPATH>";
  const std::string name = "<INSTANCENAME CLASSNAME='A'/>";
  const auto local = [&](const std::string& extra, const std::string& last) {
    return "<LOCALINSTANCEPATH>" + extra + nameSpace + name + last + "</LOCALINSTANCEPATH>";
  };
  const auto full = [&](const std::string& extra, const std::string& last) {
    return "<INSTANCEPATH><NAMESPACEPATH>" + extra + "<HOST>h</HOST>" + nameSpace + last +
           "</NAMESPACEPATH>" + name + "</INSTANCEPATH>";
  };
  const auto key = [](const std::string& second, const std::string& value) {
    return "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='j'><KEYVALUE/></KEYBINDING><" + second +
           " NAME='k'>" + value + "</" + second + "></INSTANCENAME>";
  };
  for (const std::string& good :
       {local("", ""), full("", ""), key("KEYBINDING", "<KEYVALUE/>"),
        key("KEYBINDING", "<VALUE.REFERENCE>" + name + "</VALUE.REFERENCE>")}) {
    EXPECT_NO_THROW(objectPath(good)) << good;
  }
  for (const std::string& wrong :
       {local("text", ""), local("", name), full("text", ""), full("", nameSpace),
        key("OTHER", "<KEYVALUE/>"), key("KEYBINDING", "text<KEYVALUE/>"),
        key("KEYBINDING", "<OTHER>" + name + "</OTHER>")}) {
    EXPECT_THROW(objectPath(wrong), XmlValidationError) << wrong;
  }
}

TEST(DecodeLocalNameSpacePath, AnotherElementIsRefused) {
  EXPECT_THROW(decoded("<OTHER><NAMESPACE NAME='a'/></OTHER>", decodeLocalNameSpacePath),
               XmlValidationError);
}

TEST(DecodeArray, OfReferencesIsNoArrayOfTexts) {
  const auto references = [](Element element) { return decodeArray(CIMTYPE_REFERENCE, element); };
  EXPECT_TRUE(decoded("<VALUE.REFARRAY/>", references).isArray());
  EXPECT_THROW(decoded("<VALUE.ARRAY/>", references), XmlValidationError);
}

TEST(DecodeObjectPath, KeysAreBounded) {
  const auto name = [](Uint32 count) {
    std::string xml = "<INSTANCENAME CLASSNAME='A'>";
    for (Uint32 i = 0; i < count; ++i) {
      xml += "<KEYBINDING NAME='k" + std::to_string(i) + "'><KEYVALUE/></KEYBINDING>";
    }
    return xml + "</INSTANCENAME>";
  };
  EXPECT_EQ(objectPath(name(maxKeyBindings)).getKeyBindings().size(), maxKeyBindings);
  EXPECT_THROW(objectPath(name(maxKeyBindings + 1)), XmlValidationError);
}

TEST(DecodeInstance, PropertiesKeepTheirOrder) {
  const CIMInstance fru = instance(
      "<INSTANCE CLASSNAME=\"KVAXDT_FRU\" ><QUALIFIER NAME='x' TYPE='string'/>\n"
      "<PROPERTY NAME='b' TYPE='string'/>\n<PROPERTY.ARRAY NAME='a' TYPE='uint8'/>\n"
      "<PROPERTY.REFERENCE NAME='c'/></INSTANCE>");
  EXPECT_EQ(fru.getClassName(), "KVAXDT_FRU");
  EXPECT_EQ(fru.getPath(), CIMObjectPath(String(), String(), "KVAXDT_FRU"));
  ASSERT_EQ(fru.getPropertyCount(), 3U);
  EXPECT_EQ(fru.getProperty(0).getName(), "b");
  EXPECT_EQ(fru.getProperty(1).getName(), "a");
  EXPECT_EQ(fru.getProperty(2).getName(), "c");
}

TEST(DecodeInstance, WhatIsNoInstanceIsRefused) {
  expectInstancesRefused({"<INSTANCE/>", "<INSTANCENAME CLASSNAME='A'/>",
                          "<INSTANCE CLASSNAME='A'>x</INSTANCE>",
                          "<INSTANCE CLASSNAME='A'><VALUE/></INSTANCE>",
                          "<INSTANCE CLASSNAME='A'><PROPERTY NAME='p'/></INSTANCE>"});
}

// Letter case must not part the two where names are put in order.
TEST(DecodeInstance, APropertyThatIsThereTwiceIsFoundAmongOthers) {
  const auto named = [](const char* name) {
    return std::string("<PROPERTY TYPE='string' NAME='") + name + "'/>";
  };
  const auto instanceOf = [](const std::string& properties) {
    return "<INSTANCE CLASSNAME='A'>" + properties + "</INSTANCE>";
  };
  EXPECT_NO_THROW(instance(instanceOf(named("a") + named("B"))));
  EXPECT_THROW(instance(instanceOf(named("a") + named("B") + named("A"))), XmlValidationError);
}

TEST(DecodeInstance, APropertyThatIsThereTwiceIsRefused) {
  expectInstancesRefused(
      {"<INSTANCE CLASSNAME='A'><PROPERTY NAME='p' TYPE='string'/>"
       "<PROPERTY NAME='P' TYPE='string'/></INSTANCE>"});
}

TEST(DecodeInstance, PropertiesAreBounded) {
  const auto wide = [](Uint32 count) {
    std::string xml = "<INSTANCE CLASSNAME='A'>";
    for (Uint32 i = 0; i < count; ++i) {
      xml += "<PROPERTY NAME='p" + std::to_string(i) + "' TYPE='string'/>";
    }
    return xml + "</INSTANCE>";
  };
  EXPECT_EQ(instance(wide(maxProperties)).getPropertyCount(), maxProperties);
  EXPECT_THROW(instance(wide(maxProperties + 1)), XmlValidationError);
}

TEST(DecodeNamedInstance, ThePathIsTheName) {
  const CIMInstance both = named(
      "<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME='A'><KEYVALUE>k</KEYVALUE></INSTANCENAME>\n"
      "<INSTANCE CLASSNAME='A'><PROPERTY NAME='p' "
      "TYPE='string'/></INSTANCE></VALUE.NAMEDINSTANCE>");
  EXPECT_EQ(both.getPath().getKeyBindings().size(), 1U);
  EXPECT_EQ(both.getPropertyCount(), 1U);
  const CIMInstance withPath = named(
      "<VALUE.INSTANCEWITHPATH><INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST><LOCALNAMESPACEPATH>"
      "<NAMESPACE NAME='root'/></LOCALNAMESPACEPATH></NAMESPACEPATH><INSTANCENAME CLASSNAME='A'/>"
      "</INSTANCEPATH><INSTANCE CLASSNAME='A'/></VALUE.INSTANCEWITHPATH>");
  EXPECT_EQ(withPath.getPath().getHost(), "h");
  EXPECT_EQ(withPath.getPath().getNameSpace(), "root");
}

TEST(DecodeNamedInstance, HalvesAndStrangersAreRefused) {
  for (const char* content :
       {"", "<INSTANCENAME CLASSNAME='A'/>", "<INSTANCE CLASSNAME='A'/>",
        "<INSTANCE CLASSNAME='A'/><INSTANCENAME CLASSNAME='A'/>",
        "<INSTANCENAME CLASSNAME='A'/><INSTANCE CLASSNAME='A'/><INSTANCE CLASSNAME='A'/>",
        "<INSTANCENAME CLASSNAME='A'/>x<INSTANCE CLASSNAME='A'/>"}) {
    EXPECT_THROW(named("<VALUE.NAMEDINSTANCE>" + std::string(content) + "</VALUE.NAMEDINSTANCE>"),
                 XmlValidationError)
        << content;
  }
  EXPECT_THROW(named("<VALUE.OBJECT><INSTANCE CLASSNAME='A'/></VALUE.OBJECT>"), XmlValidationError);
}

}  // namespace
}  // namespace Pegasus::xml
