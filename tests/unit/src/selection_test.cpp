// The conditions of an entry: clock and memory size against the machine's processors and memory
// modules, the language against the environment variable LANG.
#include <gtest/gtest.h>

#include <cstdlib>

#include "cim/selection.h"
#include "fake_client.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace {

CIMInstance processor(const CIMValue& clock) {
  return instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", clock)});
}

CIMInstance module(const CIMValue& capacity) {
  return instanceWith("KVAXDT_PhysicalMemory", {CIMProperty("Capacity", capacity)});
}

CIMValue bytes(Uint64 count) {
  return CIMValue(count);
}

class Hardware : public testing::Test {
 protected:
  void SetUp() override { fakeServer = {}; }

  static void haveProcessors(const std::vector<CIMInstance>& processors) {
    fakeServer.classes["KVAXDT_Processor"] = processors;
  }
  static void haveMemory(const std::vector<CIMInstance>& modules) {
    fakeServer.classes["KVAXDT_PhysicalMemory"] = modules;
  }
  static bool speedFits(const std::string& line) {
    CIMClient client(1);
    return getProcessorSpeedQualifier(client, String(line.c_str()));
  }
  static bool sizeFits(const std::string& line) {
    CIMClient client(1);
    return getMemorySizeQualifier(client, String(line.c_str()));
  }
  static bool speed(const std::string& value) {
    return speedFits(R"("1","PROCESSOR","SPEED=)" + value + R"(","x")");
  }
  static bool size(const std::string& value) {
    return sizeFits(R"("1","MEMORY","SIZE=)" + value + R"(","x")");
  }
};

TEST_F(Hardware, ClockMustBeTheSameDigits) {
  haveProcessors({processor(CIMValue(Uint32{2400}))});
  EXPECT_TRUE(speed("2400"));
  for (const char* other :
       {"02400", "2400MHz", " 2400", "2400 ", "+2400", "240", "24000", "2400.0", "0x960", ""}) {
    EXPECT_FALSE(speed(other)) << other;
  }
}

TEST_F(Hardware, AnyProcessorMayMatch) {
  haveProcessors({processor(CIMValue(Uint32{1800})), processor(CIMValue(Uint32{2400}))});
  EXPECT_TRUE(speed("1800"));
  EXPECT_TRUE(speed("2400"));
  EXPECT_FALSE(speed("4200"));
}

TEST_F(Hardware, ClockIsAnUnsignedNumber) {
  haveProcessors({processor(CIMValue(Uint32{4294967295U}))});
  EXPECT_TRUE(speed("4294967295"));
}

TEST_F(Hardware, NoProcessorMatchesNothing) {
  haveProcessors({});
  EXPECT_FALSE(speed("2400"));
}

TEST_F(Hardware, ALineWithoutSpeedIsNotSelected) {
  haveProcessors({processor(CIMValue(Uint32{2400}))});
  EXPECT_FALSE(speedFits(R"("1","PROCESSOR","","x")"));
  EXPECT_FALSE(speedFits(R"("1","PROCESSOR","speed=2400","x")"));
  EXPECT_FALSE(speedFits("012342400\"")) << "no reading from position 5, unlike the other two";
}

TEST_F(Hardware, SpeedIsSearchedAnywhereAndTheFirstCounts) {
  haveProcessors({processor(CIMValue(Uint32{2400}))});
  EXPECT_TRUE(speedFits("x SPEED=2400\""));
  EXPECT_TRUE(speedFits(R"("1","PROCESSOR","CLOCKSPEED=2400","x")"));
  EXPECT_TRUE(speedFits("SPEED=2400")) << "no closing quote: to the end of the line";
  EXPECT_FALSE(speedFits("SPEED=1800\"SPEED=2400\""));
}

TEST_F(Hardware, AProcessorWithoutClockEndsTheQuestion) {
  haveProcessors({instanceWith("KVAXDT_Processor", {}), processor(CIMValue(Uint32{2400}))});
  EXPECT_FALSE(speed("2400"));
}

TEST_F(Hardware, AMatchBeforeAProcessorWithoutClockCounts) {
  haveProcessors({processor(CIMValue(Uint32{2400})), instanceWith("KVAXDT_Processor", {})});
  EXPECT_TRUE(speed("2400"));
}

TEST_F(Hardware, AClockOfAnotherTypeEndsTheQuestion) {
  Array<Uint32> clocks;
  clocks.append(2400);
  for (const CIMValue& wrong :
       {CIMValue(Uint64{2400}), CIMValue(Uint16{2400}), CIMValue("2400"), CIMValue(clocks)}) {
    haveProcessors({processor(wrong), processor(CIMValue(Uint32{2400}))});
    EXPECT_FALSE(speed("2400"));
  }
}

TEST_F(Hardware, ANullClockIsTheEmptyText) {
  haveProcessors({processor(CIMValue(Pegasus::CIMTYPE_UINT32, false))});
  EXPECT_FALSE(speed("0"));
  EXPECT_TRUE(speed(""));
}

TEST_F(Hardware, EveryQuestionIsAFreshEnumeration) {
  haveProcessors({processor(CIMValue(Uint32{2400}))});
  haveMemory({});
  CIMClient client(1);
  getProcessorSpeedQualifier(client, String("SPEED=1"));
  getProcessorSpeedQualifier(client, String("SPEED=1"));
  getMemorySizeQualifier(client, String("SIZE=1"));
  EXPECT_EQ(fakeServer.calls,
            (std::vector<std::string>{
                "CIMClient 1",
                "enumerateInstances root/kvasd KVAXDT_Processor true true false false null",
                "enumerateInstances root/kvasd KVAXDT_Processor true true false false null",
                "enumerateInstances root/kvasd KVAXDT_PhysicalMemory true true false false null"}));
}

TEST_F(Hardware, OnlyTheExactDigitsOfASizeMatch) {
  haveMemory({module(bytes(536870912))});
  EXPECT_TRUE(size("512"));
  for (const char* other : {"0512", "512MB", " 512", "512 ", "51", "5120", "536870912", ""}) {
    EXPECT_FALSE(size(other)) << other;
  }
}

TEST_F(Hardware, SizeIsThatOfOneModuleAndNeverTheSum) {
  haveMemory({module(bytes(268435456)), module(bytes(536870912))});
  EXPECT_TRUE(size("256"));
  EXPECT_TRUE(size("512"));
  EXPECT_FALSE(size("768"));
}

TEST_F(Hardware, SizeIsInMebibytesWithTheRemainderDropped) {
  const struct {
    Uint64 capacity;
    const char* value;
  } cases[] = {{536870912, "512"},    {1073741824, "1024"}, {1000000000, "953"},
               {1073741823, "1023"},  {1048575, "0"},       {0, "0"},
               {17179869184, "16384"}};
  for (const auto& [capacity, value] : cases) {
    haveMemory({module(bytes(capacity))});
    EXPECT_TRUE(size(value)) << capacity;
  }
}

TEST_F(Hardware, SizeKeepsItsLowThirtyTwoBitsAsASignedNumber) {
  haveMemory({module(bytes(Uint64{0x80000000U} << 20))});
  EXPECT_TRUE(size("-2147483648"));
  haveMemory({module(bytes(0xFFFFFFFFFFFFFFFFU))});
  EXPECT_TRUE(size("-1"));
  haveMemory({module(bytes(Uint64{0x100000001U} << 20))});
  EXPECT_TRUE(size("1"));
}

TEST_F(Hardware, NoModuleMatchesNothing) {
  haveMemory({});
  EXPECT_FALSE(size("512"));
  EXPECT_FALSE(size(""));
}

TEST_F(Hardware, AModuleWithoutCapacityEndsTheQuestion) {
  haveMemory({instanceWith("KVAXDT_PhysicalMemory", {}), module(bytes(536870912))});
  EXPECT_FALSE(size("512"));
}

TEST_F(Hardware, ACapacityOfAnotherTypeEndsTheQuestion) {
  haveMemory({module(CIMValue(Uint32{536870912})), module(bytes(536870912))});
  EXPECT_FALSE(size("512"));
}

TEST_F(Hardware, WithoutSizeTheTextFromPositionFourIsJudged) {
  haveMemory({module(bytes(536870912))});
  EXPECT_TRUE(sizeFits("0123512\"x"));
  EXPECT_TRUE(sizeFits("0123512"));
  EXPECT_FALSE(sizeFits("01234512\""));
  EXPECT_FALSE(sizeFits("012"));
}

TEST_F(Hardware, SizeIsSearchedAnywhereAndTheFirstCounts) {
  haveMemory({module(bytes(536870912))});
  EXPECT_TRUE(sizeFits("x SIZE=512\""));
  EXPECT_FALSE(sizeFits("SIZE=256\"SIZE=512\""));
}

TEST_F(Hardware, ASizeWithoutClosingQuoteRunsToTheEndOfTheLine) {
  haveMemory({module(bytes(536870912))});
  EXPECT_TRUE(sizeFits("SIZE=512"));
  EXPECT_TRUE(sizeFits(R"("1","MEMORY","SIZE=512)"));
  EXPECT_FALSE(sizeFits("SIZE=512 MB"));
  EXPECT_FALSE(sizeFits("SIZE="));
}

TEST_F(Hardware, ANullCapacityIsZero) {
  haveMemory({module(CIMValue(Pegasus::CIMTYPE_UINT64, false))});
  EXPECT_TRUE(size("0"));
  EXPECT_FALSE(size(""));
}

TEST_F(Hardware, NoEntryFitsOnAnyException) {
  haveProcessors({processor(CIMValue(Uint32{2400}))});
  haveMemory({module(bytes(536870912))});
  fakeServer.beforeAnswer = [](const std::string& call) {
    if (call.starts_with("enumerate")) {
      throw 42;  // NOLINT: no exception is too odd
    }
  };
  EXPECT_FALSE(speed("2400"));
  EXPECT_FALSE(size("512"));
}

TEST_F(Hardware, NoEntryFitsWhenTheServerRefuses) {
  EXPECT_FALSE(speed("2400"));
  EXPECT_FALSE(size("512"));
}

bool accepts(const char* lang, const String& line) {
  if (lang == nullptr) {
    unsetenv("LANG");
  } else {
    setenv("LANG", lang, 1);
  }
  return getLanguageQualifier(line);
}

bool acceptsValue(const char* lang, const std::string& value) {
  return accepts(lang, String(("\"1\",\"KEYBOARD\",\"LANGUAGE=" + value + "\",\"x\"").c_str()));
}

TEST(Language, IsTheFirstTwoLettersOfLangAsWritten) {
  for (const char* code :
       {"en", "de", "fr", "it", "ja", "ko", "EN", "De", "fR", "IT", "Ja", "KO"}) {
    EXPECT_TRUE(acceptsValue(code, code)) << code;
    EXPECT_TRUE(acceptsValue((std::string(code) + "_XX.UTF-8").c_str(), code)) << code;
  }
}

TEST(Language, IsComparedCaseSensitively) {
  EXPECT_FALSE(acceptsValue("en_US", "EN"));
  EXPECT_FALSE(acceptsValue("EN", "en"));
  EXPECT_FALSE(acceptsValue("de_DE.UTF-8", "DE"));
}

TEST(Language, IsComparedAsAWhole) {
  EXPECT_FALSE(acceptsValue("en_US", "en_US"));
  EXPECT_FALSE(acceptsValue("en_US", "e"));
  EXPECT_FALSE(acceptsValue("en_US", " en"));
  EXPECT_FALSE(acceptsValue("en_US", "en "));
  EXPECT_FALSE(acceptsValue("en_US", ""));
  EXPECT_FALSE(acceptsValue("en_US", "de"));
}

TEST(Language, IsEmptyForAnyOtherLang) {
  for (const char* lang : {"", "e", "C", "POSIX", "es_ES", "zh_CN", "zh_TW", "ZH_TW.Big5", "zh"}) {
    EXPECT_TRUE(acceptsValue(lang, "")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "en")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh_T")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "zh_TW")) << lang;
    EXPECT_FALSE(acceptsValue(lang, "ZH_CN")) << lang;
  }
}

TEST(Language, IsEmptyForAnUnsetLang) {
  EXPECT_TRUE(acceptsValue(nullptr, ""));
  EXPECT_FALSE(acceptsValue(nullptr, "en"));
}

TEST(Language, OnlyTheFirstTwoLettersOfLangCount) {
  EXPECT_TRUE(acceptsValue("english", "en"));
  EXPECT_TRUE(acceptsValue("it:", "it"));
  EXPECT_TRUE(acceptsValue("xx_en", ""));
}

TEST(Language, BytesPastAsciiAreNoCode) {
  EXPECT_TRUE(acceptsValue("\xFF\xFE", ""));
  EXPECT_TRUE(acceptsValue("d\xC3\xA9", ""));
  EXPECT_TRUE(acceptsValue("de\xFF", "de"));
}

TEST(Language, IsReadAnewAtEveryCall) {
  EXPECT_TRUE(acceptsValue("en_US", "en"));
  EXPECT_TRUE(acceptsValue("de_DE", "de"));
}

TEST(Language, ValueRunsToTheEndOfTheLineWithoutClosingQuote) {
  EXPECT_TRUE(accepts("en_US", "LANGUAGE=en"));
  EXPECT_TRUE(accepts("C", "LANGUAGE="));
}

TEST(Language, WithoutTokenTheTextFromPositionEightIsJudged) {
  EXPECT_TRUE(accepts("en_US", "01234567en\"x"));
  EXPECT_TRUE(accepts("en_US", "01234567en"));
  EXPECT_FALSE(accepts("en_US", "0123456en\"x"));
  EXPECT_TRUE(accepts("C", "01234567\"x"));
  EXPECT_TRUE(accepts("C", "0123")) << "past the end the value is empty";
}

TEST(Language, TheFirstTokenCounts) {
  EXPECT_TRUE(accepts("en_US", "LANGUAGE=en\"LANGUAGE=de\""));
  EXPECT_TRUE(accepts("en_US", R"("1","KEYBOARD","","as LANGUAGE=en")"));
  EXPECT_FALSE(accepts("de_DE", "LANGUAGE=en\"LANGUAGE=de\""));
}

}  // namespace
