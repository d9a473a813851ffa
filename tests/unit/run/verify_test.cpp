// Signed or not, by the lists of sha256sum and the status lines of gpgv.
#include "verify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "failure.h"

using namespace run;

namespace {

const std::string sum = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

constexpr std::int64_t now = 1767312000;  // 2026-01-02T00:00:00Z
constexpr std::int64_t day = 86400;

template <typename Function>
std::string refusalOf(const Function& function) {
  const auto [status, words] = failureOf(function);
  EXPECT_TRUE(status == Status::good || status == Status::refused) << words;
  return words;
}

std::string sumRefusal(const std::string& sums) {
  return refusalOf([&] { checkSum(sums, "1234wpk.txt", "abc"); });
}

std::string statusRefusal(const std::string& lines) {
  return refusalOf([&] { readStatus(lines, now); });
}

const std::string good =
    "[GNUPG:] NEWSIG\n[GNUPG:] GOODSIG 0123 maker\n"
    "[GNUPG:] VALIDSIG FFFF 2026-01-01 1767225600 0 4 0 22 8 00 FFFF\n";

}  // namespace

TEST(Verify, SumIsThatOfTheStandard) {
  EXPECT_EQ(sha256("abc"), sum);
}

TEST(Verify, SumIsFoundByNameInEveryForm) {
  for (const std::string line : {"  1234wpk.txt\n", " *1234wpk.txt\n", "  ./1234wpk.txt\n",
                                 "  1234wpk.txt\r\n", "  1234wpk.txt"}) {
    EXPECT_EQ(sumRefusal("garbage\n" + sum + line), "") << line;
  }
}

TEST(Verify, SumMayHaveCapitalLetters) {
  std::string capitals = sum;
  std::transform(sum.begin(), sum.end(), capitals.begin(), [](char c) { return std::toupper(c); });
  EXPECT_EQ(sumRefusal(capitals + "  1234wpk.txt\n"), "");
}

TEST(Verify, SumOfAnotherFileDoesNotCount) {
  for (const std::string line : {"  2345wpk.txt\n", "  x1234wpk.txt\n", "  a/1234wpk.txt\n",
                                 "  1234wpk.txt.old\n", " 1234wpk.txt\n", "\n", ""}) {
    EXPECT_EQ(sumRefusal(sum + line), "SHA256SUMS has no sum for 1234wpk.txt") << line;
  }
  EXPECT_EQ(sumRefusal(""), "SHA256SUMS has no sum for 1234wpk.txt");
}

TEST(Verify, SumMustBeTheOnlyOne) {
  const std::string other = "0" + sum.substr(1) + "  1234wpk.txt\n";
  EXPECT_EQ(sumRefusal(other), "the sum of 1234wpk.txt is not that in SHA256SUMS");
  EXPECT_EQ(sumRefusal(sum + "  1234wpk.txt\n" + other), "SHA256SUMS has two sums for 1234wpk.txt");
}

TEST(Verify, TimeIsThatOfTheNewestGoodSignature) {
  const std::string older =
      "[GNUPG:] NEWSIG\n[GNUPG:] GOODSIG 0123 maker\n"
      "[GNUPG:] VALIDSIG EEEE 2025-01-01 1735689600 0 4 0 22 8 00 EEEE\n";
  EXPECT_EQ(readStatus(good, now), 1767225600);
  EXPECT_EQ(readStatus(good + older, now), 1767225600);
  EXPECT_EQ(readStatus(older + good, now), 1767225600);
}

TEST(Verify, OneGoodSignatureIsEnoughUnlessOneIsBad) {
  EXPECT_EQ(statusRefusal("[GNUPG:] NEWSIG\n[GNUPG:] ERRSIG 0 1\n[GNUPG:] NO_PUBKEY 0\n" + good),
            "");
  EXPECT_EQ(statusRefusal(good + "[GNUPG:] NEWSIG\n[GNUPG:] BADSIG 0123 maker\n"),
            "the signature does not fit the list");
}

TEST(Verify, ValidSignatureOfAnExpiredOrRevokedKeyIsRefused) {
  const std::string valid = "[GNUPG:] VALIDSIG FFFF 2026-01-01 1767225600 0 4 0 22 8 00 FFFF\n";
  EXPECT_EQ(statusRefusal("[GNUPG:] NEWSIG\n[GNUPG:] EXPKEYSIG 0123 maker\n" + valid),
            "the key that signed has expired");
  EXPECT_EQ(statusRefusal("[GNUPG:] NEWSIG\n[GNUPG:] REVKEYSIG 0123 maker\n" + valid),
            "the key that signed is revoked");
}

TEST(Verify, ListMustBeNeitherOlderThanTheLastGoodOneNorOfTheFuture) {
  const auto refusal = [](std::int64_t signedAt, std::int64_t lastGood) {
    return refusalOf([&] { checkAge(signedAt, lastGood, now); });
  };
  EXPECT_EQ(refusal(now, 0), "");
  EXPECT_EQ(refusal(now, now), "");
  EXPECT_EQ(refusal(now - 1, now),
            "it was signed at 2026-01-01T23:59:59Z, but the last good one at 2026-01-02T00:00:00Z; "
            "use --force if that is right");
  EXPECT_EQ(refusal(now + day, now), "");
  EXPECT_EQ(refusal(now + day + 1, now),
            "it was signed at 2026-01-03T00:00:01Z, but the clock of this machine is at "
            "2026-01-02T00:00:00Z; use --force if that is right");
}

TEST(Verify, ClockOfThisMachineIsNamedIfTheKeyIsYounger) {
  const std::string lines = "[GNUPG:] NEWSIG\n[GNUPG:] ERRSIG 0123 22 8 00 ";
  EXPECT_EQ(statusRefusal(lines + "1767312001 6 FFFF\n"), "the signature cannot be checked");
  EXPECT_EQ(statusRefusal(lines + "1893456000 6 FFFF\n"),
            "it was signed at 2030-01-01T00:00:00Z, but the clock of this machine is at "
            "2026-01-02T00:00:00Z");
}

TEST(Verify, OtherLinesAreNotASignature) {
  for (const char* lines :
       {"", "GOODSIG 0123 maker\nVALIDSIG FFFF 2026-01-01 1767225600 0\n", "[GNUPG:]\n",
        "[GNUPG:] GOODSIG 0123 maker\n",
        "[GNUPG:] NEWSIG\n[GNUPG:] GOODSIG 0 a\n[GNUPG:] VALIDSIG\n",
        "[GNUPG:] GOODSIG 0 a\n[GNUPG:] NEWSIG\n[GNUPG:] VALIDSIG F 2026-01-01 1 0\n"}) {
    EXPECT_EQ(statusRefusal(lines), "gpgv does not accept the signature") << lines;
  }
}
