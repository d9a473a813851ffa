// Instances, properties and their paths; and what failures say of themselves.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

using namespace Pegasus;  // NOLINT: this file is about that namespace

namespace {

CIMKeyBinding key(const char* name, const char* value,
                  CIMKeyBinding::Type type = CIMKeyBinding::STRING) {
  return {name, value, type};
}

CIMObjectPath pathWith(const Array<CIMKeyBinding>& keys) {
  return {String(), String(), "KVAXDT_FRU", keys};
}

TEST(Property, HasTheDefaultsOfAPlainOne) {
  const CIMProperty property("Name", CIMValue("FAN"));
  EXPECT_EQ(property.getName(), "Name");
  EXPECT_EQ(property.getType(), CIMTYPE_STRING);
  EXPECT_FALSE(property.isArray());
  EXPECT_EQ(property.getArraySize(), 0U);
  EXPECT_EQ(property.getReferenceClassName(), "");
  EXPECT_EQ(property.getClassOrigin(), "");
  EXPECT_FALSE(property.getPropagated());
}

TEST(Instance, KeepsPropertiesInOrderAndFindsThemInAnyLetterCase) {
  CIMInstance instance(String("KVAXDT_FRU"));
  EXPECT_EQ(instance.getClassName(), "KVAXDT_FRU");
  instance.addProperty(CIMProperty("b", CIMValue("1"))).addProperty({"A", CIMValue("2")});
  EXPECT_EQ(instance.getPropertyCount(), 2U);
  EXPECT_EQ(instance.findProperty("B"), 0U);
  EXPECT_EQ(instance.findProperty("a"), 1U);
  EXPECT_EQ(instance.findProperty("c"), PEG_NOT_FOUND);
  EXPECT_EQ(instance.findProperty(""), PEG_NOT_FOUND);
}

TEST(Instance, APositionPastTheEndThrowsTheNotFoundMarkerIncluded) {
  CIMInstance instance(String("KVAXDT_FRU"));
  EXPECT_THROW(instance.getProperty(0), IndexOutOfBoundsException);
  EXPECT_THROW(instance.getProperty(instance.findProperty("x")), IndexOutOfBoundsException);
  const CIMInstance& constant = instance;
  EXPECT_THROW(static_cast<void>(constant.getProperty(0)), IndexOutOfBoundsException);
}

TEST(Instance, RefusesASecondPropertyOfTheSameName) {
  CIMInstance instance(String("KVAXDT_FRU"));
  instance.addProperty(CIMProperty("Name", CIMValue("1")));
  EXPECT_THROW(instance.addProperty(CIMProperty("NAME", CIMValue("2"))), InvalidValueException);
}

TEST(Instance, CopiesAreIndependent) {
  CIMInstance instance(String("KVAXDT_FRU"));
  instance.addProperty(CIMProperty("Name", CIMValue("1")));
  CIMInstance copy = instance;
  copy.getProperty(0).setValue(CIMValue("2"));
  EXPECT_EQ(instance.getProperty(0).getValue().toString(), "1");
}

TEST(Instance, CanBeMadeWithAllItsProperties) {
  const CIMInstance instance("A", {CIMProperty("b", CIMValue("1")), CIMProperty("a", CIMValue("2")),
                                   CIMProperty("aa", CIMValue("3"))});
  ASSERT_EQ(instance.getPropertyCount(), 3U);
  EXPECT_EQ(instance.findProperty("B"), 0U);
  EXPECT_EQ(instance.findProperty("a"), 1U);
  EXPECT_EQ(instance.findProperty("aa"), 2U);
  EXPECT_THROW(CIMInstance("A", {CIMProperty("a", CIMValue("1")), CIMProperty("b", CIMValue("2")),
                                 CIMProperty("A", CIMValue("3"))}),
               InvalidValueException);
}

TEST(Instance, HasThePathThatItIsGiven) {
  CIMInstance instance(String("KVAXDT_FRU"));
  instance.setPath(pathWith({key("FRUNumber", "A1")}));
  EXPECT_EQ(instance.getPath().getKeyBindings().size(), 1U);
}

TEST(ObjectPath, IsWrittenWithEverythingThatItHas) {
  EXPECT_EQ(pathWith({}).toString(), "KVAXDT_FRU");
  EXPECT_EQ(CIMObjectPath("host", "root/kvasd", "C",
                          {key("a", "x"), key("b", "5", CIMKeyBinding::NUMERIC)})
                .toString(),
            "//host/root/kvasd:C.a=\"x\",b=5");
  EXPECT_EQ(pathWith({key("a", "5\" \\ wide")}).toString(), "KVAXDT_FRU.a=\"5\\\" \\\\ wide\"");
  EXPECT_EQ(pathWith({key("", "x")}).toString(), "KVAXDT_FRU.\"x\"");
  const CIMKeyBinding reference("r", pathWith({key("a", "x")}));
  EXPECT_EQ(pathWith({reference}).toString(), "KVAXDT_FRU.r=\"KVAXDT_FRU.a=\\\"x\\\"\"");
}

CIMObjectPath nestedPath(int levels) {
  CIMObjectPath path = pathWith({key("a", "x")});
  for (int i = 0; i < levels; ++i) {
    path = pathWith({CIMKeyBinding("r", path)});
  }
  return path;
}

// Each level doubles the backslashes of the one inside.
TEST(ObjectPath, ATextThatNoMemoryWouldHoldIsRefused) {
  EXPECT_LT(nestedPath(10).toString().size(), 20'000U);
  EXPECT_THROW(nestedPath(40).toString(), InvalidValueException);
  EXPECT_THROW(CIMKeyBinding("r", nestedPath(40)).getValue(), InvalidValueException);
}

TEST(ObjectPath, EqualityIgnoresTheCaseOfNamesAndTheOrderOfKeys) {
  const CIMObjectPath path("Host", "Root/KVASD", "Class", {key("A", "x"), key("B", "y")});
  EXPECT_EQ(path, CIMObjectPath("hOST", "root/kvasd", "CLASS", {key("b", "y"), key("a", "x")}));
  const CIMObjectPath shorter("Host", "root/kvasd", "Class", {key("A", "x")});
  EXPECT_FALSE(path == shorter);
  EXPECT_FALSE(shorter == path);
  EXPECT_FALSE(path == CIMObjectPath("Host", "root/kvasd", "Class", {key("A", "X"), key("B", "y")}))
      << "values keep their case";
}

TEST(ObjectPath, EqualityOfKeysDependsOnTheirType) {
  EXPECT_FALSE(key("a", "1") == key("a", "1", CIMKeyBinding::NUMERIC));
  EXPECT_TRUE(key("a", "TRUE", CIMKeyBinding::BOOLEAN) == key("a", "true", CIMKeyBinding::BOOLEAN));
  const CIMKeyBinding reference("r", pathWith({key("a", "x")}));
  EXPECT_TRUE(reference == CIMKeyBinding("R", pathWith({key("A", "x")})));
  EXPECT_FALSE(reference == CIMKeyBinding("r", pathWith({key("a", "y")})));
}

TEST(KeyBinding, HasAReferenceOnlyIfItIsOne) {
  EXPECT_THROW(key("a", "x").getReference(), TypeMismatchException);
  EXPECT_EQ(CIMKeyBinding("r", pathWith({})).getReference(), pathWith({}));
  EXPECT_EQ(CIMKeyBinding("r", pathWith({})).getType(), CIMKeyBinding::REFERENCE);
}

TEST(PropertyList, IsNullUnlessItIsGivenNames) {
  EXPECT_TRUE(CIMPropertyList().isNull());
  const CIMPropertyList none{Array<String>()};
  EXPECT_FALSE(none.isNull());
  EXPECT_EQ(none.size(), 0U);
  const CIMPropertyList one(Array<String>{"Name"});
  EXPECT_EQ(one.size(), 1U);
  EXPECT_EQ(one[0], "Name");
}

TEST(Exceptions, OfTheServerCarryCodeAndWords) {
  const CIMException refusal(CIM_ERR_NOT_FOUND, "no such fan");
  EXPECT_EQ(refusal.getCode(), CIM_ERR_NOT_FOUND);
  EXPECT_EQ(refusal.getDescription(), "no such fan");
  EXPECT_EQ(refusal.getMessage(), "CIM_ERR_NOT_FOUND: no such fan");
  EXPECT_EQ(CIMException(CIM_ERR_FAILED).getMessage(), "CIM_ERR_FAILED");
  EXPECT_STREQ(cimStatusCodeToString(static_cast<CIMStatusCode>(4711)), "CIM_ERR_UNKNOWN");
}

TEST(Exceptions, OfHttpTellStatusAndHeaders) {
  const CIMClientHTTPErrorException error(401, "Unauthorized", "", "");
  EXPECT_EQ(error.getMessage(), "HTTP status 401 Unauthorized");
  const CIMClientHTTPErrorException detailed(400, "", "request-not-valid", "why");
  EXPECT_EQ(detailed.getMessage(), "HTTP status 400: request-not-valid: why");
  EXPECT_EQ(detailed.getHttpStatus(), 400U);
  EXPECT_EQ(detailed.getCIMError(), "request-not-valid");
  EXPECT_EQ(detailed.getErrorDetail(), "why");
}

TEST(CIMPropertyOfAPlainValue, HasTheTypeOfThatValue) {
  EXPECT_EQ(CIMProperty("p", String("x")).getType(), CIMTYPE_STRING);
  EXPECT_EQ(CIMProperty("p", "x").getType(), CIMTYPE_STRING);
  EXPECT_EQ(CIMProperty("p", Uint32(5)).getType(), CIMTYPE_UINT32);
  EXPECT_EQ(CIMProperty("p", true).getType(), CIMTYPE_BOOLEAN);
}

TEST(Exceptions, HaveOneRoot) {
  const auto caught = [](auto thrower) {
    try {
      thrower();
    } catch (const Exception& error) {
      return error.getMessage().size() > 0;
    }
    return false;
  };
  EXPECT_TRUE(caught([] { throw IndexOutOfBoundsException(); }));
  EXPECT_TRUE(caught([] { throw TypeMismatchException(); }));
  EXPECT_TRUE(caught([] { throw TruncatedCharacter(); }));
  EXPECT_TRUE(caught([] { throw ConnectionTimeoutException(); }));
  EXPECT_TRUE(caught([] { throw NotConnectedException(); }));
  EXPECT_TRUE(caught([] { throw AlreadyConnectedException(); }));
  EXPECT_TRUE(caught([] { throw CIMException(CIM_ERR_FAILED); }));
  EXPECT_TRUE(caught([] { throw XmlValidationError("x"); }));
}

}  // namespace
