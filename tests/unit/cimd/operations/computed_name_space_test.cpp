// Finding the namespaces as clients do it: pywbem's WBEMServer, cimcli ns, and what walks the tree
// of __Namespace from root.
#include <gtest/gtest.h>

#include "requests.h"

namespace cimd {
namespace {

using test::attributes;
using test::className;
using test::instanceName;
using test::value;

class ComputedNameSpace : public testing::Test {
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

  test::Server server_{R"(
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
            Pegasus::CIM_ERR_NOT_FOUND);
}

TEST_F(ComputedNameSpace, OtherClassesAndLevelsHaveTheirErrors) {
  EXPECT_EQ(enumerating("A", "interop"), Pegasus::CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(server_.ask("EnumerateClassNames", {}, "interop"),
            className("CIM_ObjectManager") + className("CIM_Namespace"));
  EXPECT_EQ(enumerating("A", "root"), Pegasus::CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("CIM_Namespace", "root"), Pegasus::CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("__Namespace", "root/nowhere"), Pegasus::CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("__Namespace", "roo"), Pegasus::CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(enumerating("CIM_Namespace", "root/kvasd"), Pegasus::CIM_ERR_INVALID_CLASS);
  // A list of classes does not have it.
  EXPECT_EQ(server_.ask("EnumerateClassNames", {}), className("A"));
}

TEST_F(ComputedNameSpace, ChangesAreNotSupported) {
  const std::string name = instanceName("__Namespace", "Name", "kvasd");
  const std::string created =
      "<INSTANCE CLASSNAME=\"__Namespace\"><PROPERTY NAME=\"Name\" TYPE=\"string\">"
      "<VALUE>new</VALUE></PROPERTY></INSTANCE>";
  EXPECT_EQ(server_.ask("CreateInstance", {{"NewInstance", created}}, "root"),
            "7: CIM_ERR_NOT_SUPPORTED: class __Namespace is read-only ");
  EXPECT_EQ(server_.errorOf("DeleteInstance", {{"InstanceName", name}}, "root"),
            Pegasus::CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(server_.errorOf(
                "SetProperty",
                {{"InstanceName", name}, {"PropertyName", value("Name")}, {"NewValue", value("x")}},
                "root"),
            Pegasus::CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(server_.errorOf("ModifyInstance",
                            {{"ModifiedInstance",
                              "<VALUE.NAMEDINSTANCE>" + name + created + "</VALUE.NAMEDINSTANCE>"}},
                            "root"),
            Pegasus::CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(names("__Namespace", "root"), "Cimv2 kvasd PG_InterOp ");
}

TEST_F(ComputedNameSpace, DeclaredClassesAndNamespacesComeFirst) {
  test::loadText(server_.repository, R"(
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
  EXPECT_EQ(server_.errorOf("CreateInstance",
                            {{"NewInstance",
                              "<INSTANCE CLASSNAME=\"CIM_Namespace\"><PROPERTY NAME=\"Name\" "
                              "TYPE=\"string\"><VALUE>new</VALUE></PROPERTY></INSTANCE>"}},
                            "root/PG_InterOp"),
            0);
  EXPECT_EQ(names("CIM_Namespace", "root/PG_InterOp"), "declared new ");
}

}  // namespace
}  // namespace cimd
