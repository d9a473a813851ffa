// The operations on classes, qualifiers and namespaces, by the XML of their answers.

#include "support.h"

namespace cimd::test {
namespace {

constexpr const char* operationsSchema = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier Version : string = null, Scope(class), Flavor(Restricted);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(Restricted);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride);
[Version("1"), Description("a base")] class Base {
  [Key, Description("its id")] string Id;
  [Description("text")] string Text = "t";
  [Description("run")] uint32 Run([In, Description("how")] string How[]);
  uint8 Stop();
};
[Version("2")] class Middle : Base {
  [Override("Text"), Description("own")] string Text;
  uint16 Number;
  [Override("Run")] uint32 Run([In] string How[]);
};
class Leaf : Middle { string Last; };
class Other { [Key] string Id; };
class Link { [Key] Base ref From; };
)";

class SchemaOperations : public Test {
 protected:
  static Parameters with(const std::string& cls, const Parameters& more) {
    Parameters all{{"ClassName", className(cls)}};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  std::string getClass(const std::string& cls, const Parameters& more = {}) {
    return server_.ask("GetClass", with(cls, more));
  }
  std::string names(const Parameters& parameters) {
    return attributes(server_.ask("EnumerateClassNames", parameters), "CLASSNAME", "NAME");
  }

  Server server_{operationsSchema};
  const std::pair<std::string, std::string> all_{"LocalOnly", value("false")};
  const std::pair<std::string, std::string> deep_{"DeepInheritance", value("true")};
  const std::pair<std::string, std::string> bare_{"IncludeQualifiers", value("false")};
  const std::pair<std::string, std::string> origin_{"IncludeClassOrigin", value("true")};
};

TEST_F(SchemaOperations, GetClassGivesTheWholeClass) {
  EXPECT_EQ(getClass("base"),
            "<CLASS NAME=\"Base\">"
            "<QUALIFIER NAME=\"Version\" TYPE=\"string\" TOSUBCLASS=\"false\"><VALUE>1</VALUE>"
            "</QUALIFIER>"
            "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
            "<VALUE>a base</VALUE></QUALIFIER>"
            "<PROPERTY NAME=\"Id\" TYPE=\"string\">"
            "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>true</VALUE>"
            "</QUALIFIER>"
            "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
            "<VALUE>its id</VALUE></QUALIFIER></PROPERTY>"
            "<PROPERTY NAME=\"Text\" TYPE=\"string\">"
            "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
            "<VALUE>text</VALUE></QUALIFIER><VALUE>t</VALUE></PROPERTY>"
            "<METHOD NAME=\"Run\" TYPE=\"uint32\">"
            "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
            "<VALUE>run</VALUE></QUALIFIER>"
            "<PARAMETER.ARRAY NAME=\"How\" TYPE=\"string\">"
            "<QUALIFIER NAME=\"In\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>true</VALUE>"
            "</QUALIFIER>"
            "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
            "<VALUE>how</VALUE></QUALIFIER></PARAMETER.ARRAY></METHOD>"
            "<METHOD NAME=\"Stop\" TYPE=\"uint8\"></METHOD></CLASS>");
}

TEST_F(SchemaOperations, LocalOnlyIsWhatTheClassDeclaresAndTheDefault) {
  for (const Parameters& local : {Parameters{}, Parameters{{"LocalOnly", value("true")}}}) {
    const std::string xml = getClass("Middle", local);
    EXPECT_EQ(attributes(xml, "CLASS", "SUPERCLASS"), "Base ");
    EXPECT_EQ(attributes(xml, "PROPERTY", "NAME"), "Text Number ");
    EXPECT_EQ(attributes(xml, "METHOD", "NAME"), "Run ");
    EXPECT_EQ(attributes(xml, "QUALIFIER", "NAME"), "Version Override Description Override In ");
    EXPECT_EQ(attributes(xml, "QUALIFIER", "PROPAGATED"), "");
  }
  EXPECT_EQ(getClass("Leaf", {bare_}),
            "<CLASS NAME=\"Leaf\" SUPERCLASS=\"Middle\">"
            "<PROPERTY NAME=\"Last\" TYPE=\"string\"></PROPERTY></CLASS>");
}

TEST_F(SchemaOperations, WithoutLocalOnlyInheritedElementsAreMarked) {
  const std::string xml = getClass("Leaf", {all_, bare_});
  EXPECT_EQ(xml,
            "<CLASS NAME=\"Leaf\" SUPERCLASS=\"Middle\">"
            "<PROPERTY NAME=\"Id\" PROPAGATED=\"true\" TYPE=\"string\"></PROPERTY>"
            "<PROPERTY NAME=\"Text\" PROPAGATED=\"true\" TYPE=\"string\"></PROPERTY>"
            "<PROPERTY NAME=\"Number\" PROPAGATED=\"true\" TYPE=\"uint16\"></PROPERTY>"
            "<PROPERTY NAME=\"Last\" TYPE=\"string\"></PROPERTY>"
            "<METHOD NAME=\"Run\" TYPE=\"uint32\" PROPAGATED=\"true\">"
            "<PARAMETER.ARRAY NAME=\"How\" TYPE=\"string\"></PARAMETER.ARRAY></METHOD>"
            "<METHOD NAME=\"Stop\" TYPE=\"uint8\" PROPAGATED=\"true\"></METHOD></CLASS>");
}

TEST_F(SchemaOperations, InheritedQualifiersAreMarkedAndRestrictedOnesStayWhereTheyAre) {
  const std::string middle = getClass("Middle", {all_});
  EXPECT_EQ(attributes(elementNamed(middle, "PROPERTY", "Id"), "QUALIFIER", "NAME"),
            "Key Description ");
  EXPECT_EQ(attributes(elementNamed(middle, "PROPERTY", "Id"), "QUALIFIER", "PROPAGATED"),
            "true true ");
  EXPECT_EQ(attributes(elementNamed(middle, "PROPERTY", "Text"), "QUALIFIER", "NAME"),
            "Override Description ");
  // A parameter has them too.
  const std::string run = elementNamed(middle, "METHOD", "Run");
  EXPECT_EQ(attributes(elementNamed(run, "PARAMETER.ARRAY", "How"), "QUALIFIER", "NAME"),
            "In Description ");
  EXPECT_EQ(attributes(elementNamed(run, "PARAMETER.ARRAY", "How"), "QUALIFIER", "PROPAGATED"),
            "true ");
  const std::string leaf = getClass("Leaf", {all_});
  EXPECT_EQ(leaf.find("\"Version\""), std::string::npos);
  EXPECT_EQ(leaf.find("\"Override\""), std::string::npos);
  EXPECT_EQ(attributes(elementNamed(leaf, "PROPERTY", "Text"), "QUALIFIER", "PROPAGATED"), "true ");
  EXPECT_EQ(attributes(elementNamed(leaf, "PARAMETER.ARRAY", "How"), "QUALIFIER", "PROPAGATED"),
            "true true ");
}

TEST_F(SchemaOperations, ClassOriginIsWhereAnElementWasFirst) {
  const std::string xml = getClass("Leaf", {all_, origin_});
  EXPECT_EQ(attributes(xml, "PROPERTY", "CLASSORIGIN"), "Base Base Middle Leaf ");
  EXPECT_EQ(attributes(xml, "METHOD", "CLASSORIGIN"), "Base Base ");
  EXPECT_EQ(getClass("Leaf", {all_}).find("CLASSORIGIN"), std::string::npos);
}

TEST_F(SchemaOperations, PropertyListSelectsPropertiesAndNothingElse) {
  const std::string xml = getClass("Middle", {all_, {"PropertyList", values({"NUMBER", "id"})}});
  EXPECT_EQ(attributes(xml, "PROPERTY", "NAME"), "Id Number ");
  EXPECT_EQ(attributes(xml, "METHOD", "NAME"), "Run Stop ");
}

TEST_F(SchemaOperations, EnumerateClassNamesOfOneLevelOrOfAll) {
  EXPECT_EQ(names({}), "Base Other Link ");
  EXPECT_EQ(names({deep_}), "Base Other Link Middle Leaf ");
  EXPECT_EQ(names({{"ClassName", className("BASE")}}), "Middle ");
  EXPECT_EQ(names({{"ClassName", className("Base")}, deep_}), "Middle Leaf ");
  EXPECT_EQ(names({{"ClassName", className("Leaf")}, deep_}), "");
}

TEST_F(SchemaOperations, EnumerateClassesAnswersAsGetClassDoes) {
  EXPECT_EQ(server_.ask("EnumerateClasses", {}),
            getClass("Base") + getClass("Other") + getClass("Link"));
  EXPECT_EQ(server_.ask("EnumerateClasses", with("Base", {deep_, all_, bare_, origin_})),
            getClass("Middle", {all_, bare_, origin_}) + getClass("Leaf", {all_, bare_, origin_}));
  EXPECT_EQ(server_.ask("EnumerateClasses", with("Leaf", {})), "");
}

TEST_F(SchemaOperations, QualifierDeclarationsAreReturnedOneByOneOrAll) {
  EXPECT_EQ(server_.ask("GetQualifier", {{"QualifierName", value("KEY")}}),
            "<QUALIFIER.DECLARATION NAME=\"Key\" TYPE=\"boolean\" ISARRAY=\"false\" "
            "OVERRIDABLE=\"false\"><SCOPE REFERENCE=\"true\" PROPERTY=\"true\"/>"
            "<VALUE>false</VALUE></QUALIFIER.DECLARATION>");
  const std::string all = server_.ask("EnumerateQualifiers", {});
  EXPECT_EQ(attributes(all, "QUALIFIER.DECLARATION", "NAME"),
            "Key Description Version Override In ");
  EXPECT_NE(all.find(server_.ask("GetQualifier", {{"QualifierName", value("Version")}})),
            std::string::npos);
}

TEST(EmbeddedObjects, PropertiesCarryTheAttributeInClassesAndInstances) {
  Server server(R"(
    class In { [Key] string Id; };
    class Out { [Key] string Id; [EmbeddedInstance("In")] string One; [EmbeddedObject] string Any_;
                [EmbeddedInstance("In")] string Many[]; [EmbeddedObject(false)] string Plain; };
    class Below : Out { [Override("One")] string One; };
    instance of Below { Id = "null"; };
    instance of Below { Id = "xml"; One = "<INSTANCE CLASSNAME=\"In\"/>";
                        Any_ = "<CLASS NAME=\"In\"/>"; Many = {"<INSTANCE CLASSNAME=\"In\"/>"}; };
    instance of Below { Id = "text"; One = "<CLASS NAME=\"In\"/>"; Any_ = "no object";
                        Many = {"<INSTANCE CLASSNAME=\"In\"/>", ""}; };
  )");
  const auto embedded = [](const std::string& xml) {
    return attributes(xml, "PROPERTY", "EmbeddedObject") +
           attributes(xml, "PROPERTY.ARRAY", "EmbeddedObject");
  };
  const auto get = [&](const char* id, const Parameters& more = {}) {
    Parameters parameters{{"InstanceName", instanceName("Below", "Id", id)}};
    parameters.insert(parameters.end(), more.begin(), more.end());
    return server.ask("GetInstance", parameters);
  };
  const Parameters all{{"ClassName", className("Below")}, {"LocalOnly", value("false")}};
  EXPECT_EQ(embedded(server.ask("GetClass", all)), "instance object instance ");
  EXPECT_EQ(embedded(get("null")), "instance object instance ");
  EXPECT_EQ(embedded(get("xml")), "instance object instance ");
  EXPECT_EQ(embedded(get("xml", {{"IncludeClassOrigin", value("true")}})),
            "instance object instance ");
  EXPECT_EQ(elementNamed(get("xml"), "PROPERTY", "One"),
            "<PROPERTY NAME=\"One\" TYPE=\"string\" EmbeddedObject=\"instance\">"
            "<VALUE>&lt;INSTANCE CLASSNAME=&quot;In&quot;/&gt;</VALUE></PROPERTY>");
  // A value that a client could not decode is an ordinary string.
  EXPECT_EQ(embedded(get("text")), "");
}

TEST_F(SchemaOperations, InstancesCarryTheQualifiersOfTheirClassIfAsked) {
  server_.ask("CreateInstance", newInstance("Leaf", "Id", "1"));
  const Parameters name{{"InstanceName", instanceName("Leaf", "Id", "1")}};
  EXPECT_EQ(server_.ask("GetInstance", name).find("QUALIFIER"), std::string::npos);
  Parameters qualified = name;
  qualified.emplace_back("IncludeQualifiers", value("true"));
  const std::string xml = server_.ask("GetInstance", qualified);
  EXPECT_TRUE(
      xml.starts_with("<INSTANCE CLASSNAME=\"Leaf\"><QUALIFIER NAME=\"Description\" "
                      "TYPE=\"string\" PROPAGATED=\"true\""))
      << xml;
  // As the class has them: without those that stay at the class above.
  EXPECT_EQ(attributes(elementNamed(xml, "PROPERTY", "Text"), "QUALIFIER", "NAME"), "Description ");
  EXPECT_EQ(attributes(elementNamed(xml, "PROPERTY", "Text"), "QUALIFIER", "PROPAGATED"), "true ");
}

// Finding the namespaces as clients do it: pywbem's WBEMServer, cimcli ns, and what walks the tree
// of __Namespace from root.
class ComputedNameSpace : public Test {
 protected:
  // The property Name of all instances of the class.
  std::string names(const std::string& cls, const std::string& nameSpace) {
    const std::string xml =
        server_.ask("EnumerateInstances", {{"ClassName", className(cls)}}, nameSpace);
    std::string found;
    const std::string begin = "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>";
    for (std::size_t at = xml.find(begin); at != std::string::npos; at = xml.find(begin, at + 1)) {
      const std::size_t from = at + begin.size();
      found += xml.substr(from, xml.find('<', from) - from) + " ";
    }
    return found;
  }
  int enumerating(const std::string& cls, const std::string& nameSpace) {
    return server_.errorOf("EnumerateInstanceNames", {{"ClassName", className(cls)}}, nameSpace);
  }

  Server server_{R"(
    class A { [Key] string Id; };
    #pragma namespace("root/Cimv2/test")
    class B { [Key] string Id; };
  )"};
};

TEST_F(ComputedNameSpace, InteropHasAnInstanceForEachNamespace) {
  for (const char* interop : {"interop", "root/PG_InterOp", "Root/pg_interop"}) {
    EXPECT_EQ(names("CIM_Namespace", interop),
              "interop root/Cimv2/test root/kvasd root/PG_InterOp ");
  }
  EXPECT_EQ(names("CIM_ObjectManager", "interop"), "morvik-cimd ");
}

TEST_F(ComputedNameSpace, NamesHaveTheKeysOfTheStandardClasses) {
  const std::string xml =
      server_.ask("EnumerateInstanceNames", {{"ClassName", className("cim_namespace")}}, "interop");
  EXPECT_TRUE(attributes(xml, "KEYBINDING", "NAME")
                  .starts_with("SystemCreationClassName SystemName ObjectManagerCreationClassName "
                               "ObjectManagerName CreationClassName Name System"));
  const std::string manager =
      server_.ask("GetClass", {{"ClassName", className("CIM_ObjectManager")}}, "interop");
  EXPECT_EQ(attributes(manager, "PROPERTY", "NAME"),
            "SystemCreationClassName SystemName CreationClassName Name ElementName Description ");
  EXPECT_EQ(attributes(manager, "QUALIFIER", "NAME"), "Key Key Key Key ");
}

TEST_F(ComputedNameSpace, ChildrenAreTheNamesOfTheNextLevel) {
  EXPECT_EQ(names("__Namespace", "root"), "Cimv2 kvasd PG_InterOp ");
  EXPECT_EQ(names("__Namespace", "ROOT/cimv2"), "test ");
  EXPECT_EQ(names(" __namespace\n", "ROOT/cimv2"), "test ");
  EXPECT_EQ(names("__Namespace", "root/kvasd"), "");
  EXPECT_EQ(names("__Namespace", "interop"), "");
  const std::string kvasd = instanceName("__Namespace", "Name", "kvasd");
  EXPECT_EQ(server_.ask("GetProperty", {{"InstanceName", kvasd}, {"PropertyName", value("Name")}},
                        "root"),
            value("kvasd"));
  EXPECT_EQ(server_.errorOf("GetInstance", {{"InstanceName", kvasd}}, "root/kvasd"),
            CIM_ERR_NOT_FOUND);
}

TEST_F(ComputedNameSpace, OtherClassesAndLevelsHaveTheirErrors) {
  EXPECT_EQ(enumerating("A", "interop"), CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(server_.ask("EnumerateClassNames", {}, "interop"),
            className("CIM_ObjectManager") + className("CIM_Namespace"));
  EXPECT_EQ(enumerating("A", "root"), CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("CIM_Namespace", "root"), CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("__Namespace", "root/nowhere"), CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("__Namespace", "roo"), CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("CIM_Namespace", "root/kvasd"), CIM_ERR_INVALID_CLASS);
  // A list of classes does not have it.
  EXPECT_EQ(server_.ask("EnumerateClassNames", {}), className("A"));
}

TEST_F(ComputedNameSpace, ChangesAreNotSupported) {
  EXPECT_EQ(server_.ask("CreateInstance", newInstance("__Namespace", "Name", "new"), "root"),
            "7: CIM_ERR_NOT_SUPPORTED: class __Namespace is read-only ");
  EXPECT_EQ(
      server_.errorOf("DeleteInstance",
                      {{"InstanceName", instanceName("__Namespace", "Name", "kvasd")}}, "root"),
      CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(names("__Namespace", "root"), "Cimv2 kvasd PG_InterOp ");
}

TEST_F(ComputedNameSpace, DeclaredClassesAndNamespacesComeFirst) {
  loadText(server_.repository, R"(
    #pragma namespace("Interop")
    class C { [Key] string Name; };
    instance of C { Name = "mine"; };
    #pragma namespace("root/PG_InterOp")
    class CIM_Namespace { [Key] string Name; };
    instance of CIM_Namespace { Name = "declared"; };
  )");
  EXPECT_EQ(names("C", "interop"), "mine ");
  EXPECT_EQ(names("CIM_Namespace", "interop"),
            "Interop root/Cimv2/test root/kvasd root/PG_InterOp ");
  EXPECT_EQ(names("CIM_Namespace", "root/PG_InterOp"), "declared ");
  EXPECT_EQ(server_.errorOf("CreateInstance", newInstance("CIM_Namespace", "Name", "new"),
                            "root/PG_InterOp"),
            0);
  EXPECT_EQ(names("CIM_Namespace", "root/PG_InterOp"), "declared new ");
}

}  // namespace
}  // namespace cimd::test
