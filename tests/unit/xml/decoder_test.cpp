#include "xml/decoder.h"
#include <gtest/gtest.h>
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
// INSTANCENAME with this content.
CIMObjectPath pathOf(const std::string& keys) {
  return objectPath("<INSTANCENAME CLASSNAME='A'>" + keys + "</INSTANCENAME>");
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

template <typename Decode>
void expectRefused(Decode decode, const std::vector<std::string>& all) {
  for (const std::string& xml : all) {
    EXPECT_THROW(decode(xml), XmlValidationError) << xml;
  }
}

const std::string instanceNameElement = "<INSTANCENAME CLASSNAME='A'/>";
const std::string nameSpaceElement =
    "<LOCALNAMESPACEPATH><NAMESPACE NAME='root'/></LOCALNAMESPACEPATH>";

TEST(DecodeProperty, TextIsExact) {
  for (const auto& [content, text] : std::vector<std::pair<std::string, const char*>>{
           {"\n<VALUE>FAN</VALUE>\n", "FAN"},
           {"<VALUE> FAN </VALUE>", " FAN "},
           {"<VALUE> </VALUE>", " "},
           {"<VALUE>   \t</VALUE>", "   \t"},
           {"<VALUE>a\nb</VALUE>", "a\nb"},
           {"<VALUE> a<!-- c --> <![CDATA[<b> ]]>&amp;<![CDATA[]]> </VALUE>", " a <b> & "},
           {"<VALUE/>", ""},
           {"<VALUE></VALUE>", ""},
           {"<VALUE><!-- nothing --></VALUE>", ""}}) {
    EXPECT_EQ(stringProperty(content).getValue(), CIMValue(text)) << content;
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

TEST(DecodeProperty, QualifiersAreIgnored) {
  const CIMProperty qualified = stringProperty(
      "<QUALIFIER NAME='Key' TYPE='boolean'><VALUE>true</VALUE></QUALIFIER>\n"
      "<QUALIFIER NAME='Read' TYPE='boolean'/><VALUE>x</VALUE>");
  EXPECT_EQ(qualified.getValue().toString(), "x");
  EXPECT_TRUE(stringProperty("<QUALIFIER NAME='Key' TYPE='boolean'/>").getValue().isNull());
}

TEST(DecodeProperty, EmbeddedObjectIsItsText) {
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

TEST(DecodeProperty, ReferenceIsAPath) {
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

TEST(DecodeProperty, InvalidPropertiesAreRefused) {
  expectRefused(
      property,
      {"<PROPERTY TYPE='string'/>", "<PROPERTY NAME='p'/>", "<PROPERTY NAME='' TYPE='string'/>",
       "<PROPERTY NAME=' ' TYPE='string'/>", "<PROPERTY NAME='p' TYPE='text'/>",
       "<PROPERTIES NAME='p' TYPE='string'/>", "<property NAME='p' TYPE='string'/>",
       "<PROPERTY NAME='p' TYPE='uint8'><VALUE>256</VALUE></PROPERTY>",
       "<PROPERTY NAME='p' TYPE='reference'><VALUE>x</VALUE></PROPERTY>",
       "<PROPERTY.ARRAY NAME='p' TYPE='string' ARRAYSIZE='x'/>",
       "<PROPERTY.ARRAY NAME='p' TYPE='reference'><VALUE.REFARRAY/></PROPERTY.ARRAY>",
       "<PROPERTY.ARRAY NAME='p' TYPE='uint8'><VALUE.ARRAY><VALUE>1</VALUE><VALUE>x</VALUE>"
       "</VALUE.ARRAY></PROPERTY.ARRAY>"});
  expectRefused(stringProperty, {"text", "<VALUE/>text", "<VALUE/><VALUE/>", "<VALUE.ARRAY/>",
                                 "<VALUE><VALUE/></VALUE>", "<VALUE/><QUALIFIER/>"});
  const auto array = [](const std::string& content) {
    return property("<PROPERTY.ARRAY NAME='p' TYPE='string'>" + content + "</PROPERTY.ARRAY>");
  };
  expectRefused(array,
                {"<VALUE/>", "<VALUE.ARRAY>x</VALUE.ARRAY>", "<VALUE.ARRAY><X/></VALUE.ARRAY>"});
  const auto reference = [](const std::string& content) {
    return property("<PROPERTY.REFERENCE NAME='p'>" + content + "</PROPERTY.REFERENCE>");
  };
  expectRefused(reference, {"<VALUE>x</VALUE>", "<VALUE.REFERENCE/>",
                            "<VALUE.REFERENCE><CLASSNAME NAME='x'/></VALUE.REFERENCE>"});
}

TEST(DecodeUntypedValue, EachKindOfValue) {
  EXPECT_EQ(decodeUntypedValue(Element()), CIMValue());
  EXPECT_EQ(untyped("<VALUE> 12 </VALUE>"), CIMValue(" 12 "));
  EXPECT_EQ(untyped("<VALUE.ARRAY><VALUE>a</VALUE>\n<VALUE.NULL/><VALUE/></VALUE.ARRAY>"),
            withNullElement(Array<String>{"a", "", ""}, 1));
  const CIMObjectPath path("", "", "A");
  const std::string reference = "<VALUE.REFERENCE>" + instanceNameElement + "</VALUE.REFERENCE>";
  EXPECT_EQ(untyped(reference), CIMValue(path));
  EXPECT_EQ(untyped("<VALUE.REFARRAY>" + reference + "</VALUE.REFARRAY>"),
            CIMValue(Array<CIMObjectPath>{path}));
  expectRefused(untyped, {"<VALUES/>", "<VALUE><x/></VALUE>"});
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
  expectRefused(path, {"", "<NAMESPACE/>", "<NAMESPACE NAME=''/>", "<NAMESPACE NAME='//'/>", "root",
                       "<X NAME='root'/>"});
  EXPECT_THROW(decoded("<OTHER><NAMESPACE NAME='a'/></OTHER>", decodeLocalNameSpacePath),
               XmlValidationError);
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

TEST(DecodeObjectPath, SingleKeyMayHaveNoName) {
  const CIMKeyBinding text = pathOf("<KEYVALUE>x</KEYVALUE>").getKeyBindings()[0];
  EXPECT_EQ(text.getName(), "");
  EXPECT_EQ(text.getValue(), "x");
  const CIMObjectPath reference =
      pathOf("<VALUE.REFERENCE>" + instanceNameElement + "</VALUE.REFERENCE>");
  EXPECT_EQ(reference.getKeyBindings()[0].getReference().getClassName(), "A");
  EXPECT_EQ(pathOf("\n").getKeyBindings().size(), 0U) << "none is needed";
}

TEST(DecodeObjectPath, KeyMayBeAPath) {
  const CIMObjectPath path =
      pathOf("<KEYBINDING NAME='r'><VALUE.REFERENCE>\n<LOCALINSTANCEPATH>" + nameSpaceElement +
             "<INSTANCENAME CLASSNAME='B'><KEYVALUE VALUETYPE='numeric'>1</KEYVALUE></INSTANCENAME>"
             "</LOCALINSTANCEPATH>\n</VALUE.REFERENCE></KEYBINDING>");
  EXPECT_EQ(path.toString(), "A.r=\"root:B.1\"");
}

TEST(DecodeObjectPath, InvalidNamesAreRefused) {
  expectRefused(objectPath,
                {"<CLASSNAME NAME='A'/>", "<INSTANCENAME/>", "<INSTANCENAME CLASSNAME=''/>"});
  const auto key = [](const std::string& content) {
    return "<KEYBINDING NAME='k'>" + content + "</KEYBINDING>";
  };
  EXPECT_NO_THROW(pathOf(key("<KEYVALUE/>")));
  EXPECT_NO_THROW(pathOf(key("<VALUE.REFERENCE>" + instanceNameElement + "</VALUE.REFERENCE>")));
  expectRefused(pathOf, {"x", key(""), "<KEYBINDING><KEYVALUE/></KEYBINDING>",
                         key("<KEYVALUE/><KEYVALUE/>"), key("<KEYVALUE VALUETYPE='real'/>"),
                         key("text<KEYVALUE/>"), key("<OTHER>" + instanceNameElement + "</OTHER>"),
                         "<KEYVALUE/><KEYVALUE/>", "<KEYVALUE/>" + key("<KEYVALUE/>"),
                         key("<KEYVALUE/>") + "<OTHER NAME='j'><KEYVALUE/></OTHER>",
                         key("<KEYVALUE/>") + "<KEYBINDING NAME='K'><KEYVALUE/></KEYBINDING>",
                         "<KEYVALUE><b/></KEYVALUE>"});
}

TEST(DecodeObjectPath, InvalidPathsAreRefused) {
  const auto local = [](const std::string& content) {
    return objectPath("<LOCALINSTANCEPATH>" + content + "</LOCALINSTANCEPATH>");
  };
  EXPECT_NO_THROW(local(nameSpaceElement + instanceNameElement));
  expectRefused(local, {"", instanceNameElement, nameSpaceElement,
                        "text" + nameSpaceElement + instanceNameElement,
                        nameSpaceElement + instanceNameElement + instanceNameElement});
  const auto full = [](const std::string& content) {
    return objectPath("<INSTANCEPATH>" + content + "</INSTANCEPATH>");
  };
  const auto onHost = [](const std::string& content) {
    return "<NAMESPACEPATH>" + content + "</NAMESPACEPATH>";
  };
  const std::string host = "<HOST>h</HOST>";
  EXPECT_NO_THROW(full(onHost(host + nameSpaceElement) + instanceNameElement));
  expectRefused(
      full, {nameSpaceElement + instanceNameElement, onHost(nameSpaceElement) + instanceNameElement,
             onHost(host + nameSpaceElement),
             onHost(host + nameSpaceElement) + instanceNameElement + instanceNameElement,
             onHost("text" + host + nameSpaceElement) + instanceNameElement,
             onHost(host + nameSpaceElement + nameSpaceElement) + instanceNameElement});
}

TEST(DecodeArray, ReferencesAreInAnElementOfTheirOwn) {
  const auto references = [](Element element) { return decodeArray(CIMTYPE_REFERENCE, element); };
  EXPECT_TRUE(decoded("<VALUE.REFARRAY/>", references).isArray());
  EXPECT_THROW(decoded("<VALUE.ARRAY/>", references), XmlValidationError);
}

TEST(DecodeObjectPath, KeysAreBounded) {
  const auto keysOf = [](Uint32 count) {
    std::string xml = "<INSTANCENAME CLASSNAME='A'>";
    for (Uint32 i = 0; i < count; ++i) {
      xml += "<KEYBINDING NAME='k" + std::to_string(i) + "'><KEYVALUE/></KEYBINDING>";
    }
    return xml + "</INSTANCENAME>";
  };
  EXPECT_EQ(objectPath(keysOf(maxKeyBindings)).getKeyBindings().size(), maxKeyBindings);
  EXPECT_THROW(objectPath(keysOf(maxKeyBindings + 1)), XmlValidationError);
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

TEST(DecodeInstance, InvalidInstancesAreRefused) {
  expectRefused(instance,
                {"<INSTANCE/>", instanceNameElement, "<INSTANCE CLASSNAME='A'>x</INSTANCE>",
                 "<INSTANCE CLASSNAME='A'><VALUE/></INSTANCE>",
                 "<INSTANCE CLASSNAME='A'><PROPERTY NAME='p'/></INSTANCE>"});
}

// Letter case must not separate the two when the names are sorted.
TEST(DecodeInstance, DuplicatePropertyIsRefused) {
  const auto instanceOf = [](const std::vector<std::string>& names) {
    std::string properties;
    for (const std::string& property : names) {
      properties += "<PROPERTY TYPE='string' NAME='" + property + "'/>";
    }
    return instance("<INSTANCE CLASSNAME='A'>" + properties + "</INSTANCE>");
  };
  EXPECT_NO_THROW(instanceOf({"a", "B"}));
  EXPECT_THROW(instanceOf({"a", "B", "A"}), XmlValidationError);
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

TEST(DecodeNamedInstance, PathIsTheName) {
  const CIMInstance both = named(
      "<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME='A'><KEYVALUE>k</KEYVALUE>"
      "</INSTANCENAME>\n<INSTANCE CLASSNAME='A'><PROPERTY NAME='p' TYPE='string'/>"
      "</INSTANCE></VALUE.NAMEDINSTANCE>");
  EXPECT_EQ(both.getPath().toString(), "A.\"k\"");
  EXPECT_EQ(both.getPropertyCount(), 1U);
  const CIMInstance withPath =
      named("<VALUE.INSTANCEWITHPATH><INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST>" +
            nameSpaceElement + "</NAMESPACEPATH>" + instanceNameElement +
            "</INSTANCEPATH><INSTANCE CLASSNAME='A'/></VALUE.INSTANCEWITHPATH>");
  EXPECT_EQ(withPath.getPath().toString(), "//h/root:A");
}

TEST(DecodeNamedInstance, OtherContentIsRefused) {
  const auto namedWith = [](const std::string& content) {
    return named("<VALUE.NAMEDINSTANCE>" + content + "</VALUE.NAMEDINSTANCE>");
  };
  const std::string object = "<INSTANCE CLASSNAME='A'/>";
  expectRefused(namedWith,
                {"", instanceNameElement, object, object + instanceNameElement,
                 instanceNameElement + object + object, instanceNameElement + "x" + object});
  EXPECT_THROW(named("<VALUE.OBJECT>" + object + "</VALUE.OBJECT>"), XmlValidationError);
}

}  // namespace
}  // namespace Pegasus::xml
