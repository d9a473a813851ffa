// The fields of an entry line, well-formed and not.

#include <gtest/gtest.h>

#include "import/fru_file.h"
#include "import/publication.h"

using Pegasus::CIMInstance;
using Pegasus::String;
using Pegasus::Uint32;

namespace {

const String wellFormed(R"("25P2885","PROCESSOR","SPEED=2400","Processor, 2.4 GHz")");

TEST(CategoryToken, IsTheSecondField) {
  EXPECT_EQ(cutCategoryToken(wellFormed), "PROCESSOR");
}

TEST(CategoryToken, OfMalformedLines) {
  EXPECT_EQ(cutCategoryToken(""), "");
  EXPECT_EQ(cutCategoryToken(","), "");
  EXPECT_EQ(cutCategoryToken("a,"), "");
  EXPECT_EQ(cutCategoryToken(R"("1","FAN)"), "FAN") << "no closing quote: up to the end";
  EXPECT_EQ(cutCategoryToken(R"("1", "FAN","","x")"), "") << "a blank before the quote";
  EXPECT_EQ(cutCategoryToken(R"("FAN")"), "FAN") << "no comma: the marker wraps to position 1";
}

TEST(Category, IsFoundForTheNineKeywordsOnly) {
  const char* keywords[] = {"PROCESSOR", "MEMORY",   "KEYBOARD", "PLANAR",   "CDROM",
                            "FLOPPY",    "OPTIONSP", "FAN",      "BACKPLANE"};
  int position = 0;
  for (const char* keyword : keywords) {
    ASSERT_TRUE(findCategory(keyword)) << keyword;
    EXPECT_EQ(static_cast<int>(*findCategory(keyword)), position++) << keyword;
  }
  for (const char* other : {"", "fan", "Fan", "FAN ", " FAN", "FANS", "FA", "DISK"}) {
    EXPECT_FALSE(findCategory(other)) << other;
  }
}

TEST(EntryFields, OfAWellFormedLine) {
  const EntryFields fields = cutEntryFields(wellFormed);
  EXPECT_EQ(fields.fruNumber, "25P2885");
  EXPECT_EQ(fields.name, "PROCESSOR");
  EXPECT_EQ(fields.description, "Processor, 2.4 GHz");
}

TEST(EntryFields, MayBeEmpty) {
  const EntryFields fields = cutEntryFields(R"("","FAN","","")");
  EXPECT_EQ(fields.fruNumber, "");
  EXPECT_EQ(fields.name, "FAN");
  EXPECT_EQ(fields.description, "");
}

TEST(EntryFields, TheDescriptionMayHoldCommasAndTheQualifierToo) {
  const EntryFields fields = cutEntryFields(R"("1","FAN","a,b","x, y,z"trailing,"text")");
  EXPECT_EQ(fields.name, "FAN");
  EXPECT_EQ(fields.description, "x, y,z");
}

TEST(EntryFields, TextBehindTheFourthFieldIsIgnored) {
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"x\"\r").description, "x");
}

TEST(EntryFields, TextBeforeTheFirstQuoteIsIgnored) {
  EXPECT_EQ(cutEntryFields(R"(  "1","FAN","","x")").fruNumber, "1");
}

// What stands between the first comma and the field is taken for its opening quote, unseen.
TEST(EntryFields, TheSecondCommaIsSearchedBehindThePlaceOfTheOpeningQuote) {
  const String line(R"("1",,FAN","","x")");
  EXPECT_EQ(cutCategoryToken(line), "FAN");
  EXPECT_EQ(cutEntryFields(line).name, "FAN");
  EXPECT_EQ(cutEntryFields(line).description, "x");
}

TEST(EntryFields, ABlankBeforeACommaLeavesTheQuoteInTheField) {
  const EntryFields first = cutEntryFields(R"("F1" ,"FAN","","x")");
  EXPECT_EQ(first.fruNumber, "F1\"");
  EXPECT_EQ(first.name, "FAN");
  EXPECT_EQ(first.description, "x");
  const EntryFields second = cutEntryFields(R"("F1","FAN" ,"","x")");
  EXPECT_EQ(second.fruNumber, "F1");
  EXPECT_EQ(second.name, "FAN\"");
  EXPECT_EQ(second.description, "x");
}

TEST(EntryFields, ABlankBesideTheThirdFieldEmptiesTheDescription) {
  EXPECT_EQ(cutEntryFields(R"("1","FAN", "","x")").description, "");
  EXPECT_EQ(cutEntryFields(R"("1","FAN","" ,"x")").description, "");
}

TEST(EntryFields, WithAccentsAndOtherScripts) {
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"Lüfter 风\"").description, String("Lüfter 风"));
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"L\xFC"
                           "fter\"")
                .description,
            String("Lüfter"));
}

// Cuts of every prefix of a line lie inside it, whatever they give.
TEST(EntryFields, OfEveryPrefixLieInsideTheLine) {
  for (Pegasus::Uint32 length = 0; length <= wellFormed.size(); length++) {
    const String line = wellFormed.subString(0, length);
    const EntryFields fields = cutEntryFields(line);
    for (const String& cut :
         {fields.fruNumber, fields.name, fields.description, cutCategoryToken(line)}) {
      EXPECT_LE(cut.size(), length);
      EXPECT_NE(line.find(cut), PEG_NOT_FOUND) << length;
    }
  }
}

TEST(EntryFields, OfLinesWithoutCommasOrQuotesAreClamped) {
  const EntryFields noComma = cutEntryFields(R"("FAN")");
  EXPECT_EQ(noComma.fruNumber, "FAN\"");
  const EntryFields noDescription = cutEntryFields(R"("1","FAN")");
  EXPECT_EQ(noDescription.fruNumber, "1");
  EXPECT_EQ(noDescription.name, "FAN\"");
}

TEST(FruProperties, AreAddedInOrderAsStrings) {
  CIMInstance instance(String("KVAXDT_FRU"));
  addFruProperties(wellFormed, instance);
  ASSERT_EQ(instance.getPropertyCount(), 3U);
  const char* names[] = {"FRUNumber", "Name", "Description"};
  const char* values[] = {"25P2885", "PROCESSOR", "Processor, 2.4 GHz"};
  for (Pegasus::Uint32 i = 0; i < 3; i++) {
    const auto& property = instance.getProperty(i);
    EXPECT_EQ(property.getName(), names[i]);
    EXPECT_EQ(property.getType(), Pegasus::CIMTYPE_STRING);
    EXPECT_FALSE(property.isArray());
    EXPECT_EQ(property.getArraySize(), 0U);
    EXPECT_FALSE(property.getPropagated());
    EXPECT_EQ(property.getValue().toString(), values[i]);
  }
}

}  // namespace
