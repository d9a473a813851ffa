// The requests of an independent client, read as the server reads them. The client's own requests,
// and the recorded answers, are in unit/client.
#include "traffic.h"

#include <gtest/gtest.h>
#include "xml/request.h"

namespace Pegasus::xml {
namespace {

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

TEST(RecordedRequests, ParametersAreRead) {
  const Request enumeration(recordedBody("01-enumerate-instances.request.http"));
  EXPECT_EQ(enumeration.method(), "EnumerateInstances");
  EXPECT_EQ(enumeration.parameterNames(),
            (std::vector<std::string>{"ClassName", "DeepInheritance", "LocalOnly",
                                      "IncludeQualifiers", "IncludeClassOrigin"}));
  EXPECT_EQ(enumeration.className("ClassName"), String("KVAXDT_ComputerSystemDetails"));
  EXPECT_EQ(enumeration.boolean("DeepInheritance"), true);
  EXPECT_EQ(enumeration.boolean("IncludeQualifiers"), false);
  EXPECT_TRUE(enumeration.propertyList("PropertyList").isNull());

  const Request creation(recordedBody("05-create-instance-escaped-text.request.http"));
  const CIMInstance instance = creation.instance("NewInstance").value();
  EXPECT_EQ(instance.getClassName(), "KVAXDT_FRU");
  ASSERT_EQ(instance.getPropertyCount(), 6U);
  EXPECT_EQ(instance.getProperty(2).getValue(), CIMValue("Board & <riser> 5\" caf\u00e9 \u4e2d"));

  const Request question(recordedBody("07-get-property.request.http"));
  EXPECT_EQ(question.instanceName("InstanceName")->toString(),
            "KVAXDT_FRU.FRUNumber=\"A100001\",IdentifyingNumber=\"KVAHalvoranFru1\","
            "Vendor=\"KVA\"");
  EXPECT_EQ(question.name("PropertyName"), String("IdentifyingNumber"));
}

TEST(RecordedRequests, TruncatedRequestIsRefused) {
  EXPECT_THROW(Request(recordedBody("16-request-not-well-formed.request.http")), XmlException);
}

}  // namespace
}  // namespace Pegasus::xml
