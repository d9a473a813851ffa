#include "log.h"
#include <gtest/gtest.h>

namespace cimd {
namespace {

std::string written(LogLevel most, LogLevel level, const char* text) {
  testing::internal::CaptureStderr();
  Log(most).write(level, text);
  return testing::internal::GetCapturedStderr();
}

TEST(Log, AMessageIsOneLineWhateverItQuotes) {
  EXPECT_EQ(written(LogLevel::info, LogLevel::error, "a\nb\x1B[1m\x7F\tc"),
            "morvik-cimd: error: a?b?[1m??c\n");
  EXPECT_EQ(written(LogLevel::info, LogLevel::info,
                    "Gr\xC3\xBC\xC3\x9F"
                    "e"),
            "morvik-cimd: Gr\xC3\xBC\xC3\x9F"
            "e\n");
}

TEST(Log, LessImportantMessagesAreLeftOut) {
  EXPECT_EQ(written(LogLevel::warning, LogLevel::info, "x"), "");
  EXPECT_EQ(written(LogLevel::warning, LogLevel::warning, "x"), "morvik-cimd: warning: x\n");
}

}  // namespace
}  // namespace cimd
