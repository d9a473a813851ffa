#include "text/host_port.h"

#include <gtest/gtest.h>

#include <string>

namespace Pegasus::text {

namespace {

// The parts with a bar between them, "-" for no port.
std::string parts(std::string_view text) {
  const auto split = splitHostPort(text);
  if (!split) {
    return "nothing";
  }
  return std::string(split->isBracketed ? "[]" : "") + std::string(split->host) + "|" +
         std::string(split->port.value_or("-"));
}

TEST(HostPort, PortMayBeMissingOrEmpty) {
  EXPECT_EQ(parts("localhost:5988"), "localhost|5988");
  EXPECT_EQ(parts("localhost"), "localhost|-");
  EXPECT_EQ(parts("localhost:"), "localhost|");
}

TEST(HostPort, Ipv6AddressIsInBrackets) {
  EXPECT_EQ(parts("[::1]:5988"), "[]::1|5988");
  EXPECT_EQ(parts("[::1]"), "[]::1|-");
  for (const char* text :
       {"::1", "::1:5988", "[::1", "::1]", "[]", "[]:1", "[::1]5988", "[::1] :1"}) {
    EXPECT_EQ(parts(text), "nothing") << text;
  }
}

TEST(HostPort, PortHasDigitsOnlyAndHostIsNotEmpty) {
  for (const char* text : {"", ":5988", "a:b", "a:+1", "a:1 ", "a:1:2", "a]:1", "a[b]"}) {
    EXPECT_EQ(parts(text), "nothing") << text;
  }
}

TEST(HostPort, PortIsANumberOf16Bits) {
  EXPECT_EQ(parsePort("0"), 0);
  EXPECT_EQ(parsePort("65535"), 65535);
  EXPECT_EQ(parsePort("065535"), 65535);
  for (const char* text : {"", "65536", "99999999999999999999", "-1", "1x", " 1"}) {
    EXPECT_FALSE(parsePort(text)) << text;
  }
}

}  // namespace

}  // namespace Pegasus::text
