// Entry points and structures, good and damaged.
#include <gtest/gtest.h>
#include "host/smbios.h"

#include "smbios_support.h"

namespace cimd::host {
namespace {

using test::endOfTable;
using test::entryPoint32;
using test::entryPoint64;
using test::StructureBuilder;
using test::withRightSum;

TEST(SmbiosEntryPoint, The32BitFormGivesLengthAndCount) {
  const auto entryPoint = readEntryPoint(entryPoint32(0xFEDC, 0x0321));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0xFEDCU);
  EXPECT_EQ(entryPoint->structureCount, 0x0321U);
}

TEST(SmbiosEntryPoint, The64BitFormGivesLengthOnly) {
  const auto entryPoint = readEntryPoint(entryPoint64(0x89ABCDEF));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0x89ABCDEFU);
  EXPECT_EQ(entryPoint->structureCount, std::nullopt);
}

TEST(SmbiosEntryPoint, BytesBehindItDoNotMatter) {
  EXPECT_TRUE(readEntryPoint(entryPoint32(10, 1) + "\xFF"));
  EXPECT_TRUE(readEntryPoint(entryPoint64(10) + "\xFF\xFF"));
}

TEST(SmbiosEntryPoint, ALongerOneOfAFutureVersionIsTaken) {
  const std::string longer = entryPoint64(10) + std::string(8, '\0');
  EXPECT_TRUE(readEntryPoint(withRightSum(longer, 0x06, 0x20, 0x05)));
}

// SMBIOS 2.1 had 1Eh where 1Fh was meant: the last byte stands outside the checksum, and the kernel
// does not hand it out.
TEST(SmbiosEntryPoint, TheShortLengthOfVersion21IsTaken) {
  std::string old = withRightSum(entryPoint32(10, 1), 0x05, 0x1E, 0x04);
  old = withRightSum(old, 0x1E, 0, 0x04);
  EXPECT_TRUE(readEntryPoint(old.substr(0, 0x1E)));
}

TEST(SmbiosEntryPoint, EveryByteIsUnderAChecksum) {
  for (const std::string& good : {entryPoint32(300, 7), entryPoint64(300)}) {
    for (std::size_t i = 0; i < good.size(); ++i) {
      std::string bad = good;
      bad[i] = static_cast<char>(bad[i] ^ 0x10);
      EXPECT_FALSE(readEntryPoint(bad)) << i;
    }
  }
}

// The sum over the whole stays right here.
TEST(SmbiosEntryPoint, TheSecondPartHasAnAnchorAndAChecksumOfItsOwn) {
  const std::string good = entryPoint32(300, 7);
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x10, 'x', 0x15)));
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x16, 0xFF, 0x04)));
}

TEST(SmbiosEntryPoint, OtherAnchorsAreRefused) {
  EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint32(10, 1), 0, 'x', 0x04)));
  EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 3, '4', 0x05)));
}

TEST(SmbiosEntryPoint, LengthsThatLieAreRefused) {
  for (const unsigned length : {0U, 5U, 0x1DU, 0x20U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint32(10, 1), 0x05, length, 0x04))) << length;
  }
  for (const unsigned length : {0U, 6U, 0x17U, 0x19U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 0x06, length, 0x05))) << length;
  }
}

TEST(SmbiosEntryPoint, NoneIsInWhatIsCutShort) {
  for (const std::string& good : {entryPoint32(300, 7), entryPoint64(300)}) {
    for (std::size_t length = 0; length < good.size(); ++length) {
      EXPECT_FALSE(readEntryPoint(good.substr(0, length))) << length;
    }
  }
}

// The types of the structures read.
std::vector<unsigned> types(const StructureTable& table) {
  std::vector<unsigned> result;
  for (const Structure& structure : table.structures) {
    result.push_back(structure.type());
  }
  return result;
}

using Types = std::vector<unsigned>;

TEST(SmbiosStructures, FieldsAreLittleEndian) {
  const std::string bytes = StructureBuilder(200, 0x0B, 0x1234)
                                .byte(4, 0xAB)
                                .word(5, 0xFEDC)
                                .doubleWord(7, 0x89ABCDEF)
                                .bytes() +
                            endOfTable();
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  ASSERT_EQ(types(table), (Types{200, 127}));
  const Structure& structure = table.structures[0];
  EXPECT_EQ(structure.byteAt(4), 0xAB);
  EXPECT_EQ(structure.wordAt(5), 0xFEDC);
  EXPECT_EQ(structure.doubleWordAt(7), 0x89ABCDEF);
  EXPECT_EQ(table.damage, "");
}

TEST(SmbiosStructures, FieldsPastTheEndAreMissing) {
  const std::string bytes = StructureBuilder(9, 8).text(4, "text").bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  ASSERT_EQ(table.structures.size(), 1U);
  const Structure& structure = table.structures[0];
  EXPECT_TRUE(structure.byteAt(7));
  EXPECT_FALSE(structure.byteAt(8));
  EXPECT_TRUE(structure.wordAt(6));
  EXPECT_FALSE(structure.wordAt(7));
  EXPECT_TRUE(structure.doubleWordAt(4));
  EXPECT_FALSE(structure.doubleWordAt(5));
  EXPECT_FALSE(structure.textAt(8));
}

TEST(SmbiosStructures, StringsAreFoundByNumber) {
  const std::string bytes =
      StructureBuilder(9, 9).text(5, "one").text(4, "two").byte(6, 3).byte(7, 255).bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  ASSERT_EQ(table.structures.size(), 1U);
  const Structure& structure = table.structures[0];
  EXPECT_EQ(structure.textAt(5), "one");
  EXPECT_EQ(structure.textAt(4), "two");
  EXPECT_EQ(structure.textAt(6), std::nullopt) << "a number past the last string";
  EXPECT_EQ(structure.textAt(7), std::nullopt);
  EXPECT_EQ(structure.textAt(8), std::nullopt) << "number 0: no string";
}

TEST(SmbiosStructures, ANumberWithoutAnyStringsFindsNone) {
  const std::string bytes = StructureBuilder(9, 5).byte(4, 1).bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  ASSERT_EQ(table.structures.size(), 1U);
  EXPECT_EQ(table.structures[0].textAt(4), std::nullopt);
}

TEST(SmbiosStructures, WithoutANumberTheEndOfTableEndsIt) {
  const std::string bytes =
      StructureBuilder(1, 4).bytes() + endOfTable() + StructureBuilder(17, 4).bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  EXPECT_EQ(types(table), (Types{1, 127}));
  EXPECT_EQ(table.damage, "");
}

TEST(SmbiosStructures, WithANumberReadingGoesOnBehindTheEndOfTable) {
  const std::string bytes =
      StructureBuilder(1, 4).bytes() + endOfTable() + StructureBuilder(17, 4).bytes();
  EXPECT_EQ(types(readStructures(bytes, {bytes.size(), 3})), (Types{1, 127, 17}));
  EXPECT_EQ(types(readStructures(bytes, {bytes.size(), 0})), (Types{1, 127})) << "0: not given";
}

TEST(SmbiosStructures, TheNumberOfStructuresEndsIt) {
  const std::string bytes = StructureBuilder(1, 4).bytes() + StructureBuilder(2, 4).bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  EXPECT_EQ(types(table), (Types{1}));
  EXPECT_EQ(table.damage, "");
}

TEST(SmbiosStructures, TheLengthOfTheTableEndsIt) {
  const std::string first = StructureBuilder(1, 4).bytes();
  const std::string bytes = first + StructureBuilder(2, 4).bytes();
  const StructureTable table = readStructures(bytes, {first.size(), 2});
  EXPECT_EQ(types(table), (Types{1}));
  EXPECT_EQ(table.damage, "it ends at byte 6, after 1 of 2 structures");
}

TEST(SmbiosStructures, ATableShorterThanItsLengthIsDamaged) {
  const std::string bytes = StructureBuilder(1, 4).bytes();
  const StructureTable counted = readStructures(bytes, {1000, 9});
  EXPECT_EQ(types(counted), (Types{1}));
  EXPECT_EQ(counted.damage, "it ends at byte 6, after 1 of 9 structures");
  const StructureTable open = readStructures(bytes, {0xFFFFFFFF, std::nullopt});
  EXPECT_EQ(types(open), (Types{1}));
  EXPECT_EQ(open.damage, "it ends at byte 6 without an end-of-table structure");
}

TEST(SmbiosStructures, AnEmptyTableIsDamaged) {
  EXPECT_EQ(readStructures("", {100, 1}).damage, "it ends at byte 0, after 0 of 1 structures");
  EXPECT_EQ(readStructures("abcdef", {0, 1}).damage, "it ends at byte 0, after 0 of 1 structures");
}

TEST(SmbiosStructures, AStructureShorterThanItsHeaderEndsIt) {
  for (const unsigned length : {0U, 1U, 3U}) {
    const std::string bytes = StructureBuilder(1, 4).bytes() +
                              StructureBuilder(2, 8).byte(1, length).bytes() + endOfTable();
    const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
    EXPECT_EQ(types(table), (Types{1}));
    EXPECT_EQ(table.damage, "the structure at byte 6 gives a length of " + std::to_string(length) +
                                " bytes, which is invalid");
  }
}

TEST(SmbiosStructures, AStructureLongerThanTheTableEndsIt) {
  const std::string bytes =
      StructureBuilder(1, 4).bytes() + StructureBuilder(2, 8).byte(1, 0xFF).bytes() + endOfTable();
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  EXPECT_EQ(types(table), (Types{1}));
  EXPECT_EQ(table.damage, "the structure at byte 6 gives a length of 255 bytes, which is invalid");
}

TEST(SmbiosStructures, StringsWithoutEndEndIt) {
  for (const std::string& strings : {std::string(), std::string(1, '\0'), std::string("text", 4),
                                     std::string("text\0", 5), std::string("text\0more", 9)}) {
    const std::string bytes =
        StructureBuilder(1, 4).bytes() + StructureBuilder(2, 4).bytes().substr(0, 4) + strings;
    const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
    EXPECT_EQ(types(table), (Types{1}));
    EXPECT_EQ(table.damage, "the strings of the structure at byte 6 have no end");
  }
}

// Handles have 16 bits: no table has more structures, however long it is.
TEST(SmbiosStructures, TheirNumberIsLimited) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i) {
    bytes += StructureBuilder(2, 4).bytes();
  }
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  EXPECT_EQ(table.structures.size(), 65536U);
  EXPECT_NE(table.damage, "");
}

}  // namespace
}  // namespace cimd::host
