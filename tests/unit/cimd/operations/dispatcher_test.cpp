// Requests on their way to an operation: who may send which, what is wrong with them, and answers
// to those that enumerate.
#include "operations/dispatcher.h"
#include "xml/decoder.h"

#include <new>

#include "support.h"

namespace cimd::test {
namespace {

constexpr const char* dispatcherSchema = R"(
  class Base { [Key] string Id; string Text; };
  class Derived : Base { uint32 Number = 7; string Many[] = {"a", "b"}; };
  instance of Derived { Id = "d"; Text = "t"; };
  instance of Base { Id = "b"; };
)";

class DispatcherTest : public Test {
 protected:
  // Names of the properties in the answer to an enumeration of Base, those of arrays last.
  std::string enumerated(const Parameters& more) {
    Parameters all{{"ClassName", className("base")}};
    all.insert(all.end(), more.begin(), more.end());
    const std::string xml = server_.ask("EnumerateInstances", all);
    return attributes(xml, "PROPERTY", "NAME") + attributes(xml, "PROPERTY.ARRAY", "NAME");
  }

  Server server_{dispatcherSchema};
};

TEST_F(DispatcherTest, EnumerateInstancesReturnsSubclassInstancesWithAllProperties) {
  EXPECT_EQ(
      server_.ask("enumerateinstances",
                  {{"classname", className("BASE")}, {"LocalOnly", value("true")}}, "ROOT/kvasd"),
      "<VALUE.NAMEDINSTANCE>" + instanceName("Derived", "Id", "d") +
          "<INSTANCE CLASSNAME=\"Derived\">"
          "<PROPERTY NAME=\"Id\" PROPAGATED=\"true\" TYPE=\"string\"><VALUE>d</VALUE>"
          "</PROPERTY>"
          "<PROPERTY NAME=\"Text\" PROPAGATED=\"true\" TYPE=\"string\"><VALUE>t</VALUE>"
          "</PROPERTY>"
          "<PROPERTY NAME=\"Number\" TYPE=\"uint32\"><VALUE>7</VALUE></PROPERTY>"
          "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\">" +
          values({"a", "b"}) +
          "</PROPERTY.ARRAY></INSTANCE></VALUE.NAMEDINSTANCE><VALUE.NAMEDINSTANCE>" +
          instanceName("Base", "Id", "b") +
          "<INSTANCE CLASSNAME=\"Base\">"
          "<PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>b</VALUE></PROPERTY>"
          "<PROPERTY NAME=\"Text\" TYPE=\"string\"></PROPERTY></INSTANCE>"
          "</VALUE.NAMEDINSTANCE>");
}

TEST_F(DispatcherTest, DeepInheritanceAndPropertyListSelectAndUnknownNamesAreIgnored) {
  const auto list = [](const std::vector<std::string>& names) {
    return std::pair<std::string, std::string>("PropertyList", values(names));
  };
  const std::pair<std::string, std::string> flat{"DeepInheritance", value("false")};
  EXPECT_EQ(enumerated({flat}), "Id Text Id Text ");
  EXPECT_EQ(enumerated({list({"NUMBER", "text", "text", "none"})}), "Text Number Text ");
  EXPECT_EQ(enumerated({flat, list({"Number", "Text"})}), "Text Text ");
  EXPECT_EQ(enumerated({list({})}), "");
  std::vector<std::string> names(xml::maxProperties, "Text");
  EXPECT_EQ(enumerated({list(names)}), "Text Text ");
  names.emplace_back("Text");
  EXPECT_EQ(server_.errorOf("EnumerateInstances", {{"ClassName", className("Base")}, list(names)}),
            CIM_ERR_INVALID_PARAMETER);
}

TEST_F(DispatcherTest, ClassOriginIsTheClassThatIntroducedTheProperty) {
  const std::string xml =
      server_.ask("GetInstance", {{"InstanceName", instanceName("Derived", "Id", "d")},
                                  {"IncludeClassOrigin", value("true")}});
  EXPECT_EQ(attributes(xml, "PROPERTY", "CLASSORIGIN"), "Base Base Derived ");
}

TEST_F(DispatcherTest, OnlyWritersChangeAndEverybodyReads) {
  server_.user = 4712;
  // Also where there is no such namespace, instance or operation to be found out.
  for (const char* nameSpace : {"root/kvasd", "root/none"}) {
    for (const char* method :
         {"CreateInstance", "ModifyInstance", "DeleteInstance", "SetProperty", "deleteinstance"}) {
      EXPECT_EQ(server_.errorOf(method, {}, nameSpace), CIM_ERR_ACCESS_DENIED) << method;
    }
  }
  for (const char* method : {"EnumerateClassNames", "EnumerateClasses", "EnumerateQualifiers"}) {
    EXPECT_EQ(server_.errorOf(method, {}), CIM_ERR_SUCCESS) << method;
  }
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames", "GetInstance",
                             "GetProperty", "GetClass", "GetQualifier"}) {
    EXPECT_EQ(server_.errorOf(method, {}), CIM_ERR_INVALID_PARAMETER) << method;
  }
  server_.user = 4711;
  EXPECT_EQ(server_.errorOf("CreateInstance", {}), CIM_ERR_INVALID_PARAMETER);
}

TEST_F(DispatcherTest, OtherOperationsAreNotSupportedInAnyNamespace) {
  for (const char* method :
       {"CreateClass", "ModifyClass", "DeleteClass", "Associators", "AssociatorNames", "References",
        "ReferenceNames", "ExecQuery", "SetQualifier", "DeleteQualifier", "OpenEnumerateInstances",
        "OpenEnumerateInstancePaths", "PullInstancesWithPath", "PullInstances", "CloseEnumeration",
        "NoSuchOperation"}) {
    EXPECT_EQ(server_.errorOf(method, {}, "root/nowhere"), CIM_ERR_NOT_SUPPORTED) << method;
  }
}

TEST_F(DispatcherTest, MethodCallsAreNotSupported) {
  const std::string path =
      "<LOCALCLASSPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH>" +
      className("Base") + "</LOCALCLASSPATH>";
  for (const auto& [name, content] : {std::pair("Run", path), {"GetClass", std::string()}}) {
    const std::string answer = server_.answer("<METHODCALL NAME=\"" + std::string(name) + "\">" +
                                              content + "</METHODCALL>");
    EXPECT_NE(answer.find("<SIMPLERSP><METHODRESPONSE NAME=\"" + std::string(name) +
                          "\"><ERROR CODE=\"7\""),
              std::string::npos);
    EXPECT_TRUE(answer.ends_with("/></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>"));
  }
}

// In the order of the standard: namespace, parameters, class, instance, property.
TEST_F(DispatcherTest, EachFaultOfARequestHasItsError) {
  struct Case {
    const char* method;
    Parameters parameters;
    int error;
  };
  constexpr int invalid = CIM_ERR_INVALID_PARAMETER;
  const auto base = className("Base");
  const auto none = className("None");
  const std::pair<std::string, std::string> noSuchParameter{"NoSuchParameter", value("x")};
  const std::pair<std::string, std::string> ofB{"InstanceName", instanceName("Base", "Id", "b")};
  const std::pair<std::string, std::string> ofX{"InstanceName", instanceName("Base", "Id", "x")};
  const std::pair<std::string, std::string> ofNone{"InstanceName", instanceName("None", "Id", "b")};
  const std::pair<std::string, std::string> unknown{"PropertyName", value("Unknown")};
  std::vector<Case> cases{
      {"EnumerateInstances", {}, invalid},
      {"EnumerateInstances", {{"ClassName", value("Base")}}, invalid},
      {"EnumerateInstances", {{"ClassName", none}, noSuchParameter}, invalid},
      {"EnumerateInstances", {{"ClassName", none}}, CIM_ERR_INVALID_CLASS},
      {"EnumerateInstanceNames", {}, invalid},
      {"EnumerateInstanceNames", {{"ClassName", base}, {"CLASSNAME", base}}, invalid},
      {"EnumerateInstanceNames", {{"ClassName", none}}, CIM_ERR_INVALID_CLASS},
      {"GetInstance", {}, invalid},
      {"GetInstance", {{"InstanceName", value("Base.Id=\"b\"")}}, invalid},
      {"GetInstance", {ofNone}, CIM_ERR_INVALID_CLASS},
      {"GetInstance", {ofX}, CIM_ERR_NOT_FOUND},
      {"CreateInstance", {}, invalid},
      {"CreateInstance", {{"NewInstance", value("x")}}, invalid},
      {"ModifyInstance", {}, invalid},
      {"ModifyInstance", {{"ModifiedInstance", "<INSTANCE CLASSNAME=\"Base\"/>"}}, invalid},
      {"DeleteInstance", {}, invalid},
      {"DeleteInstance", {ofNone}, CIM_ERR_INVALID_CLASS},
      {"DeleteInstance", {ofX}, CIM_ERR_NOT_FOUND},
      {"GetClass", {}, invalid},
      {"GetClass", {{"ClassName", value("Base")}}, invalid},
      {"GetClass", {{"ClassName", none}, {"DeepInheritance", value("true")}}, invalid},
      {"GetClass", {{"ClassName", none}, {"LocalOnly", value("maybe")}}, invalid},
      {"GetClass", {{"ClassName", none}, {"PropertyList", value("Id")}}, invalid},
      {"GetClass", {{"ClassName", none}}, CIM_ERR_NOT_FOUND},
      {"EnumerateClasses", {{"ClassName", value("Base")}}, invalid},
      {"EnumerateClasses", {{"PropertyList", values({"Id"})}}, invalid},
      {"EnumerateClasses", {{"ClassName", none}}, CIM_ERR_INVALID_CLASS},
      {"EnumerateClassNames", {{"LocalOnly", value("true")}}, invalid},
      {"EnumerateClassNames", {{"DeepInheritance", base}}, invalid},
      {"EnumerateClassNames", {{"ClassName", none}}, CIM_ERR_INVALID_CLASS},
      {"GetQualifier", {}, invalid},
      {"GetQualifier", {{"QualifierName", className("Key")}}, invalid},
      {"GetQualifier", {{"QualifierName", value("None")}}, CIM_ERR_NOT_FOUND},
      {"EnumerateQualifiers", {{"ClassName", base}}, invalid}};
  for (const char* method : {"GetProperty", "SetProperty"}) {
    cases.push_back({method, {ofB}, invalid});
    cases.push_back({method, {unknown}, invalid});
    cases.push_back({method, {ofNone, unknown}, CIM_ERR_INVALID_CLASS});
    cases.push_back({method, {ofX, unknown}, CIM_ERR_NOT_FOUND});
    cases.push_back({method, {ofB, unknown}, CIM_ERR_NO_SUCH_PROPERTY});
  }
  for (const char* parameter : {"LocalOnly", "DeepInheritance", "IncludeQualifiers",
                                "IncludeClassOrigin", "PropertyList"}) {
    cases.push_back({"EnumerateInstances", {{"ClassName", none}, {parameter, none}}, invalid});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method + std::string(c.parameters.empty() ? "" : " ") +
                 (c.parameters.empty() ? "" : c.parameters.back().first));
    EXPECT_EQ(server_.errorOf(c.method, c.parameters), c.error);
    EXPECT_EQ(server_.errorOf(c.method, c.parameters, "root/nowhere"), CIM_ERR_INVALID_NAMESPACE);
  }
}

TEST_F(DispatcherTest, ErrorsNameWhatIsMissing) {
  EXPECT_EQ(server_.ask("GetClass", {{"ClassName", className("None")}}),
            "6: CIM_ERR_NOT_FOUND: None ");
  EXPECT_EQ(server_.ask("EnumerateClassNames", {}, "root/x"),
            "3: CIM_ERR_INVALID_NAMESPACE: root/x ");
}

// As a text, a name in the key of a name doubles in length with each level.
TEST_F(DispatcherTest, AMissingNameOfMoreThanThreeLevelsIsDescribedByItsClass) {
  const auto ask = [this](int levels) {
    std::string name = instanceName("Base", "Id", "1");
    for (int i = 1; i < levels; ++i) {
      name = "<INSTANCENAME CLASSNAME=\"Base\"><KEYBINDING NAME=\"Id\"><VALUE.REFERENCE>" + name +
             "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME>";
    }
    return server_.ask("GetInstance", {{"InstanceName", name}});
  };
  EXPECT_EQ(
      ask(3),
      R"(6: CIM_ERR_NOT_FOUND: Base.Id=&quot;Base.Id=\&quot;Base.Id=\\\&quot;1\\\&quot;\&quot;&quot; )");
  EXPECT_EQ(ask(4), "6: CIM_ERR_NOT_FOUND: Base ");
  EXPECT_EQ(ask(35), "6: CIM_ERR_NOT_FOUND: Base ");
}

// The transport answers with HTTP status 500 then: there may be no memory for an error either.
TEST_F(DispatcherTest, LackOfMemoryIsNotAnAnswer) {
  FakeJournal journal;
  journal.state = FakeJournal::lacksMemory;
  server_.repository.setJournal(&journal);
  EXPECT_THROW(server_.ask("CreateInstance", newInstance("Base", "Id", "1")), std::bad_alloc);
  server_.repository.setJournal(nullptr);
}

// 200 instances of Base, in parts of 64.
class LongAnswer : public DispatcherTest {
 protected:
  LongAnswer() {
    for (int i = 0; i < 198; ++i) {
      nameSpace().createInstance(
          instance("Base", {{"Id", std::to_string(i).c_str()}, {"Text", "x"}}), Origin::restored);
    }
  }
  NameSpace& nameSpace() { return server_.repository.nameSpace("root/kvasd"); }
  std::optional<Answer> begin(const char* method, const Parameters& parameters, Length length) {
    return server_.begin(method, parameters, length);
  }
  void change(const char* id, const std::string& text) {
    CIMInstance changed = instance("Base", {{"Text", text.c_str()}});
    changed.setPath(path("Base", {{"Id", id}}));
    nameSpace().modifyInstance(changed, CIMPropertyList());
  }

  const Parameters base_{{"ClassName", className("Base")}};
};

TEST_F(LongAnswer, HasItsPartsInOrder) {
  const std::string id = "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"string\">";
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
    Answer answer = begin(method, base_, Length::any).value();
    const auto count = [&] {
      int names = 0;
      for (std::size_t at = answer.text.find(id); at != std::string::npos;
           at = answer.text.find(id, at + 1)) {
        ++names;
      }
      return names;
    };
    std::vector<int> parts{count()};
    while (answer.more && answer.more(answer.text)) {
      parts.push_back(count());
    }
    parts.push_back(count());
    EXPECT_THAT(parts, ElementsAre(64, 128, 192, 200)) << method;
    EXPECT_TRUE(
        answer.text.ends_with("</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>"));
    EXPECT_LT(answer.text.find(id + "b<"), answer.text.find(id + "0<"));
    EXPECT_LT(answer.text.find(id + "0<"), answer.text.find(id + "197<"));
  }
}

TEST_F(LongAnswer, IsNotBegunWhenABriefOneIsWanted) {
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
    EXPECT_FALSE(begin(method, base_, Length::brief)) << method;
  }
  EXPECT_TRUE(begin("GetClass", base_, Length::brief));
  const Parameters one{{"InstanceName", instanceName("Base", "Id", "0")}};
  EXPECT_TRUE(begin("GetInstance", one, Length::brief));
  change("0", std::string(256 << 10U, 'x'));
  EXPECT_FALSE(begin("GetInstance", one, Length::brief)) << "an instance of more than a part";
}

TEST_F(LongAnswer, ShowsTheInstancesOfItsBeginning) {
  const std::string expected = server_.ask("EnumerateInstances", base_);
  Answer answer = begin("EnumerateInstances", base_, Length::any).value();
  for (const char* id : {"150", "151", "152"}) {
    change(id, "changed");
  }
  nameSpace().deleteInstance(path("Base", {{"Id", "160"}}));
  nameSpace().createInstance(instance("Base", {{"Id", "new"}}), Origin::published);
  EXPECT_TRUE(answer.more(answer.text));
  server_.repository = Repository();  // as when files are read again
  while (answer.more(answer.text)) {
  }
  EXPECT_NE(answer.text.find("<IRETURNVALUE>" + expected + "</IRETURNVALUE>"), std::string::npos);
}

TEST_F(DispatcherTest, AnAnswerOfMoreThan128MiBIsRefused) {
  loadText(server_.repository,
           "class Large { [Key, Description(\"" + std::string(1 << 20, 'x') + "\")] uint32 Id; };");
  const auto error = [this] {
    return server_.errorOf("EnumerateInstances", {{"ClassName", className("Large")},
                                                  {"IncludeQualifiers", value("true")}});
  };
  for (Uint32 id = 0; id < 128; ++id) {
    if (id == 127) {
      EXPECT_EQ(error(), CIM_ERR_SUCCESS);
    }
    CIMInstance given("Large");
    given.addProperty({"Id", CIMValue(id)});
    server_.repository.nameSpace("root/kvasd")
        .declareInstance(given, std::make_shared<const std::string>("a.mof"));
  }
  EXPECT_EQ(error(), CIM_ERR_SERVER_LIMITS_EXCEEDED);
}

}  // namespace
}  // namespace cimd::test
