// The reports of a run: words, times, JSON and metrics.
#include "report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace run;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

Time at(std::time_t seconds) {
  return std::chrono::system_clock::from_time_t(seconds);
}

const Item fan = {"FAN", "A1", "Fan", "KVAHalvoranFru1", "KVA", "1.0"};
const Item board = {"PLANAR", "B1", "Board", "KVAHalvoranFru1", "KVA", "1.0"};

}  // namespace

TEST(Outcome, StatusTableIsInOrder) {
  for (std::size_t i = 0; i < statusTable.size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(statusTable.at(i).status), i);
    EXPECT_EQ(rowOf(statusTable.at(i).status).word, statusTable.at(i).word);
  }
}

TEST(Report, DifferenceIsToTheOutcome) {
  Report report;
  EXPECT_TRUE(report.added().empty());
  report.before = Items{fan};
  report.predicted = Items{board};
  EXPECT_TRUE(report.added().empty());
  report.published = Items{fan, board};
  EXPECT_EQ(report.added(), Items{board});
  EXPECT_TRUE(report.removed().empty());
  report.isCheck = true;
  EXPECT_EQ(report.removed(), Items{fan});
}

TEST(Report, AtMostFiveEntriesAreNamed) {
  EXPECT_EQ(listWords(Items(5, fan)), "A1 (FAN), A1 (FAN), A1 (FAN), A1 (FAN), A1 (FAN)");
  EXPECT_EQ(listWords(Items(7, fan)),
            "A1 (FAN), A1 (FAN), A1 (FAN), A1 (FAN), A1 (FAN) and 2 more");
}

TEST(Metrics, ValuesAreEscaped) {
  Report report;
  report.published = Items{{"FAN", "A\"1", "a\\b\nc", "KVAHalvoranFru1", "KVA", "1.0"}};
  EXPECT_THAT(metricsText(report, {}, std::nullopt),
              HasSubstr("morvik_fru_info{category=\"FAN\",fru_number=\"A\\\"1\",description="
                        "\"a\\\\b\\nc\",identifying_number=\"KVAHalvoranFru1\"} 1\n"));
}

TEST(Metrics, EachSampleIsThereOnce) {
  Item twin = fan;
  twin.vendor = "Other";
  Report report;
  report.published = Items{fan, twin};
  const std::string text = metricsText(report, {}, std::nullopt);
  EXPECT_EQ(text.find("morvik_fru_info{"), text.rfind("morvik_fru_info{"));
  EXPECT_THAT(text, HasSubstr("morvik_entries{category=\"FAN\"} 2\n"));
  EXPECT_THAT(text, HasSubstr("morvik_entries{category=\"MEMORY\"} 0\n"));
}

TEST(Metrics, UnknownValuesAreLeftOut) {
  Report report;
  report.status = Status::cimServer;
  report.finished = at(1764000000);
  show::Machine machine;
  machine.machineType = "1234";
  machine.model = "Server";
  machine.serialNumber = "S1";
  const std::string text = metricsText(report, machine, std::nullopt);
  EXPECT_THAT(text, HasSubstr("morvik_run_status 5\n"));
  EXPECT_THAT(text, HasSubstr("morvik_last_run_timestamp_seconds 1764000000\n"));
  EXPECT_THAT(text,
              HasSubstr("morvik_machine_info{type=\"1234\",model=\"Server\",serial=\"S1\"} 1\n"));
  EXPECT_THAT(text, Not(HasSubstr("last_success")));
  EXPECT_THAT(text, Not(HasSubstr("morvik_entries")));
  EXPECT_THAT(metricsText(report, {}, at(1)),
              HasSubstr("morvik_last_success_timestamp_seconds 1\n"));
}
