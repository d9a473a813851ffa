#include <Pegasus/Common/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include "store/instance_text.h"
#include "store/sqlite.h"

#include <limits>

#include "store_support.h"

namespace cimd {
namespace {

using Pegasus::Array;
using Pegasus::CIMInstance;
using Pegasus::CIMKeyBinding;
using Pegasus::CIMObjectPath;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using test::load;
using test::loadFile;
using test::numberedKey;
using test::put;
using test::remove;
using test::row;
using test::Rows;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InstanceDatabaseTest : public testing::Test {
 protected:
  std::filesystem::path file() const { return folder_.path() / "instances.db"; }

  // What comes back of this value as the only property of an instance, after closing the file.
  CIMValue throughTheFile(const CIMValue& value) {
    CIMInstance instance("C");
    instance.addProperty(CIMProperty("p", value));
    InstanceDatabase(file()).put("root/kvasd", u"k", instance);
    CIMValue result;
    InstanceDatabase database(file());
    EXPECT_THAT(
        database.load([&result](const String&, const InstanceKey&, const CIMInstance& read) {
          ASSERT_EQ(read.getPropertyCount(), 1U);
          result = read.getProperty(0).getValue();
        }),
        IsEmpty());
    return result;
  }

  template <typename T>
  void expectKept(T a, T b) {
    EXPECT_EQ(throughTheFile(CIMValue(a)), CIMValue(a));
    EXPECT_EQ(throughTheFile(CIMValue(b)), CIMValue(b));
    Array<T> both;
    both.append(a);
    both.append(b);
    EXPECT_EQ(throughTheFile(CIMValue(both)), CIMValue(both));
  }

  template <typename T>
  void expectLimitsKept() {
    expectKept<T>(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
  }

  test::TemporaryFolder folder_;
};

TEST_F(InstanceDatabaseTest, everyNumericTypeReadsBackTheSame) {
  expectLimitsKept<Pegasus::Uint8>();
  expectLimitsKept<Pegasus::Sint8>();
  expectLimitsKept<Pegasus::Uint16>();
  expectLimitsKept<Pegasus::Sint16>();
  expectLimitsKept<Pegasus::Uint32>();
  expectLimitsKept<Pegasus::Sint32>();
  expectLimitsKept<Pegasus::Uint64>();
  expectLimitsKept<Pegasus::Sint64>();
  expectLimitsKept<Pegasus::Real32>();
  expectLimitsKept<Pegasus::Real64>();
  expectKept<Pegasus::Real64>(0.1, -std::numeric_limits<Pegasus::Real64>::infinity());
}

TEST_F(InstanceDatabaseTest, everyOtherTypeReadsBackTheSame) {
  expectKept<Pegasus::Boolean>(true, false);
  expectKept<Pegasus::Char16>(u'a', u'\u20AC');
  expectKept<String>("", "  blanks, <tags> & \"quotes\"\r\n\tand lines ");
  expectKept<String>("Grüße, κόσμε, 世界", "beyond: \xF0\x9F\x94\xA7");
  expectKept<Pegasus::CIMDateTime>(Pegasus::CIMDateTime("20260131235959.123456+060"),
                                   Pegasus::CIMDateTime("00000001020304.000005:000"));
}

TEST_F(InstanceDatabaseTest, referencesReadBackTheSame) {
  const CIMObjectPath inner("", "root/other", "Inner",
                            {CIMKeyBinding("B", "TRUE", CIMKeyBinding::BOOLEAN)});
  const CIMObjectPath outer(
      "host.example", "root/kvasd", "Outer",
      {CIMKeyBinding("N", "17", CIMKeyBinding::NUMERIC),
       CIMKeyBinding("S", "a\"ö", CIMKeyBinding::STRING), CIMKeyBinding("R", inner)});
  EXPECT_EQ(throughTheFile(CIMValue(inner)), CIMValue(inner));
  EXPECT_EQ(throughTheFile(CIMValue(outer)), CIMValue(outer));
}

TEST_F(InstanceDatabaseTest, nullOfEveryTypeReadsBackAsNullOfThatType) {
  for (int type = Pegasus::CIMTYPE_BOOLEAN; type <= Pegasus::CIMTYPE_REFERENCE; ++type) {
    const CIMValue scalar(static_cast<Pegasus::CIMType>(type), false);
    EXPECT_EQ(throughTheFile(scalar), scalar) << type;
    if (type != Pegasus::CIMTYPE_REFERENCE) {
      const CIMValue array(static_cast<Pegasus::CIMType>(type), true);
      EXPECT_EQ(throughTheFile(array), array) << type;
    }
  }
  EXPECT_EQ(throughTheFile(CIMValue(Array<String>())), CIMValue(Array<String>()));
}

TEST_F(InstanceDatabaseTest, whatIsKnownOfAPropertyBesideItsValueReadsBackTheSame) {
  CIMInstance given("C");
  given.addProperty(CIMProperty("a", CIMValue(Array<String>{"x"}), 7, "", "Origin", true));
  given.addProperty(
      CIMProperty("r", CIMValue(Pegasus::CIMTYPE_REFERENCE, false), 0, "Target", "", false));
  InstanceDatabase(file()).put("root/kvasd", u"k", given);
  InstanceDatabase(file()).load(
      [&given](const String&, const InstanceKey&, const CIMInstance& read) {
        EXPECT_EQ(encodeInstance(read), encodeInstance(given));
        EXPECT_EQ(read.getProperty(0).getArraySize(), 7U);
        EXPECT_EQ(read.getProperty(0).getClassOrigin(), "Origin");
        EXPECT_TRUE(read.getProperty(0).getPropagated());
        EXPECT_EQ(read.getProperty(1).getReferenceClassName(), "Target");
      });
}

TEST_F(InstanceDatabaseTest, instancesComeInOrderOfCreation) {
  {
    InstanceDatabase database(file());
    for (const int number : {3, 1, 2}) {
      put(database, numberedKey(number), "first");
    }
  }
  EXPECT_THAT(loadFile(file()),
              ElementsAre(row(u"key3", "first"), row(u"key1", "first"), row(u"key2", "first")));
}

TEST_F(InstanceDatabaseTest, aReplacementKeepsItsPlace) {
  {
    InstanceDatabase database(file());
    put(database, u"a", "first");
    put(database, u"b", "first");
    put(database, u"a", "second");
    EXPECT_THAT(load(database), ElementsAre(row(u"a", "second"), row(u"b", "first")));
  }
  EXPECT_THAT(loadFile(file()), ElementsAre(row(u"a", "second"), row(u"b", "first")));
}

TEST_F(InstanceDatabaseTest, whatIsRemovedAndPutAgainComesLast) {
  {
    InstanceDatabase database(file());
    put(database, u"a", "first");
    put(database, u"b", "first");
    remove(database, u"a");
    put(database, u"a", "again");
  }
  EXPECT_THAT(loadFile(file()), ElementsAre(row(u"b", "first"), row(u"a", "again")));
}

TEST_F(InstanceDatabaseTest, removingWhatIsNotThereIsNoError) {
  InstanceDatabase database(file());
  put(database, u"a", "kept");
  remove(database, u"b");
  remove(database, u"a", "root/other");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "kept")));
}

TEST_F(InstanceDatabaseTest, keysDifferInLetterCaseAndInEveryCharacter) {
  const InstanceKey long1 = InstanceKey(60000, u'x') + u"1";
  const InstanceKey long2 = InstanceKey(60000, u'x') + u"2";
  InstanceDatabase database(file());
  const std::vector<InstanceKey> keys = {
      u"a", u"A", u"ä", u"\U0001F527", long1, long2, u"", InstanceKey(u"n\0o", 3), u"n"};
  for (const InstanceKey& key : keys) {
    put(database, key,
        encodeText(key).substr(0, 3) == "n" + std::string(1, '\0') + "o" ? "with zero"
                                                                         : encodeText(key));
  }
  EXPECT_EQ(load(database).size(), keys.size());
  for (const InstanceKey& key : keys) {
    remove(database, key);
  }
  EXPECT_THAT(load(database), IsEmpty());
}

TEST_F(InstanceDatabaseTest, aNameSpaceIsTheSameInAnyLetterCaseAndWithSlashes) {
  InstanceDatabase database(file());
  put(database, u"a", "first", "root/kvasd");
  put(database, u"a", "second", "/Root/KVASD/");
  put(database, u"a", "elsewhere", "root/other");
  EXPECT_THAT(load(database),
              ElementsAre(row(u"a", "second", "Root/KVASD"), row(u"a", "elsewhere", "root/other")));
  remove(database, u"a", "ROOT/kvasd");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "elsewhere", "root/other")));
}

TEST_F(InstanceDatabaseTest, peopleCanReadTheFileWithAnySqliteTool) {
  {
    InstanceDatabase database(file());
    put(database, u"a", "Grüße");
  }
  EXPECT_EQ(test::queryText(file(),
                            "SELECT namespace || '|' || key || '|' || class || '|' || "
                            "instance FROM instance"),
            "root/kvasd|a|KVAXDT_FRU|<INSTANCE CLASSNAME=\"KVAXDT_FRU\"><PROPERTY NAME=\"Name\" "
            "TYPE=\"string\"><VALUE>Grüße</VALUE></PROPERTY></INSTANCE>");
}

TEST_F(InstanceDatabaseTest, whatTextCannotCarryIsRefusedAndNothingChanges) {
  InstanceDatabase database(file());
  put(database, u"a", "kept");
  CIMInstance references("C");
  references.addProperty(CIMProperty("r", CIMValue(Array<CIMObjectPath>{CIMObjectPath()})));
  CIMInstance many("C");
  for (int i = 0; i <= 1000; ++i) {
    const std::string name = "p" + std::to_string(i);
    many.addProperty(CIMProperty(String(name.c_str()), CIMValue(true)));
  }
  for (const CIMInstance& bad : {test::textInstance("\x01"), references, many}) {
    EXPECT_EQ(test::statusOf([&] { database.put("root/kvasd", u"a", bad); }),
              Pegasus::CIM_ERR_FAILED);
  }
  const InstanceKey halfPair(1, u'\xD83D');
  EXPECT_THAT(test::putError(database, halfPair, "x"), HasSubstr("cannot store the instance in "));
  EXPECT_EQ(test::statusOf([&] { remove(database, halfPair); }), Pegasus::CIM_ERR_FAILED);
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "kept")));
}

TEST_F(InstanceDatabaseTest, anInstanceLargerThanTheLimitIsRefusedAndTheNextOneStored) {
  InstanceDatabase database(file());
  EXPECT_THAT(test::putError(database, u"a", std::string(65U << 20, 'x')), HasSubstr("too large"));
  put(database, u"b", "small");
  EXPECT_THAT(load(database), ElementsAre(row(u"b", "small")));
}

// What cannot be served: rows that someone or something changed, or that the model refuses.

class UnservedRowTest : public InstanceDatabaseTest {
 protected:
  UnservedRowTest() {
    InstanceDatabase database(file());
    put(database, u"a", "one");
    put(database, u"b", "two");
    put(database, u"c", "three");
  }

  // Loads, and expects that just the instance "b" is left out with a warning.
  void expectLeftOut(InstanceDatabase& database, const char* cause) {
    std::vector<std::string> warnings;
    EXPECT_THAT(load(database, &warnings), ElementsAre(row(u"a", "one"), row(u"c", "three")));
    EXPECT_THAT(warnings, ElementsAre(HasSubstr(cause)));
  }

  std::string count(const char* table) {
    return test::queryText(file(), (std::string("SELECT count(*) FROM ") + table).c_str());
  }
};

TEST_F(UnservedRowTest, aRowWithChangedTextIsReportedAndKept) {
  test::runSql(file(), "UPDATE instance SET instance = replace(instance, 'two', 'twa')");
  {
    InstanceDatabase database(file());
    std::vector<std::string> warnings;
    load(database, &warnings);
    EXPECT_THAT(warnings, ElementsAre("stored instance 2 (root/kvasd, b) is kept but not served: "
                                      "damaged: its checksum is wrong"));
  }
  EXPECT_EQ(count("instance"), "3");
}

TEST_F(UnservedRowTest, aRowWithAnyOtherColumnChangedIsReported) {
  for (const char* change : {"class = 'D'", "checksum = checksum + 1", "checksum = 'x'",
                             "instance = CAST(instance AS BLOB)", "instance = 5"}) {
    const std::string sql = "UPDATE instance SET " + std::string(change) + " WHERE key = 'b'";
    test::runSql(file(), sql.c_str());
    InstanceDatabase database(file());
    expectLeftOut(database, "checksum");
  }
}

TEST_F(UnservedRowTest, aRowThatIsNoInstanceIsReported) {
  for (const std::string text : {"", "<INSTANCE", "<CLASS NAME=\"C\"/>", "plain"}) {
    const std::int64_t sum = checksum({"root/kvasd", "b", "KVAXDT_FRU", text});
    const std::string sql = "UPDATE instance SET instance = '" + text +
                            "', checksum = " + std::to_string(sum) + " WHERE key = 'b'";
    test::runSql(file(), sql.c_str());
    InstanceDatabase database(file());
    expectLeftOut(database, "stored instance 2 (root/kvasd, b) is kept but not served: ");
  }
}

TEST_F(UnservedRowTest, aRowThatTheModelRefusesIsReportedWithItsReason) {
  InstanceDatabase database(file());
  Rows served;
  const auto warnings =
      database.load([&served](const String&, const InstanceKey& key, const CIMInstance&) {
        if (key == u"b") {
          throw Pegasus::CIMException(Pegasus::CIM_ERR_INVALID_CLASS, "no such class");
        }
        served.push_back(encodeText(key));
      });
  EXPECT_THAT(served, ElementsAre("a", "c"));
  EXPECT_THAT(warnings, ElementsAre(HasSubstr("no such class")));
}

TEST_F(UnservedRowTest, controlCharactersOfADamagedKeyDoNotReachTheLog) {
  test::runSql(file(), "UPDATE instance SET key = 'x' || char(10) || char(27) WHERE key = 'b'");
  InstanceDatabase database(file());
  expectLeftOut(database, "(root/kvasd, x?\?)");
}

TEST_F(UnservedRowTest, aNewInstanceOfTheSameNameSetsItAsideAndDoesNotOverwriteIt) {
  test::runSql(file(), "UPDATE instance SET class = 'D' WHERE key = 'b'");
  {
    InstanceDatabase database(file());
    expectLeftOut(database, "checksum");
    put(database, u"b", "new");
    put(database, u"b", "newer");
    EXPECT_THAT(load(database),
                ElementsAre(row(u"a", "one"), row(u"c", "three"), row(u"b", "newer")));
  }
  EXPECT_EQ(count("set_aside"), "1");
  EXPECT_THAT(test::queryText(file(), "SELECT instance FROM set_aside WHERE key = 'b'"),
              HasSubstr("two"));
}

TEST_F(UnservedRowTest, aChangeOfAnotherInstanceSetsNothingAside) {
  test::runSql(file(), "UPDATE instance SET class = 'D' WHERE key = 'b'");
  {
    InstanceDatabase database(file());
    expectLeftOut(database, "checksum");
    put(database, u"a", "new");
  }
  EXPECT_EQ(count("set_aside"), "0");
}

// As after a reload with a class that was missing.
TEST_F(UnservedRowTest, whatIsServedAtTheNextLoadIsNotSetAside) {
  {
    InstanceDatabase database(file());
    database.load([](const String&, const InstanceKey&, const CIMInstance&) {
      throw Pegasus::CIMException(Pegasus::CIM_ERR_INVALID_CLASS, "no such class");
    });
    EXPECT_EQ(load(database).size(), 3U);
    put(database, u"b", "new");
  }
  EXPECT_EQ(count("set_aside"), "0");
}

// As after a reload that failed, when the server goes on with what it had loaded before.
TEST_F(UnservedRowTest, AFailedLoadDoesNotForgetWhatMustBeSetAside) {
  test::runSql(file(), "UPDATE instance SET class = 'D' WHERE key = 'b'");
  {
    InstanceDatabase database(file());
    expectLeftOut(database, "checksum");
    EXPECT_THROW(database.load([](const String&, const InstanceKey&, const CIMInstance&) {
      throw std::bad_alloc();
    }),
                 std::bad_alloc);
    put(database, u"b", "new");
  }
  EXPECT_EQ(count("set_aside"), "1");
}

TEST_F(UnservedRowTest, bytesInPlaceOfTextAreDamage) {
  test::runSql(file(), "UPDATE instance SET class = CAST(class AS BLOB) WHERE key = 'b'");
  InstanceDatabase database(file());
  expectLeftOut(database, "checksum");
}

TEST_F(UnservedRowTest, aDeletionOfTheSameNameSetsItAside) {
  test::runSql(file(), "UPDATE instance SET class = 'D' WHERE key = 'b'");
  {
    InstanceDatabase database(file());
    expectLeftOut(database, "checksum");
    remove(database, u"b");
    EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"c", "three")));
  }
  EXPECT_EQ(count("instance"), "2");
  EXPECT_EQ(count("set_aside"), "1");
}

TEST_F(UnservedRowTest, theIdOfARowSetAsideIsAnOrdinaryOneForTheNextInstance) {
  test::runSql(file(), "UPDATE instance SET class = 'D' WHERE key = 'c'");
  InstanceDatabase database(file());
  std::vector<std::string> warnings;
  load(database, &warnings);
  EXPECT_EQ(warnings.size(), 1U);
  put(database, u"c", "new");  // gets the id that the bad row had
  put(database, u"d", "four");
  put(database, u"c", "newer");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"b", "two"), row(u"c", "newer"),
                                          row(u"d", "four")));
}

}  // namespace
}  // namespace cimd
