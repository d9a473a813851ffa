#include "operations/dispatcher.h"
#include <gtest/gtest.h>
#include "xml/decoder.h"
#include "xml/response.h"

#include <new>

#include "requests.h"
#include "support.h"

namespace cimd {
namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMPropertyList;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::xml::Request;
using Pegasus::xml::RequestWriter;
using Pegasus::xml::Response;
using test::path;

constexpr const char* dispatcherSchema = R"(
  class Base { [Key] string Id; string Text; };
  class Derived : Base { uint32 Number = 7; string Many[] = {"a", "b"}; };
  instance of Derived { Id = "d"; Text = "t"; };
  instance of Base { Id = "b"; };
)";

class DispatcherTest : public testing::Test {
 protected:
  DispatcherTest() { test::loadText(repository_, dispatcherSchema); }

  static RequestWriter request(const char* method, const char* nameSpace = "root/kvasd") {
    return RequestWriter("id", method, nameSpace);
  }
  Response answer(RequestWriter& writer, const char* method) {
    return Response(test::answerTo(dispatcher_, Request(writer.finish()), root_), "id", method);
  }
  Pegasus::CIMStatusCode status(RequestWriter& writer, const char* method) {
    return test::statusOf([&] { answer(writer, method); });
  }
  // Names of the properties of the instances, one instance a word.
  static std::string properties(const Pegasus::Array<CIMInstance>& instances) {
    std::string names;
    for (const CIMInstance& instance : instances) {
      for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        names += instance.getProperty(i).getName().toUtf8() + ',';
      }
      names += ' ';
    }
    return names;
  }
  // The same of an enumeration of Base with these two parameters.
  std::string enumerated(bool deep, const CIMPropertyList& list) {
    RequestWriter writer = request("EnumerateInstances");
    writer.className("ClassName", "base")
        .boolean("DeepInheritance", deep)
        .propertyList("PropertyList", list);
    return properties(answer(writer, "EnumerateInstances").namedInstances());
  }

  Repository repository_;
  Log log_{LogLevel::warning};
  Access access_{Writers(), log_};
  Caller root_{[] { return uid_t{0}; }};
  Dispatcher dispatcher_{repository_, access_, log_};
};

TEST_F(DispatcherTest, EnumerateInstancesReturnsSubclassInstancesWithAllProperties) {
  RequestWriter writer = request("enumerateinstances", "/ROOT/kvasd");
  writer.className("classname", "BASE").boolean("LocalOnly", true);
  const auto instances = answer(writer, "EnumerateInstances").namedInstances();
  ASSERT_EQ(instances.size(), 2U);
  EXPECT_EQ(instances[0].getPath().toString(), String("Derived.Id=\"d\""));
  EXPECT_EQ(properties(instances), "Id,Text,Number,Many, Id,Text, ");
  EXPECT_TRUE(instances[0].getProperty(0).getPropagated());
  EXPECT_FALSE(instances[0].getProperty(2).getPropagated());
  EXPECT_EQ(instances[0].getProperty(3).getValue().toString(), String("a b "));
  EXPECT_EQ(instances[0].getProperty(0).getClassOrigin(), String());
}

TEST_F(DispatcherTest, WithoutDeepInheritancePropertiesOfSubclassesAreLeftOut) {
  EXPECT_EQ(enumerated(false, CIMPropertyList()), "Id,Text, Id,Text, ");
}

TEST_F(DispatcherTest, PropertyListSelectsAndUnknownNamesAreIgnored) {
  EXPECT_EQ(enumerated(true, CIMPropertyList({"NUMBER", "text", "text", "none"})),
            "Text,Number, Text, ");
  EXPECT_EQ(enumerated(false, CIMPropertyList({"Number", "Text"})), "Text, Text, ");
  EXPECT_EQ(enumerated(true, CIMPropertyList(Pegasus::Array<String>())), "  ");
}

TEST_F(DispatcherTest, APropertyListHasAtMostAsManyNamesAsAClass) {
  Pegasus::Array<String> names;
  for (Uint32 i = 0; i < Pegasus::xml::maxProperties; ++i) {
    names.append("Text");
  }
  EXPECT_EQ(enumerated(true, CIMPropertyList(names)), "Text, Text, ");
  names.append("Text");
  RequestWriter writer = request("EnumerateInstances");
  writer.className("ClassName", "Base").propertyList("PropertyList", CIMPropertyList(names));
  EXPECT_EQ(status(writer, "EnumerateInstances"), Pegasus::CIM_ERR_INVALID_PARAMETER);
}

TEST_F(DispatcherTest, ClassOriginIsTheClassThatIntroducedTheProperty) {
  RequestWriter writer = request("GetInstance");
  writer.instanceName("InstanceName", path("Derived", {{"Id", "d"}}))
      .boolean("IncludeClassOrigin", true);
  const CIMInstance instance = answer(writer, "GetInstance").instance();
  EXPECT_EQ(instance.getProperty(0).getClassOrigin(), String("Base"));
  EXPECT_EQ(instance.getProperty(2).getClassOrigin(), String("Derived"));
}

TEST_F(DispatcherTest, AnInstanceCanBeCreatedListedReadAndDeleted) {
  RequestWriter create = request("CreateInstance");
  create.instance("NewInstance", test::instance("base", {{"ID", "n"}, {"Text", "new"}}));
  EXPECT_EQ(answer(create, "CreateInstance").instanceName().toString(), String("Base.Id=\"n\""));

  RequestWriter names = request("EnumerateInstanceNames");
  names.className("ClassName", "Base");
  const auto listed = answer(names, "EnumerateInstanceNames").instanceNames();
  ASSERT_EQ(listed.size(), 3U);
  EXPECT_EQ(listed[2].toString(), String("Base.Id=\"n\""));

  RequestWriter get = request("GetProperty");
  get.instanceName("InstanceName", listed[2]).text("PropertyName", "TEXT");
  EXPECT_EQ(answer(get, "GetProperty").value().toString(), String("new"));

  RequestWriter remove = request("DeleteInstance");
  remove.instanceName("InstanceName", listed[2]);
  EXPECT_EQ(status(remove, "DeleteInstance"), Pegasus::CIM_ERR_SUCCESS);
  RequestWriter again = request("GetInstance");
  again.instanceName("InstanceName", listed[2]);
  EXPECT_EQ(status(again, "GetInstance"), Pegasus::CIM_ERR_NOT_FOUND);
}

TEST_F(DispatcherTest, OnlyWritersChangeAndEverybodyReads) {
  Caller other([] { return uid_t{4711}; });
  const auto asOther = [&](RequestWriter writer, const char* method) {
    return test::statusOf([&] {
      const Response read(test::answerTo(dispatcher_, Request(writer.finish()), other), "id",
                          method);
    });
  };
  // Also where there is no such namespace, instance or operation to be found out.
  for (const char* nameSpace : {"root/kvasd", "root/none"}) {
    for (const char* method :
         {"CreateInstance", "ModifyInstance", "DeleteInstance", "SetProperty", "deleteinstance"}) {
      EXPECT_EQ(asOther(request(method, nameSpace), method), Pegasus::CIM_ERR_ACCESS_DENIED)
          << method;
    }
  }
  for (const char* method : {"EnumerateClassNames", "EnumerateClasses", "EnumerateQualifiers"}) {
    EXPECT_EQ(asOther(request(method), method), Pegasus::CIM_ERR_SUCCESS) << method;
  }
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames", "GetInstance",
                             "GetProperty", "GetClass", "GetQualifier"}) {
    EXPECT_EQ(asOther(request(method), method), Pegasus::CIM_ERR_INVALID_PARAMETER) << method;
  }
}

TEST_F(DispatcherTest, OtherOperationsAreNotSupportedInAnyNamespace) {
  for (const char* method :
       {"CreateClass", "ModifyClass", "DeleteClass", "Associators", "AssociatorNames", "References",
        "ReferenceNames", "ExecQuery", "SetQualifier", "DeleteQualifier", "OpenEnumerateInstances",
        "OpenEnumerateInstancePaths", "PullInstancesWithPath", "PullInstances", "CloseEnumeration",
        "NoSuchOperation"}) {
    RequestWriter writer = request(method, "root/nowhere");
    EXPECT_EQ(status(writer, method), Pegasus::CIM_ERR_NOT_SUPPORTED) << method;
  }
}

TEST_F(DispatcherTest, ErrorsAreCheckedInTheOrderOfTheStandard) {
  RequestWriter nameSpace = request("EnumerateInstances", "root/nowhere");
  nameSpace.text("NoSuchParameter", "x");
  EXPECT_EQ(status(nameSpace, "EnumerateInstances"), Pegasus::CIM_ERR_INVALID_NAMESPACE);

  RequestWriter parameter = request("EnumerateInstances");
  parameter.className("ClassName", "NoSuchClass").text("NoSuchParameter", "x");
  EXPECT_EQ(status(parameter, "EnumerateInstances"), Pegasus::CIM_ERR_INVALID_PARAMETER);

  RequestWriter cls = request("GetProperty");
  cls.instanceName("InstanceName", path("None", {})).text("PropertyName", "x");
  EXPECT_EQ(status(cls, "GetProperty"), Pegasus::CIM_ERR_INVALID_CLASS);

  RequestWriter instance = request("GetProperty");
  instance.instanceName("InstanceName", path("Base", {{"Id", "x"}})).text("PropertyName", "x");
  EXPECT_EQ(status(instance, "GetProperty"), Pegasus::CIM_ERR_NOT_FOUND);

  RequestWriter property = request("GetProperty");
  property.instanceName("InstanceName", path("Base", {{"Id", "b"}})).text("PropertyName", "x");
  EXPECT_EQ(status(property, "GetProperty"), Pegasus::CIM_ERR_NO_SUCH_PROPERTY);
}

TEST_F(DispatcherTest, MissingParametersAreInvalid) {
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames", "GetInstance",
                             "GetProperty", "CreateInstance", "DeleteInstance"}) {
    RequestWriter writer = request(method);
    EXPECT_EQ(status(writer, method), Pegasus::CIM_ERR_INVALID_PARAMETER) << method;
  }
  RequestWriter half = request("GetProperty");
  half.instanceName("InstanceName", path("Base", {{"Id", "b"}}));
  EXPECT_EQ(status(half, "GetProperty"), Pegasus::CIM_ERR_INVALID_PARAMETER);
}

TEST_F(DispatcherTest, ParametersOfAnotherKindAreInvalidBeforeTheClassIsLookedUp) {
  for (const char* parameter : {"LocalOnly", "DeepInheritance", "IncludeQualifiers",
                                "IncludeClassOrigin", "PropertyList"}) {
    RequestWriter writer = request("EnumerateInstances");
    writer.className("ClassName", "NoSuchClass").className(parameter, "x");
    EXPECT_EQ(status(writer, "EnumerateInstances"), Pegasus::CIM_ERR_INVALID_PARAMETER)
        << parameter;
  }
  RequestWriter name = request("GetInstance");
  name.text("InstanceName", "Base.Id=\"b\"");
  EXPECT_EQ(status(name, "GetInstance"), Pegasus::CIM_ERR_INVALID_PARAMETER);
  RequestWriter instance = request("CreateInstance");
  instance.text("NewInstance", "x");
  EXPECT_EQ(status(instance, "CreateInstance"), Pegasus::CIM_ERR_INVALID_PARAMETER);
}

TEST_F(DispatcherTest, MethodCallsAreNotSupported) {
  const std::string answer = test::answerTo(
      dispatcher_,
      Request(
          "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
          "<SIMPLEREQ><METHODCALL NAME=\"Run\"><LOCALCLASSPATH><LOCALNAMESPACEPATH>"
          "<NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH><CLASSNAME "
          "NAME=\"Base\"/></LOCALCLASSPATH>"
          "</METHODCALL></SIMPLEREQ></MESSAGE></CIM>"),
      root_);
  EXPECT_NE(answer.find("<SIMPLERSP><METHODRESPONSE NAME=\"Run\"><ERROR CODE=\"7\""),
            std::string::npos);
  EXPECT_TRUE(answer.ends_with("/></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>"));
  const std::string namesake = test::answerTo(
      dispatcher_,
      Request(
          "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
          "<SIMPLEREQ><METHODCALL NAME=\"GetClass\"/></SIMPLEREQ></MESSAGE></CIM>"),
      root_);
  EXPECT_NE(namesake.find("<METHODRESPONSE NAME=\"GetClass\"><ERROR CODE=\"7\""),
            std::string::npos);
}

TEST_F(DispatcherTest, DuplicateParametersAreInvalid) {
  RequestWriter writer = request("EnumerateInstanceNames");
  writer.className("ClassName", "Base").className("CLASSNAME", "Base");
  EXPECT_EQ(status(writer, "EnumerateInstanceNames"), Pegasus::CIM_ERR_INVALID_PARAMETER);
}

// The transport answers with HTTP status 500 then: there may be no memory for an error either.
TEST_F(DispatcherTest, LackOfMemoryIsNotAnAnswer) {
  class Failing : public Journal {
   public:
    void put(const String& /*nameSpace*/, const InstanceKey& /*key*/, const String& /*className*/,
             std::string_view /*instanceXml*/) override {
      throw std::bad_alloc();
    }
    void remove(const String& /*nameSpace*/, const InstanceKey& /*key*/) override {}
  };
  Failing journal;
  repository_.setJournal(&journal);
  RequestWriter writer = request("CreateInstance");
  writer.instance("NewInstance", test::instance("Base", {{"Id", "1"}}));
  EXPECT_THROW(test::answerTo(dispatcher_, Request(writer.finish()), root_), std::bad_alloc);
  repository_.setJournal(nullptr);
}

// 200 instances of Base, in parts of 64.
class LongAnswer : public DispatcherTest {
 protected:
  LongAnswer() {
    for (int i = 0; i < 198; ++i) {
      const std::string id = std::to_string(i);
      repository_.nameSpace("root/kvasd")
          .createInstance(test::instance("Base", {{"Id", id.c_str()}, {"Text", "x"}}),
                          Origin::restored);
    }
  }
  Request listing(const char* method) {
    RequestWriter writer = request(method);
    return Request(writer.className("ClassName", "Base").finish());
  }
};

TEST_F(LongAnswer, HasItsPartsInOrder) {
  const std::string id = "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"string\">";
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
    Answer answer = dispatcher_.answer(listing(method), root_).value();
    std::vector<std::ptrdiff_t> parts;
    const auto count = [&] {
      std::ptrdiff_t names = 0;
      for (std::size_t at = answer.text.find(id); at != std::string::npos;
           at = answer.text.find(id, at + 1)) {
        ++names;
      }
      return names;
    };
    parts.push_back(count());
    while (answer.more && answer.more(answer.text)) {
      parts.push_back(count());
    }
    parts.push_back(count());
    EXPECT_EQ(parts, (std::vector<std::ptrdiff_t>{64, 128, 192, 200})) << method;
    const Response response(answer.text, "id", method);
    EXPECT_LT(answer.text.find(id + "b<"), answer.text.find(id + "0<"));
    EXPECT_LT(answer.text.find(id + "0<"), answer.text.find(id + "197<"));
  }
}

TEST_F(LongAnswer, IsNotBegunWhenABriefOneIsWanted) {
  for (const char* method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
    EXPECT_FALSE(dispatcher_.answer(listing(method), root_, Length::brief)) << method;
  }
  EXPECT_TRUE(dispatcher_.answer(listing("GetClass"), root_, Length::brief));
  const auto one = test::path("Base", {{"Id", "0"}});
  const auto read = [&] {
    RequestWriter writer = request("GetInstance");
    writer.instanceName("InstanceName", one);
    return dispatcher_.answer(Request(writer.finish()), root_, Length::brief).has_value();
  };
  EXPECT_TRUE(read());
  CIMInstance large = test::instance("Base", {{"Text", std::string(256 << 10U, 'x').c_str()}});
  large.setPath(one);
  repository_.nameSpace("root/kvasd").modifyInstance(large, CIMPropertyList());
  EXPECT_FALSE(read()) << "an instance of more than a part";
}

TEST_F(LongAnswer, ShowsTheInstancesOfItsBeginning) {
  NameSpace& nameSpace = repository_.nameSpace("root/kvasd");
  const Request all = listing("EnumerateInstances");
  const std::string expected = test::answerTo(dispatcher_, all, root_);
  Answer answer = dispatcher_.answer(all, root_).value();
  for (const char* id : {"150", "151", "152"}) {
    CIMInstance changed = test::instance("Base", {{"Text", "changed"}});
    changed.setPath(test::path("Base", {{"Id", id}}));
    nameSpace.modifyInstance(changed, CIMPropertyList());
  }
  nameSpace.deleteInstance(test::path("Base", {{"Id", "160"}}));
  nameSpace.createInstance(test::instance("Base", {{"Id", "new"}}), Origin::published);
  EXPECT_TRUE(answer.more(answer.text));
  repository_ = Repository();  // as when files are read again
  while (answer.more(answer.text)) {
  }
  EXPECT_EQ(answer.text, expected);
}

TEST_F(DispatcherTest, AnAnswerOfMoreThan128MiBIsRefused) {
  test::loadText(repository_, "class Large { [Key, Description(\"" + std::string(1 << 20, 'x') +
                                  "\")] uint32 Id; };");
  const auto enumerate = [this] {
    RequestWriter writer = request("EnumerateInstances");
    writer.className("ClassName", "Large").boolean("IncludeQualifiers", true);
    const std::string text = test::answerTo(dispatcher_, Request(writer.finish()), root_);
    return text.find("CODE=\"27\"") != std::string::npos;
  };
  for (Uint32 id = 0; id < 128; ++id) {
    if (id == 127) {
      EXPECT_FALSE(enumerate());
    }
    CIMInstance given("Large");
    given.addProperty({"Id", Pegasus::CIMValue(id)});
    repository_.nameSpace("root/kvasd")
        .declareInstance(given, std::make_shared<const std::string>("a.mof"));
  }
  EXPECT_TRUE(enumerate());
}

}  // namespace
}  // namespace cimd
