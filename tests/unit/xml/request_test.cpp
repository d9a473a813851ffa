#include "xml/request.h"
#include <gtest/gtest.h>

namespace Pegasus::xml {
namespace {

std::string message(const std::string& content) {
  return "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.3\" DTDVERSION=\"2.1\"><MESSAGE ID=\"7\" "
         "PROTOCOLVERSION=\"1.4\">" +
         content + "</MESSAGE></CIM>";
}

std::string call(const std::string& parameters) {
  return message(
      "<SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
      "</LOCALNAMESPACEPATH>" +
      parameters + "</IMETHODCALL></SIMPLEREQ>");
}

std::string parameter(const std::string& value) {
  return call("<IPARAMVALUE NAME=\"P\">" + value + "</IPARAMVALUE>");
}

TEST(Request, FrameIsRead) {
  const Request request(call("\n"));
  EXPECT_EQ(request.messageId(), "7");
  EXPECT_EQ(request.cimVersion(), "2.3");
  EXPECT_EQ(request.dtdVersion(), "2.1");
  EXPECT_EQ(request.protocolVersion(), "1.4");
  EXPECT_EQ(request.method(), "GetInstance");
  EXPECT_EQ(request.nameSpace(), "root");
  EXPECT_EQ(request.kind(), CallKind::intrinsic);
  EXPECT_FALSE(request.isBatch());
  EXPECT_TRUE(request.parameterNames().empty());
}

TEST(Request, ParameterNamesAreMatchedInAnyCase) {
  const Request request(call("<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>TRUE</VALUE></IPARAMVALUE>"));
  EXPECT_EQ(request.boolean("LOCALONLY"), true);
  EXPECT_EQ(request.parameterNames(), std::vector<std::string>{"LocalOnly"});
}

TEST(Request, MissingAndNullParametersGiveNothing) {
  const Request request(call("<IPARAMVALUE NAME=\"Null\"/>"));
  for (const char* name : {"Null", "Missing"}) {
    EXPECT_FALSE(request.className(name));
    EXPECT_FALSE(request.instanceName(name));
    EXPECT_FALSE(request.instance(name));
    EXPECT_FALSE(request.name(name));
    EXPECT_FALSE(request.boolean(name));
    EXPECT_TRUE(request.propertyList(name).isNull());
  }
}

TEST(Request, ParametersOfAnotherKindAreRefused) {
  const Request text(parameter("<VALUE>x</VALUE>"));
  EXPECT_EQ(text.name("P"), String("x"));
  EXPECT_THROW(text.className("P"), XmlValidationError);
  EXPECT_THROW(text.instanceName("P"), XmlValidationError);
  EXPECT_THROW(text.instance("P"), XmlValidationError);
  EXPECT_THROW(text.boolean("P"), XmlValidationError);
  EXPECT_THROW(text.propertyList("P"), XmlValidationError);
  const Request name(parameter("<CLASSNAME NAME=\"A\"/>"));
  EXPECT_EQ(name.className("P"), String("A"));
  EXPECT_THROW(name.name("P"), XmlValidationError);
  EXPECT_THROW(name.boolean("P"), XmlValidationError);
  EXPECT_THROW(Request(parameter("<CLASSNAME/>")).className("P"), XmlValidationError);
}

TEST(Request, ANamedInstanceIsOfTheClassOfItsName) {
  const auto modified = [](const std::string& className) {
    return Request(parameter("<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME='A'/>"
                             "<INSTANCE CLASSNAME='" +
                             className + "'/></VALUE.NAMEDINSTANCE>"))
        .namedInstance("P");
  };
  EXPECT_EQ(modified("a")->getClassName(), String("A"));
  EXPECT_THROW(modified("B"), XmlValidationError);
}

TEST(Request, NamesMayHaveWhiteSpaceAroundThem) {
  EXPECT_EQ(Request(parameter("<VALUE>\n DeviceID\t</VALUE>")).name("P"), String("DeviceID"));
  EXPECT_EQ(Request(parameter("<VALUE> </VALUE>")).name("P"), String());
  EXPECT_EQ(Request(parameter("<CLASSNAME NAME=' A '/>")).className("P"), String("A"));
  EXPECT_EQ(Request(parameter("<VALUE.ARRAY><VALUE> DeviceID </VALUE></VALUE.ARRAY>"))
                .propertyList("P")[0],
            "DeviceID");
  const Request spaced(call("<IPARAMVALUE NAME=' P '><VALUE> TRUE </VALUE></IPARAMVALUE>"));
  EXPECT_EQ(spaced.boolean("P"), true);
  EXPECT_EQ(spaced.parameterNames(), std::vector<std::string>{"P"});
}

TEST(Request, PropertyLists) {
  const CIMPropertyList two =
      Request(parameter("<VALUE.ARRAY><VALUE>a</VALUE><VALUE>b</VALUE></VALUE.ARRAY>"))
          .propertyList("P");
  ASSERT_FALSE(two.isNull());
  ASSERT_EQ(two.size(), 2U);
  EXPECT_EQ(two[1], "b");
  const CIMPropertyList none = Request(parameter("<VALUE.ARRAY/>")).propertyList("P");
  EXPECT_FALSE(none.isNull());
  EXPECT_EQ(none.size(), 0U);
}

TEST(Request, WrittenParametersAreReadBack) {
  CIMInstance instance("A");
  instance.addProperty(CIMProperty("p", CIMValue(Uint32{5})));
  const CIMObjectPath path("", "", "A", {CIMKeyBinding("k", "&", CIMKeyBinding::STRING)});
  const Request request(RequestWriter("id \"1\"", "M<", "root/a")
                            .className("Class", "C&")
                            .instanceName("Name", path)
                            .instance("Instance", instance)
                            .text("Text", "<x>")
                            .boolean("Flag", false)
                            .propertyList("All", CIMPropertyList())
                            .propertyList("None", CIMPropertyList(Array<String>()))
                            .propertyList("Some", CIMPropertyList(Array<String>{"p", "q"}))
                            .finish());
  EXPECT_EQ(request.messageId(), "id \"1\"");
  EXPECT_EQ(request.method(), "M<");
  EXPECT_EQ(request.className("Class"), String("C&"));
  EXPECT_EQ(request.instanceName("Name"), path);
  EXPECT_EQ(request.instance("Instance")->getProperty(0).getValue(), CIMValue(Uint32{5}));
  EXPECT_EQ(request.name("Text"), String("<x>"));
  EXPECT_EQ(request.boolean("Flag"), false);
  EXPECT_TRUE(request.propertyList("All").isNull());
  EXPECT_FALSE(request.propertyList("None").isNull());
  EXPECT_EQ(request.propertyList("None").size(), 0U);
  EXPECT_EQ(request.propertyList("Some").size(), 2U);
}

TEST(Request, ReferencesToControlCharactersAreRefused) {
  EXPECT_THROW(Request(parameter("<VALUE>&#1;</VALUE>")), XmlException);
}

TEST(Request, WhatCannotBeWrittenThrows) {
  RequestWriter writer("1", "CreateInstance", "root/a");
  EXPECT_THROW(writer.text("P", String(std::u16string(u"\x01"))), InvalidValueException);
  EXPECT_THROW(RequestWriter("1", "M", ""), InvalidValueException);
}

TEST(Request, BatchesAreReportedAndNotRead) {
  const Request request(message("<MULTIREQ><SIMPLEREQ/><SIMPLEREQ/></MULTIREQ>"));
  EXPECT_TRUE(request.isBatch());
  EXPECT_EQ(request.messageId(), "7");
  EXPECT_EQ(request.method(), "");
}

TEST(Request, OnlyTheNameOfAnExtrinsicCallIsRead) {
  const Request extrinsic(
      message("<SIMPLEREQ><METHODCALL NAME=\"Reset\"><LOCALCLASSPATH/></METHODCALL></SIMPLEREQ>"));
  EXPECT_EQ(extrinsic.kind(), CallKind::extrinsic);
  EXPECT_EQ(extrinsic.method(), "Reset");
}

TEST(Request, CorrelatorsAreIgnored) {
  EXPECT_EQ(Request(message("<SIMPLEREQ><CORRELATOR NAME=\"x\" TYPE=\"string\"><VALUE>1</VALUE>"
                            "</CORRELATOR><METHODCALL NAME=\"M\"/></SIMPLEREQ>"))
                .method(),
            "M");
}

TEST(Request, BodiesThatAreNoRequestAreRefused) {
  const std::string good = call("");
  const auto without = [&good](const std::string& part) {
    std::string xml = good;
    xml.erase(xml.find(part), part.size());
    return xml;
  };
  // The element that begins and ends so, with another name.
  const auto replaced = [&good](const std::string& begin, const std::string& end,
                                const std::string& name) {
    std::string xml = good;
    const std::size_t length = end.size() - 2;
    xml.replace(xml.rfind(end) + 1, length, name);
    xml.replace(xml.find(begin), length, name);
    return xml;
  };
  for (const std::string& xml :
       {std::string("<html/>"),
        replaced("CIM ", "/CIM>", "HTML"),
        replaced("MESSAGE ", "/MESSAGE>", "OTHER"),
        replaced("SIMPLEREQ>", "/SIMPLEREQ>", "SIMPLERSP"),
        std::string("<CIM CIMVERSION='2.0' DTDVERSION='2.0'/>"),
        message(""),
        message("<SIMPLEREQ/>"),
        message("<SIMPLERSP/>"),
        message("text"),
        message("<SIMPLEREQ><IMETHODCALL NAME='M'/></SIMPLEREQ>"),
        message("<SIMPLEREQ><EXPMETHODCALL NAME='M'/></SIMPLEREQ>"),
        message("<SIMPLEEXPREQ><EXPMETHODCALL NAME='M'/></SIMPLEEXPREQ>"),
        message("<MULTIEXPREQ/>"),
        message("<SIMPLEREQ><METHODCALL NAME='M'/><METHODCALL NAME='M'/></SIMPLEREQ>"),
        message("<SIMPLEREQ/><SIMPLEREQ/>"),
        without(" ID=\"7\""),
        without(" CIMVERSION=\"2.3\""),
        without(" DTDVERSION=\"2.1\""),
        without(" PROTOCOLVERSION=\"1.4\""),
        without(" NAME=\"GetInstance\""),
        without("<NAMESPACE NAME=\"root\"/>"),
        call("<IPARAMVALUE><VALUE/></IPARAMVALUE>"),
        call("<PARAMVALUE NAME='P'/>"),
        call("text"),
        call("<IPARAMVALUE NAME='P'>text</IPARAMVALUE>"),
        call("<IPARAMVALUE NAME='P'><VALUE/><VALUE/></IPARAMVALUE>")}) {
    EXPECT_THROW(Request{xml}, XmlValidationError) << xml;
  }
  EXPECT_THROW(Request(""), XmlException);
}

TEST(Request, ParametersAreBounded) {
  std::string parameters;
  for (int i = 0; i < 100'000; ++i) {
    parameters += "<IPARAMVALUE NAME='P" + std::to_string(i) + "'/>";
  }
  EXPECT_THROW(Request(call(parameters)), XmlValidationError);
}

}  // namespace
}  // namespace Pegasus::xml
