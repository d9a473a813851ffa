// What a real server said, and what it was asked: independent of how this library writes.
#include "traffic.h"

#include <gtest/gtest.h>
#include "xml/request.h"
#include "xml/response.h"

namespace Pegasus::xml {
namespace {

Response response(const std::string& name, const std::string& method) {
  return Response(recordedBody(name + ".response.http"), "1001", method);
}

CIMStatusCode refusal(const std::string& name, const std::string& method, String& description) {
  try {
    response(name, method);
  } catch (const CIMException& error) {
    description = error.getDescription();
    return error.getCode();
  }
  return CIM_ERR_SUCCESS;
}

String property(const CIMInstance& instance, const String& name) {
  return instance.getProperty(instance.findProperty(name)).getValue().toString();
}

CIMObjectPath fruPath(const char* number) {
  return {String(),
          String(),
          "KVAXDT_FRU",
          {CIMKeyBinding("FRUNumber", number, CIMKeyBinding::STRING),
           CIMKeyBinding("IdentifyingNumber", "KVAHalvoranFru1", CIMKeyBinding::STRING),
           CIMKeyBinding("Vendor", "KVA", CIMKeyBinding::STRING)}};
}

CIMInstance fru(const char* number, const char* name, const char* description) {
  CIMInstance instance("KVAXDT_FRU");
  instance.addProperty(CIMProperty("FRUNumber", CIMValue(number)));
  instance.addProperty(CIMProperty("Name", CIMValue(name)));
  instance.addProperty(CIMProperty("Description", CIMValue(description)));
  instance.addProperty(CIMProperty("IdentifyingNumber", CIMValue("KVAHalvoranFru1")));
  instance.addProperty(CIMProperty("Vendor", CIMValue("KVA")));
  instance.addProperty(CIMProperty("RevisionLevel", CIMValue("1.0")));
  return instance;
}

RequestWriter writer(const char* method, const char* nameSpace = "root/kvasd") {
  return {"1001", method, nameSpace};
}

std::string enumeration(const char* className, const char* nameSpace = "root/kvasd") {
  return writer("EnumerateInstances", nameSpace)
      .className("ClassName", className)
      .boolean("DeepInheritance", true)
      .boolean("LocalOnly", true)
      .boolean("IncludeQualifiers", false)
      .boolean("IncludeClassOrigin", false)
      .propertyList("PropertyList", CIMPropertyList())
      .finish();
}

std::string nameEnumeration() {
  return writer("EnumerateInstanceNames").className("ClassName", "KVAXDT_FRU").finish();
}

std::string creation(const CIMInstance& instance) {
  return writer("CreateInstance").instance("NewInstance", instance).finish();
}

std::string propertyQuestion(const char* number, const char* property) {
  return writer("GetProperty")
      .instanceName("InstanceName", fruPath(number))
      .text("PropertyName", property)
      .finish();
}

std::string deletion(const char* number) {
  return writer("DeleteInstance").instanceName("InstanceName", fruPath(number)).finish();
}

const char* const escapedText = "Board & <riser> 5\" caf\u00e9 \u4e2d";

struct WrittenRequest {
  const char* name;
  std::string body;
};

TEST(RecordedRequests, AreWhatTheWriterWrites) {
  const CIMInstance fan = fru("A100001", "FAN", "Hot swap fan");
  const std::vector<WrittenRequest> requests = {
      {"01-enumerate-instances", enumeration("KVAXDT_ComputerSystemDetails")},
      {"02-enumerate-instance-names-none", nameEnumeration()},
      {"03-create-instance", creation(fan)},
      {"04-create-instance-already-exists", creation(fan)},
      {"05-create-instance-escaped-text", creation(fru("A100009", "PLANAR", escapedText))},
      {"06-enumerate-instance-names", nameEnumeration()},
      {"07-get-property", propertyQuestion("A100001", "IdentifyingNumber")},
      {"08-get-property-escaped-text", propertyQuestion("A100009", "Description")},
      {"09-get-property-null", propertyQuestion("A100001", "Caption")},
      {"10-get-property-no-such-property", propertyQuestion("A100001", "NoSuchProperty")},
      {"11-delete-instance", deletion("A100001")},
      {"12-delete-instance-not-found", deletion("A100001")},
      {"13-unknown-class", enumeration("KVAXDT_NoSuchClass")},
      {"14-unknown-namespace", enumeration("KVAXDT_Processor", "root/nowhere")},
      {"15-enumerate-instances-escaped-text", enumeration("KVAXDT_FRU")},
      {"17-chunked-enumerate-instances", enumeration("KVAXDT_ComputerSystemDetails")},
      {"18-chunked-error-in-trailer", enumeration("KVAXDT_NoSuchClass")},
      {"19-chunked-create-instance-already-exists", creation(fru("A100009", "PLANAR", "again"))},
  };
  std::vector<std::string> names;
  for (const WrittenRequest& request : requests) {
    // The recorded bodies end in a line feed.
    EXPECT_EQ(recordedBody(std::string(request.name) + ".request.http"), request.body + "\n");
    names.emplace_back(request.name);
  }
  EXPECT_EQ(names, recordedCases());
}

TEST(RecordedRequests, HaveTheSameMessageFrame) {
  for (const std::string& name : recordedCases()) {
    SCOPED_TRACE(name);
    const Request request(recordedBody(name + ".request.http"));
    EXPECT_EQ(request.messageId(), "1001");
    EXPECT_EQ(request.cimVersion(), "2.0");
    EXPECT_EQ(request.dtdVersion(), "2.0");
    EXPECT_EQ(request.protocolVersion(), "1.0");
    EXPECT_EQ(request.kind(), CallKind::intrinsic);
    EXPECT_FALSE(request.isBatch());
    EXPECT_EQ(request.nameSpace(), name == "14-unknown-namespace" ? "root/nowhere" : "root/kvasd");
  }
}

TEST(RecordedRequests, EnumerationsSayWhatTheyAskFor) {
  const Request request(recordedBody("01-enumerate-instances.request.http"));
  EXPECT_EQ(request.method(), "EnumerateInstances");
  EXPECT_EQ(request.parameterNames(),
            (std::vector<std::string>{"ClassName", "DeepInheritance", "LocalOnly",
                                      "IncludeQualifiers", "IncludeClassOrigin"}));
  EXPECT_EQ(request.className("ClassName"), String("KVAXDT_ComputerSystemDetails"));
  EXPECT_EQ(request.boolean("DeepInheritance"), true);
  EXPECT_EQ(request.boolean("IncludeQualifiers"), false);
  EXPECT_TRUE(request.propertyList("PropertyList").isNull());
}

TEST(RecordedRequests, CreationCarriesTheInstance) {
  const Request request(recordedBody("05-create-instance-escaped-text.request.http"));
  EXPECT_EQ(request.method(), "CreateInstance");
  const CIMInstance instance = request.instance("NewInstance").value();
  EXPECT_EQ(instance.getClassName(), "KVAXDT_FRU");
  EXPECT_EQ(instance.getPropertyCount(), 6U);
  EXPECT_EQ(property(instance, "Description"), escapedText);
  EXPECT_EQ(property(instance, "RevisionLevel"), "1.0");
}

TEST(RecordedRequests, InstanceNamesAndTextsAreRead) {
  const Request request(recordedBody("07-get-property.request.http"));
  EXPECT_EQ(request.instanceName("InstanceName"), fruPath("A100001"));
  EXPECT_EQ(request.name("PropertyName"), String("IdentifyingNumber"));
}

TEST(RecordedResponses, InstancesComeWithNamesNullAndPropagatedProperties) {
  for (const char* name : {"01-enumerate-instances", "17-chunked-enumerate-instances"}) {
    SCOPED_TRACE(name);
    const Array<CIMInstance> instances = response(name, "EnumerateInstances").namedInstances();
    ASSERT_EQ(instances.size(), 1U);
    const CIMInstance& instance = instances[0];
    EXPECT_EQ(instance.getPath().toString(), "KVAXDT_ComputerSystemDetails.name=\"box1\"");
    ASSERT_EQ(instance.getPropertyCount(), 7U);
    EXPECT_TRUE(instance.getProperty(1).getValue().isNull());
    EXPECT_EQ(instance.getProperty(1).getType(), CIMTYPE_STRING);
    EXPECT_TRUE(instance.getProperty(1).getPropagated());
    EXPECT_FALSE(instance.getProperty(5).getPropagated());
    EXPECT_EQ(property(instance, "MODEL"), "Server 123 -[1234ABX]-");
    EXPECT_EQ(property(instance, "serialNumber"), "KV12345");
  }
}

TEST(RecordedResponses, EscapedAndNonAsciiTextComesAsItWasStored) {
  const Array<CIMInstance> instances =
      response("15-enumerate-instances-escaped-text", "EnumerateInstances").namedInstances();
  ASSERT_EQ(instances.size(), 1U);
  EXPECT_EQ(property(instances[0], "Description"), escapedText);
  const CIMProperty& flag =
      instances[0].getProperty(instances[0].findProperty("CustomerReplaceable"));
  EXPECT_EQ(flag.getType(), CIMTYPE_BOOLEAN);
  EXPECT_TRUE(flag.getValue().isNull());
  EXPECT_EQ(instances[0].getPath(), fruPath("A100009"));
}

TEST(RecordedResponses, EnumerationThatFindsNothingIsEmpty) {
  const Response none = response("02-enumerate-instance-names-none", "EnumerateInstanceNames");
  EXPECT_EQ(none.instanceNames().size(), 0U);
}

TEST(RecordedResponses, InstanceNamesKeepTheirOrder) {
  const Array<CIMObjectPath> names =
      response("06-enumerate-instance-names", "EnumerateInstanceNames").instanceNames();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(names[0], fruPath("A100001"));
  EXPECT_EQ(names[1], fruPath("A100009"));
}

TEST(RecordedResponses, CreationAnswersTheName) {
  EXPECT_EQ(response("03-create-instance", "CreateInstance").instanceName(), fruPath("A100001"));
  EXPECT_EQ(response("05-create-instance-escaped-text", "CreateInstance").instanceName(),
            fruPath("A100009"));
}

TEST(RecordedResponses, PropertyIsAText) {
  EXPECT_EQ(response("07-get-property", "GetProperty").value().toString(), "KVAHalvoranFru1");
  EXPECT_EQ(response("08-get-property-escaped-text", "GetProperty").value().toString(),
            escapedText);
}

TEST(RecordedResponses, NullPropertyIsANullText) {
  const CIMValue value = response("09-get-property-null", "GetProperty").value();
  EXPECT_TRUE(value.isNull());
  EXPECT_EQ(value.getType(), CIMTYPE_STRING);
}

TEST(RecordedResponses, DeletionHasNoResult) {
  EXPECT_TRUE(response("11-delete-instance", "DeleteInstance").value().isNull());
}

TEST(RecordedResponses, RefusalsKeepCodeAndDescription) {
  String description;
  EXPECT_EQ(refusal("04-create-instance-already-exists", "CreateInstance", description),
            CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(description,
            "CIM_ERR_ALREADY_EXISTS: KVAXDT_FRU.FRUNumber=\"A100001\","
            "IdentifyingNumber=\"KVAHalvoranFru1\",Vendor=\"KVA\"");
  EXPECT_EQ(refusal("10-get-property-no-such-property", "GetProperty", description),
            CIM_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(description, "CIM_ERR_NO_SUCH_PROPERTY: NoSuchProperty");
  EXPECT_EQ(refusal("12-delete-instance-not-found", "DeleteInstance", description),
            CIM_ERR_NOT_FOUND);
  EXPECT_EQ(refusal("13-unknown-class", "EnumerateInstances", description), CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(refusal("14-unknown-namespace", "EnumerateInstances", description),
            CIM_ERR_INVALID_NAMESPACE);
  EXPECT_EQ(description, "CIM_ERR_INVALID_NAMESPACE: root/nowhere");
}

// The error itself arrives in an HTTP trailer, which this layer does not see.
TEST(RecordedResponses, BodiesBesideErrorTrailersAreEmpty) {
  EXPECT_EQ(response("18-chunked-error-in-trailer", "EnumerateInstances").namedInstances().size(),
            0U);
  EXPECT_TRUE(
      response("19-chunked-create-instance-already-exists", "CreateInstance").value().isNull());
}

TEST(RecordedRequests, OneThatIsCutOffIsRefused) {
  EXPECT_THROW(Request(recordedBody("16-request-not-well-formed.request.http")), XmlException);
}

}  // namespace
}  // namespace Pegasus::xml
