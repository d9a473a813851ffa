// Object paths, and their texts in both directions.
#include "common/object_path.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

namespace Pegasus {
namespace {

CIMKeyBinding key(const char* name, const char* value,
                  CIMKeyBinding::Type type = CIMKeyBinding::STRING) {
  return {name, value, type};
}

CIMObjectPath pathWith(const Array<CIMKeyBinding>& keys) {
  return {String(), String(), "KVAXDT_FRU", keys};
}

TEST(ObjectPath, TextHasHostNamespaceClassAndKeys) {
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
TEST(ObjectPath, TextThatNoMemoryWouldHoldIsRefused) {
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

TEST(KeyBinding, OnlyAReferenceHasAPath) {
  EXPECT_THROW(key("a", "x").getReference(), TypeMismatchException);
  EXPECT_EQ(CIMKeyBinding("r", pathWith({})).getReference(), pathWith({}));
  EXPECT_EQ(CIMKeyBinding("r", pathWith({})).getType(), CIMKeyBinding::REFERENCE);
}

TEST(ObjectPath, EveryFormIsReadAndWrittenAgain) {
  struct Case {
    const char* text;
    const char* written;
  };
  for (const Case& c :
       {Case{R"(A.k="x")", R"(A.k="x")"},
        {R"(root/other:A.k="a:b.c=\"d\"")", R"(root/other:A.k="a:b.c=\"d\"")"},
        {"//host:5988/root/x:A.n=0x10,b=TRUE,m=-5", "//host:5988/root/x:A.n=16,b=TRUE,m=-5"},
        {"/root/x/:A.n=017", "root/x:A.n=15"},
        {"A=@", "A"},
        {"A", "A"}}) {
    EXPECT_EQ(parseObjectPath(c.text).toString(), String(c.written)) << c.text;
  }
}

TEST(ObjectPath, KeysHaveTheTypeOfTheirText) {
  const CIMObjectPath path = parseObjectPath(R"(A.s="1",n=+1,b=true)");
  const Array<CIMKeyBinding>& keys = path.getKeyBindings();
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[0].getType(), CIMKeyBinding::STRING);
  EXPECT_EQ(keys[1].getType(), CIMKeyBinding::NUMERIC);
  EXPECT_EQ(keys[2].getType(), CIMKeyBinding::BOOLEAN);
}

TEST(ObjectPath, OtherTextsAreRefused) {
  for (const char* wrong : {"", "A.", "A.k", "A.k=", "A.k=\"x", "A.k=x", "A.k=1,", "A.k=1 ", "A.=1",
                            "//host", "//host/A", ":A", "1A.k=1", "A.k=\"a\"b", "///root/x:A.k=1",
                            "//host /root/x:A.k=1", "root//x:A", "A.k=1,K=2"}) {
    EXPECT_THROW(parseObjectPath(wrong), InvalidValueException) << wrong;
  }
}

}  // namespace
}  // namespace Pegasus
