#include "text/percent.h"

#include <gtest/gtest.h>

namespace Pegasus::text {

namespace {

TEST(Percent, EverythingButUnreservedCharactersIsEncoded) {
  EXPECT_EQ(percentEncoded("aZ09-._~"), "aZ09-._~");
  EXPECT_EQ(percentEncoded("root/kvasd\r\n%\xC3\xA9"), "root%2Fkvasd%0D%0A%25%C3%A9");
}

TEST(Percent, EscapesAreDecodedInEitherCase) {
  EXPECT_EQ(percentDecoded("a%2Fb%2fc%41+"), "a/b/cA+");
  EXPECT_EQ(percentDecoded("%C3%A9"), "\xC3\xA9");
}

TEST(Percent, IncompleteEscapeStandsForItself) {
  for (const char* text : {"%", "a%", "a%2", "%zz", "%2g", "%%", "100% sure", "%-1", "%+1"}) {
    EXPECT_EQ(percentDecoded(text), text);
    EXPECT_FALSE(isPercentEncoded(text)) << text;
  }
  EXPECT_EQ(percentDecoded("%%41"), "%A");
}

TEST(Percent, TextWithCompleteEscapesIsEncoded) {
  for (const char* text : {"", "plain", "%41", "a%2Fb%2f"}) {
    EXPECT_TRUE(isPercentEncoded(text)) << text;
  }
}

}  // namespace

}  // namespace Pegasus::text
