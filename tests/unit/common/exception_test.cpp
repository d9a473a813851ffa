#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

namespace Pegasus {

namespace {

TEST(Exceptions, EveryOneIsAStandardExceptionWithItsMessageAsUtf8) {
  try {
    throw CIMException(CIM_ERR_FAILED, String("caf\xC3\xA9"));
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "CIM_ERR_FAILED: caf\xC3\xA9");
  }
}

}  // namespace

}  // namespace Pegasus
