#include "common/object_path.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

namespace Pegasus {
namespace {

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
