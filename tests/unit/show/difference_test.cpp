// Differences between two inventories.
#include "difference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace show {
namespace {

Entry entryOf(const char* category, const char* number, const char* description,
              const char* identifyingNumber = "KVAHalvoranFru1") {
  Entry entry;
  entry.category = category;
  entry.fruNumber = number;
  entry.description = description;
  entry.identifyingNumber = identifyingNumber;
  entry.vendor = "KVA";
  entry.isOurs = true;
  return entry;
}

// "change part name member: old -> new"
std::vector<std::string> compare(const Inventory& before, const Inventory& after) {
  std::vector<std::string> lines;
  const auto words = [](const std::optional<Pegasus::String>& text) {
    return text ? text->toUtf8() : "-";
  };
  for (const Difference& d : differencesOf(before, after)) {
    lines.push_back(std::string(d.kind == Difference::Kind::added     ? "added"
                                : d.kind == Difference::Kind::removed ? "removed"
                                                                      : "changed") +
                    ' ' + d.part.toUtf8() + ' ' + d.name.toUtf8() + ' ' + d.member.toUtf8() + ": " +
                    words(d.before) + " -> " + words(d.after));
  }
  return lines;
}

std::vector<std::string> compare(std::vector<Entry> before, std::vector<Entry> after) {
  Inventory a;
  a.entries = std::move(before);
  Inventory b;
  b.entries = std::move(after);
  return compare(a, b);
}

TEST(Difference, EntriesAreAddedRemovedAndChanged) {
  EXPECT_THAT(compare({entryOf("FAN", "1", "a"), entryOf("FAN", "2", "b")},
                      {entryOf("FAN", "2", "c"), entryOf("PLANAR", "1", "d")}),
              ElementsAre("removed FAN 1 : a -> -", "changed FAN 2 description: b -> c",
                          "added PLANAR 1 : - -> d"));
  EXPECT_THAT(compare({entryOf("FAN", "1", "a")}, {entryOf("FAN", "1", "a")}), IsEmpty());
}

TEST(Difference, IdentifyingNumbersOfMorvikOnlyCountTheEntries) {
  EXPECT_THAT(compare({entryOf("FAN", "1", "a", "KVAHalvoranFru2")},
                      {entryOf("FAN", "1", "a", "KVAHalvoranFru1")}),
              IsEmpty());
  Entry before = entryOf("FAN", "1", "a", "X1");
  before.isOurs = false;
  Entry after = before;
  after.identifyingNumber = "X2";
  EXPECT_THAT(compare({before}, {after}),
              ElementsAre("removed FAN 1 : a -> -", "added FAN 1 : - -> a"));
  after.identifyingNumber = "X1";
  after.category = "CDROM";
  EXPECT_THAT(compare({before}, {after}), ElementsAre("changed CDROM 1 category: FAN -> CDROM"));
}

TEST(Difference, DifferencesAreInTheOrderOfTheInventories) {
  EXPECT_THAT(
      compare({entryOf("FAN", "2", "b"), entryOf("FAN", "10", "b")},
              {entryOf("FAN", "9", "a"), entryOf("FAN", "10", "a"), entryOf("FAN", "2", "a")}),
      ElementsAre("changed FAN 2 description: b -> a", "changed FAN 10 description: b -> a",
                  "added FAN 9 : - -> a"));
}

TEST(Difference, EqualNumbersAreComparedOneByOne) {
  EXPECT_THAT(
      compare({entryOf("FAN", "1", "a"), entryOf("FAN", "1", "b")}, {entryOf("FAN", "1", "a")}),
      ElementsAre("removed FAN 1 : b -> -"));
}

Inventory machineWith(std::vector<Part> modules, int format = 2) {
  Inventory inventory;
  inventory.format = format;
  inventory.machine.emplace();
  inventory.machine->memoryModules.list = std::move(modules);
  return inventory;
}

TEST(Difference, PartsAreComparedByPlace) {
  const Part small = {
      .isModule = true, .compared = "512", .place = "D1", .type = "DDR4", .amount = 512U << 20U};
  Part large = small;
  large.compared = "1024";
  large.amount = 1024U << 20U;
  large.serialNumber = "S";
  Part other = small;
  other.place = "D2";
  EXPECT_THAT(compare(machineWith({small}), machineWith({other, large})),
              ElementsAre("changed memory module D1 size: 512 MiB -> 1 GiB",
                          "changed memory module D1 serialNumber: - -> S",
                          "added memory module D2 : - -> 512 MiB, DDR4"));
  EXPECT_THAT(compare(machineWith({small, other}), machineWith({other, small})), IsEmpty());
}

TEST(Difference, PartsWithoutPlacesAreCounted) {
  const Part placed = {
      .isModule = true, .compared = "512", .place = "D1", .type = "DDR4", .amount = 512U << 20U};
  const Part bare = {.isModule = true, .compared = "512"};
  EXPECT_THAT(compare(machineWith({bare, bare}, 1), machineWith({placed})),
              ElementsAre("changed machine  memoryModules: 2 x 512 MiB -> 1 x 512 MiB"));
  EXPECT_THAT(compare(machineWith({bare}, 1), machineWith({placed})), IsEmpty());
  Inventory refused = machineWith({});
  refused.machine->memoryModules.refusal = "x";
  EXPECT_THAT(compare(refused, machineWith({placed})), IsEmpty());
}

TEST(Difference, MachineIsComparedAsFarAsBothKnowIt) {
  Inventory before = machineWith({});
  before.machine->hostName = "a";
  before.machine->model = "M1";
  before.machine->machineType = "1";
  before.machine->languageCode = "de";
  Inventory after = machineWith({});
  after.machine->hostName = "b";
  after.machine->model = "M2";
  after.machine->machineType = "2";
  after.machine->serialNumber = "S";
  EXPECT_THAT(
      compare(before, after),
      ElementsAre("changed machine  hostName: a -> b", "changed machine  serialNumber: - -> S",
                  "changed machine  model: M1 -> M2", "changed machine  machineType: 1 -> 2"));
  before.format = 1;
  EXPECT_EQ(compare(before, after).size(), 2U);
  after.machine.reset();
  after.entries.emplace();
  EXPECT_THAT(compare(before, after), IsEmpty()) << "a machine and a list have nothing in common";
}

}  // namespace
}  // namespace show
