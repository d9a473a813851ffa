// Entry points and structures, good and damaged.
#include "host/smbios.h"

#include "smbios_support.h"

namespace cimd::test {
namespace {

TEST(SmbiosEntryPoint, FormOf32BitsHasLengthAndCount) {
  const auto entryPoint = readEntryPoint(entryPoint32(0xFEDC, 0x0321));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0xFEDCU);
  EXPECT_EQ(entryPoint->structureCount, 0x0321U);
}

TEST(SmbiosEntryPoint, FormOf64BitsHasLengthOnly) {
  const auto entryPoint = readEntryPoint(entryPoint64(0x89ABCDEF));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0x89ABCDEFU);
  EXPECT_EQ(entryPoint->structureCount, std::nullopt);
}

TEST(SmbiosEntryPoint, FurtherBytesAreIgnored) {
  EXPECT_TRUE(readEntryPoint(entryPoint32(10, 1) + "\xFF"));
  EXPECT_TRUE(readEntryPoint(entryPoint64(10) + "\xFF\xFF"));
  const std::string longer = entryPoint64(10) + std::string(8, '\0');
  EXPECT_TRUE(readEntryPoint(withRightSum(longer, 0x06, 0x20, 0x05))) << "of a future version";
}

// SMBIOS 2.1 gave 1Eh as the length where 1Fh was meant: the checksum does not include the last
// byte, and the kernel does not pass it on.
TEST(SmbiosEntryPoint, ShortLengthOfVersion21IsAccepted) {
  std::string old = withRightSum(entryPoint32(10, 1), 0x05, 0x1E, 0x04);
  old = withRightSum(old, 0x1E, 0, 0x04);
  EXPECT_TRUE(readEntryPoint(old.substr(0, 0x1E)));
}

// The sum of the whole entry point stays valid here.
TEST(SmbiosEntryPoint, AnchorsAndTheSecondChecksumAreChecked) {
  const std::string good = entryPoint32(300, 7);
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0, 'x', 0x04)));
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x10, 'x', 0x15)));
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x16, 0xFF, 0x04)));
  EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 3, '4', 0x05)));
}

TEST(SmbiosEntryPoint, WrongLengthsAreRefused) {
  for (const unsigned length : {0U, 5U, 0x1DU, 0x20U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint32(10, 1), 0x05, length, 0x04))) << length;
  }
  for (const unsigned length : {0U, 6U, 0x17U, 0x19U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 0x06, length, 0x05))) << length;
  }
}

TEST(SmbiosEntryPoint, TruncatedOnesAreRefused) {
  for (const std::string& good : {entryPoint32(300, 7), entryPoint64(300)}) {
    for (std::size_t length = 0; length < good.size(); ++length) {
      EXPECT_FALSE(readEntryPoint(good.substr(0, length))) << length;
    }
  }
}

// The types of the structures read.
std::vector<unsigned> types(const StructureTable& table) {
  std::vector<unsigned> result;
  result.reserve(table.structures.size());
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
  const std::string none = StructureBuilder(9, 5).byte(4, 1).bytes();
  EXPECT_EQ(readStructures(none, {none.size(), 1}).structures.at(0).textAt(4), std::nullopt);
}

TEST(SmbiosStructures, ReadingEndsWithTheTableOrAtDamage) {
  const std::string one = StructureBuilder(1, 4).bytes();
  const std::string two = StructureBuilder(2, 4).bytes();
  const std::string ended = one + endOfTable() + two;
  const auto lengthOf = [&](unsigned length) {
    return one + StructureBuilder(2, 8).byte(1, length).bytes() + endOfTable();
  };
  const auto withStrings = [&](std::string_view strings) {
    return one + two.substr(0, 4) + std::string(strings);
  };
  constexpr auto none = std::nullopt;
  constexpr std::size_t any = 0xFFFFFFFF;
  const std::string badLength = "the structure at byte 6 gives a length of ";
  const std::string invalid = " bytes, which is invalid";
  const std::string endless = "the strings of the structure at byte 6 have no end";
  struct Case {
    std::string bytes;
    EntryPoint entryPoint;
    Types types;
    std::string damage;
  };
  for (const Case& c : std::vector<Case>{
           // the end-of-table structure counts only where no number is given
           {ended, {ended.size(), none}, {1, 127}, ""},
           {ended, {ended.size(), 0}, {1, 127}, ""},
           {ended, {ended.size(), 3}, {1, 127, 2}, ""},
           // the number of structures, the length of the table, and that of its bytes
           {one + two, {any, 1}, {1}, ""},
           {one + two, {one.size(), 2}, {1}, "it ends at byte 6, after 1 of 2 structures"},
           {one, {1000, 9}, {1}, "it ends at byte 6, after 1 of 9 structures"},
           {one, {any, none}, {1}, "it ends at byte 6 without an end-of-table structure"},
           {"", {100, 1}, {}, "it ends at byte 0, after 0 of 1 structures"},
           {"abcdef", {0, 1}, {}, "it ends at byte 0, after 0 of 1 structures"},
           // a structure shorter than its header, or longer than the table
           {lengthOf(0), {any, none}, {1}, badLength + "0" + invalid},
           {lengthOf(1), {any, none}, {1}, badLength + "1" + invalid},
           {lengthOf(3), {any, none}, {1}, badLength + "3" + invalid},
           {lengthOf(0xFF), {any, none}, {1}, badLength + "255" + invalid},
           // strings without the zero bytes at their end
           {withStrings(""), {any, none}, {1}, endless},
           {withStrings({"\0", 1}), {any, none}, {1}, endless},
           {withStrings("text"), {any, none}, {1}, endless},
           {withStrings({"text\0", 5}), {any, none}, {1}, endless},
           {withStrings({"text\0more", 9}), {any, none}, {1}, endless}}) {
    const StructureTable table = readStructures(c.bytes, c.entryPoint);
    EXPECT_EQ(types(table), c.types) << PrintToString(c.bytes);
    EXPECT_EQ(table.damage, c.damage) << PrintToString(c.bytes);
  }
}

// Handles have 16 bits, so no table has more structures.
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
}  // namespace cimd::test
