#include "xml/response.h"
#include <gtest/gtest.h>
#include "xml/encoder.h"

namespace Pegasus::xml {
namespace {

std::string answer(const std::string& content, const std::string& id = "7",
                   const std::string& method = "GetProperty") {
  return "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"" + id +
         "\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP><IMETHODRESPONSE NAME=\"" + method + "\">" +
         content + "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
}

Response read(const std::string& body) {
  return Response(body, "7", "GetProperty");
}

Response returned(const std::string& value) {
  return read(answer("<IRETURNVALUE>" + value + "</IRETURNVALUE>"));
}

TEST(Response, MessageIdMustBeTheSame) {
  EXPECT_NO_THROW(read(answer("")));
  for (const char* id : {"8", "07", "7 ", ""}) {
    EXPECT_THROW(read(answer("", id)), CIMClientResponseException) << id;
  }
  std::string missing = answer("");
  missing.erase(missing.find(" ID=\"7\""), 7);
  EXPECT_THROW(read(missing), CIMClientResponseException);
}

TEST(Response, MethodMustBeTheSameInAnyCase) {
  EXPECT_NO_THROW(read(answer("", "7", "getPROPERTY")));
  EXPECT_THROW(read(answer("", "7", "GetInstance")), CIMClientResponseException);
  EXPECT_THROW(read(answer("", "7", "")), CIMClientResponseException);
}

// A late answer to an earlier request does not refuse this one.
TEST(Response, ErrorOfAnotherMessageIsNotThisOnes) {
  const std::string error = "<ERROR CODE=\"6\"/>";
  EXPECT_THROW(read(answer(error, "6")), CIMClientResponseException);
  EXPECT_THROW(read(answer(error, "7", "GetInstance")), CIMClientResponseException);
  EXPECT_THROW(read(answer(error)), CIMException);
}

TEST(Response, MissingPartsAreAMissingAnswer) {
  const std::string begin = "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">";
  EXPECT_THROW(read(begin + "</CIM>"), CIMClientResponseException);
  EXPECT_THROW(read(begin + "<MESSAGE ID=\"7\"/></CIM>"), CIMClientResponseException);
  EXPECT_THROW(read(begin + "<MESSAGE ID=\"7\"><SIMPLERSP/></MESSAGE></CIM>"),
               CIMClientResponseException);
}

TEST(Response, OtherBodiesAreRefused) {
  const std::string begin = "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">";
  for (const std::string& body :
       {std::string("<html><body>Not found</body></html>"), begin + "<DECLARATION/></CIM>",
        begin + "text</CIM>", begin + "<MESSAGE ID=\"7\"><SIMPLEREQ/></MESSAGE></CIM>",
        begin + "<MESSAGE ID=\"7\"><MULTIRSP/></MESSAGE></CIM>",
        begin + "<MESSAGE ID=\"7\"><SIMPLERSP><METHODRESPONSE NAME=\"GetProperty\"/></SIMPLERSP>"
                "</MESSAGE></CIM>",
        answer("text"), answer("<VALUE>x</VALUE>"), answer("<IRETURNVALUE>x</IRETURNVALUE>"),
        answer("<IRETURNVALUE/><IRETURNVALUE/>")}) {
    EXPECT_THROW(read(body), XmlValidationError) << body;
  }
  EXPECT_THROW(read("HTTP/1.1 200 OK"), XmlException);
  EXPECT_THROW(read(""), XmlException);
}

// As the server sent it, so that the server finds the instance by it.
TEST(Response, ControlCharactersInANameAreWrittenAsTheyCame) {
  const std::string name =
      "<INSTANCENAME CLASSNAME=\"A\"><KEYBINDING NAME=\"k\"><KEYVALUE VALUETYPE=\"string\">"
      "a&#1;b&#32;</KEYVALUE></KEYBINDING></INSTANCENAME>";
  const CIMObjectPath path = returned(name).instanceName();
  EXPECT_EQ(path.getKeyBindings()[0].getValue(),
            "a\x01"
            "b ");
  std::string written;
  appendInstanceName(written, path);
  EXPECT_EQ(written, name);
  EXPECT_EQ(returned("<VALUE>a&#x1;</VALUE>").value(), CIMValue("a\x01"));
}

TEST(Response, ErrorsCarryCodeAndDescription) {
  const auto error = [](const std::string& attributes) {
    try {
      read(answer("\n<ERROR " + attributes + "><INSTANCE CLASSNAME=\"CIM_Error\"/></ERROR>"));
    } catch (const CIMException& thrown) {
      return thrown;
    }
    return CIMException(CIM_ERR_SUCCESS);
  };
  EXPECT_EQ(error("CODE=\"6\"").getCode(), CIM_ERR_NOT_FOUND);
  EXPECT_EQ(error("CODE=\"6\"").getDescription(), "");
  EXPECT_EQ(error("CODE=\" 11 \" DESCRIPTION=\"CIM_ERR_X: caf\u00e9 &lt;\"").getDescription(),
            "CIM_ERR_X: caf\u00e9 <");
  EXPECT_EQ(error("CODE=\" 11 \"").getCode(), CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(static_cast<Uint32>(error("CODE=\"4000000000\"").getCode()), 4000000000U);
  EXPECT_THROW(read(answer("<IRETURNVALUE/><ERROR CODE=\"1\"/>")), CIMException);
}

TEST(Response, ErrorsWithoutANumberAreRefused) {
  for (const char* attributes : {"", "CODE=\"\"", "CODE=\"0\"", "CODE=\"x\"", "CODE=\"-1\"",
                                 "CODE=\"4294967296\"", "DESCRIPTION=\"only\""}) {
    EXPECT_THROW(read(answer("<ERROR " + std::string(attributes) + "/>")), XmlValidationError)
        << attributes;
  }
}

TEST(Response, OutputParametersAreIgnored) {
  const Response response = read(
      answer("<PARAMVALUE NAME=\"x\"><VALUE>1</VALUE></PARAMVALUE><IRETURNVALUE><VALUE>2</VALUE>"
             "</IRETURNVALUE><PARAMVALUE NAME=\"y\"/>"));
  EXPECT_EQ(response.value(), CIMValue("2"));
}

TEST(Response, WithoutReturnValueThereIsNothing) {
  for (const char* content : {"", "\n", "<IRETURNVALUE/>", "<IRETURNVALUE>\n</IRETURNVALUE>"}) {
    const Response response = read(answer(content));
    EXPECT_EQ(response.namedInstances().size(), 0U);
    EXPECT_EQ(response.instanceNames().size(), 0U);
    EXPECT_TRUE(response.value().isNull());
    EXPECT_THROW(response.instance(), CIMClientResponseException);
    EXPECT_EQ(response.instanceName(), CIMObjectPath());
  }
}

TEST(Response, ResultsAreRead) {
  EXPECT_EQ(returned("<INSTANCE CLASSNAME=\"A\"/>").instance().getClassName(), "A");
  EXPECT_EQ(returned("\n<INSTANCENAME CLASSNAME=\"A\"/>\n").instanceName().getClassName(), "A");
  EXPECT_EQ(returned("<VALUE> </VALUE>").value(), CIMValue(" "));
  EXPECT_EQ(returned("<VALUE.ARRAY><VALUE>a</VALUE></VALUE.ARRAY>").value(),
            CIMValue(Array<String>{"a"}));
  const std::string named =
      "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"A\"/><INSTANCE CLASSNAME=\"A\"/>"
      "</VALUE.NAMEDINSTANCE>";
  EXPECT_EQ(returned(named + "\n" + named).namedInstances().size(), 2U);
}

TEST(Response, ResultsOfAnotherKindAreRefused) {
  const std::string two = "<INSTANCE CLASSNAME=\"A\"/><INSTANCE CLASSNAME=\"A\"/>";
  EXPECT_THROW(returned(two).instance(), XmlValidationError);
  EXPECT_THROW(returned(two).instanceNames(), XmlValidationError);
  EXPECT_THROW(returned(two).namedInstances(), XmlValidationError);
  EXPECT_THROW(returned("<VALUE/><VALUE/>").value(), XmlValidationError);
  EXPECT_THROW(returned("<VALUE/>").instance(), XmlValidationError);
  EXPECT_THROW(returned("<VALUE/>").instanceName(), XmlValidationError);
}

TEST(EncodeResponse, IsReadBack) {
  std::string names;
  appendInstanceName(names, CIMObjectPath("", "", "A"));
  appendInstanceName(names, CIMObjectPath("", "", "B"));
  const Response response(encodeResponse("a\"&<", "M>", names), "a\"&<", "m>");
  EXPECT_EQ(response.instanceNames().size(), 2U);
}

TEST(EncodeResponse, WithoutResultThereIsNoElement) {
  EXPECT_EQ(encodeResponse("7", "DeleteInstance", ""),
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>"
            "<IMETHODRESPONSE NAME=\"DeleteInstance\"></IMETHODRESPONSE></SIMPLERSP></MESSAGE>"
            "</CIM>");
}

TEST(EncodeResponse, ErrorsAreSentWhateverTheyDescribe) {
  const String description(std::u16string(u"\x01 \xD800 \xFFFE & \"x\""));
  try {
    const Response response(encodeErrorResponse("7", "M", CIM_ERR_NOT_FOUND, description), "7",
                            "M");
    FAIL();
  } catch (const CIMException& error) {
    EXPECT_EQ(error.getCode(), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(error.getDescription(), "? ? ? & \"x\"");
  }
}

}  // namespace
}  // namespace Pegasus::xml
