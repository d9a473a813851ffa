#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

namespace Pegasus {
namespace {

template <typename Thrown>
std::string messageOf(const Thrown& thrown) {
  try {
    throw thrown;
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST(Exceptions, AllAreStandardExceptionsWithAMessage) {
  EXPECT_NE(messageOf(IndexOutOfBoundsException()), "");
  EXPECT_NE(messageOf(TypeMismatchException()), "");
  EXPECT_NE(messageOf(TruncatedCharacter()), "");
  EXPECT_NE(messageOf(ConnectionTimeoutException()), "");
  EXPECT_NE(messageOf(NotConnectedException()), "");
  EXPECT_NE(messageOf(AlreadyConnectedException()), "");
  EXPECT_EQ(messageOf(XmlValidationError(String("caf\xC3\xA9"))), "caf\xC3\xA9");
}

TEST(Exceptions, CimErrorsHaveCodeAndDescription) {
  const CIMException refusal(CIM_ERR_NOT_FOUND, "no such fan");
  EXPECT_EQ(refusal.getCode(), CIM_ERR_NOT_FOUND);
  EXPECT_EQ(refusal.getDescription(), "no such fan");
  EXPECT_EQ(messageOf(refusal), "CIM_ERR_NOT_FOUND: no such fan");
  EXPECT_EQ(messageOf(CIMException(CIM_ERR_FAILED)), "CIM_ERR_FAILED");
  EXPECT_STREQ(cimStatusCodeToString(static_cast<CIMStatusCode>(4711)), "CIM_ERR_UNKNOWN");
}

TEST(Exceptions, HttpErrorsHaveStatusAndHeaders) {
  EXPECT_EQ(messageOf(CIMClientHTTPErrorException(401, "Unauthorized", "", "")),
            "HTTP status 401 Unauthorized");
  const CIMClientHTTPErrorException detailed(400, "", "request-not-valid", "why");
  EXPECT_EQ(messageOf(detailed), "HTTP status 400: request-not-valid: why");
  EXPECT_EQ(detailed.getHttpStatus(), 400U);
  EXPECT_EQ(detailed.getCIMError(), "request-not-valid");
  EXPECT_EQ(detailed.getErrorDetail(), "why");
}

}  // namespace
}  // namespace Pegasus
