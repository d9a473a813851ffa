// The limits on what clients publish.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support.h"

namespace cimd {
namespace {

using Pegasus::CIM_ERR_INVALID_PARAMETER;
using Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED;
using Pegasus::CIM_ERR_SUCCESS;
using Pegasus::CIMInstance;
using Pegasus::CIMPropertyList;
using Pegasus::String;

class QuotaTest : public testing::Test {
 protected:
  QuotaTest() {
    test::loadText(repository_,
                   "class A { [Key] string Id; string Text; };\n"
                   "instance of A { Id = \"declared\"; };");
    repository_.addNameSpace("root/other");
    test::loadText(repository_,
                   "#pragma namespace (\"root/other\")\nclass A { [Key] string Id; };");
  }

  NameSpace& nameSpace() { return repository_.nameSpace("root/kvasd"); }
  NameSpace& other() { return repository_.nameSpace("root/other"); }
  Quota& quota() { return repository_.quota(); }

  Pegasus::CIMStatusCode create(const char* id, const std::string& text = "") {
    return test::statusOf([&] {
      nameSpace().createInstance(test::instance("A", {{"Id", id}, {"Text", text.c_str()}}),
                                 Origin::published);
    });
  }
  Pegasus::CIMStatusCode modify(const char* id, const std::string& text) {
    CIMInstance changed = test::instance("A", {{"Text", text.c_str()}});
    changed.setPath(test::path("A", {{"Id", id}}));
    return test::statusOf([&] { nameSpace().modifyInstance(changed, CIMPropertyList()); });
  }

  Repository repository_;
};

TEST_F(QuotaTest, InstancesOfAllNamespacesCountUntilTheyAreDeleted) {
  quota().maxInstances = 2;
  EXPECT_EQ(create("1"), CIM_ERR_SUCCESS);
  other().createInstance(test::instance("A", {{"Id", "1"}}), Origin::published);
  EXPECT_EQ(create("2"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(test::statusOf([&] {
              other().createInstance(test::instance("A", {{"Id", "2"}}), Origin::published);
            }),
            CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "changed"), CIM_ERR_SUCCESS);
  other().deleteInstance(test::path("A", {{"Id", "1"}}));
  EXPECT_EQ(create("2"), CIM_ERR_SUCCESS);
}

TEST_F(QuotaTest, BytesCountUntilTheyAreGone) {
  const std::string half(500, 'x');
  quota().maxBytes = 1400;
  EXPECT_EQ(create("1", half), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("2"), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("3", half), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("2", half + half), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", ""), CIM_ERR_SUCCESS);
  EXPECT_EQ(modify("2", half), CIM_ERR_SUCCESS);
  nameSpace().deleteInstance(test::path("A", {{"Id", "1"}}));
  nameSpace().deleteInstance(test::path("A", {{"Id", "2"}}));
  EXPECT_EQ(quota().bytes, 0U);
  EXPECT_EQ(quota().instances, 0U);
}

TEST_F(QuotaTest, DeclaredInstancesDoNotCount) {
  EXPECT_EQ(quota().instances, 0U);
  EXPECT_EQ(quota().bytes, 0U);
}

TEST_F(QuotaTest, WhatIsRestoredCountsButIsNotRefused) {
  quota().maxInstances = 1;
  quota().maxBytes = 10;
  for (const char* id : {"1", "2"}) {
    nameSpace().createInstance(test::instance("A", {{"Id", id}, {"Text", "long text"}}),
                               Origin::restored);
  }
  EXPECT_TRUE(quota().isExceeded());
  EXPECT_EQ(create("3"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "longer text"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "short"), CIM_ERR_SUCCESS);
}

TEST(MaxLen, TextsOfClientsHaveAtMostSoManyCharacters) {
  Repository repository;
  test::loadText(repository,
                 "class A { [Key] string Id; [MaxLen(3)] string Text; [MaxLen(2)] string Texts[]; "
                 "[MaxLen(NULL)] string Any; };\n"
                 "class B : A { string Text; };\n"
                 "class C : A { [MaxLen(4)] string Text; };");
  NameSpace& nameSpace = repository.nameSpace("root/kvasd");
  int number = 0;
  const auto create = [&](const char* cls, const char* text, Origin origin) {
    const std::string id = std::to_string(++number);
    return test::statusOf([&] {
      nameSpace.createInstance(test::instance(cls, {{"Id", id.c_str()}, {"Text", text}}), origin);
    });
  };
  EXPECT_EQ(create("A", "abc", Origin::published), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("A", "abcd", Origin::published), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(create("A", "\xF0\x9F\x94\xA7\xF0\x9F\x94\xA7\xC3\xA9", Origin::published),
            CIM_ERR_SUCCESS);
  EXPECT_EQ(create("A", "\xF0\x9F\x94\xA7\xF0\x9F\x94\xA7\xC3\xA9x", Origin::published),
            CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(create("B", "abcd", Origin::published), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(create("C", "abcd", Origin::published), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("C", "abcde", Origin::published), CIM_ERR_INVALID_PARAMETER);
  // The files and what was published earlier are not refused.
  nameSpace.declareInstance(test::instance("A", {{"Id", "d"}, {"Text", "abcd"}}),
                            std::make_shared<const std::string>("a.mof"));
  EXPECT_EQ(create("A", "abcd", Origin::restored), CIM_ERR_SUCCESS);
  CIMInstance changed = test::instance("A", {{"Any", "any length"}});
  changed.setPath(test::path("A", {{"Id", "1"}}));
  EXPECT_EQ(test::statusOf([&] { nameSpace.modifyInstance(changed, CIMPropertyList()); }),
            CIM_ERR_SUCCESS);
  changed.addProperty({"Texts", Pegasus::CIMValue(Pegasus::Array<String>{"ab", "abc"})});
  EXPECT_EQ(test::statusOf([&] { nameSpace.modifyInstance(changed, CIMPropertyList()); }),
            CIM_ERR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace cimd
