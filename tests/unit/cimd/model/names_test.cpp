#include "model/names.h"
#include <gtest/gtest.h>

namespace cimd {
namespace {

using Pegasus::String;

TEST(Names, FoldLowersAsciiLettersOnly) {
  EXPECT_EQ(fold("AbZ_9"), u"abz_9");
  EXPECT_NE(fold("\xC3\x89"), fold("\xC3\xA9"));
}

TEST(Names, NamespaceEndsAreTrimmed) {
  EXPECT_EQ(trimNameSpace("//root/x/"), String("root/x"));
  EXPECT_EQ(trimNameSpace("/"), String());
}

TEST(Names, IdentifiersHaveLettersDigitsAndUnderscores) {
  for (const char* good : {"a", "_", "CIM_Fan2",
                           "Stra\xC3\x9F"
                           "e"}) {
    EXPECT_TRUE(isIdentifier(good)) << good;
  }
  for (const char* wrong : {"", "1a", "a b", "a-b", "a.b"}) {
    EXPECT_FALSE(isIdentifier(wrong)) << wrong;
  }
}

TEST(Names, NamespaceNamesArePartsBetweenSingleSlashes) {
  for (const char* good : {"root", "root/kvasd", "root/PG_Internal", "interop", "a/b-c/d.e"}) {
    EXPECT_TRUE(isNameSpaceName(good)) << good;
  }
  for (const char* wrong : {"", "/root", "root/", "root//a", "root a", "root:a"}) {
    EXPECT_FALSE(isNameSpaceName(wrong)) << wrong;
  }
}

}  // namespace
}  // namespace cimd
