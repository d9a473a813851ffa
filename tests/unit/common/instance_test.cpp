// Instances, properties and property lists.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

using namespace Pegasus;  // NOLINT: this file is about that namespace

namespace {

TEST(Property, HasTheTypeOfItsValueAndDefaults) {
  EXPECT_EQ(CIMProperty("p", Uint32(5)).getType(), CIMTYPE_UINT32);
  EXPECT_EQ(CIMProperty("p", true).getType(), CIMTYPE_BOOLEAN);
  const CIMProperty property("Name", "FAN");
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

TEST(Instance, PositionPastTheEndThrows) {
  CIMInstance instance(String("KVAXDT_FRU"));
  EXPECT_THROW(instance.getProperty(0), IndexOutOfBoundsException);
  EXPECT_THROW(instance.getProperty(instance.findProperty("x")), IndexOutOfBoundsException);
  const CIMInstance& constant = instance;
  EXPECT_THROW(static_cast<void>(constant.getProperty(0)), IndexOutOfBoundsException);
}

TEST(Instance, RefusesDuplicateProperties) {
  CIMInstance instance("A", {{"b", "1"}, {"a", "2"}, {"aa", "3"}});
  ASSERT_EQ(instance.getPropertyCount(), 3U);
  EXPECT_EQ(instance.findProperty("aa"), 2U);
  EXPECT_THROW(instance.addProperty({"B", "4"}), InvalidValueException);
  EXPECT_THROW(CIMInstance("A", {{"a", "1"}, {"b", "2"}, {"A", "3"}}), InvalidValueException);
}

TEST(Instance, CopiesAreIndependent) {
  CIMInstance instance(String("KVAXDT_FRU"));
  instance.addProperty(CIMProperty("Name", CIMValue("1")));
  CIMInstance copy = instance;
  copy.getProperty(0).setValue(CIMValue("2"));
  EXPECT_EQ(instance.getProperty(0).getValue().toString(), "1");
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

}  // namespace
