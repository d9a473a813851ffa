#include <Pegasus/Common/Exception.h>
#include "store/sqlite.h"

#include <new>

#include "store_support.h"

namespace cimd::test {
namespace {

using InstanceDatabaseTest = StoreTest;

TEST_F(InstanceDatabaseTest, InstancesAreInTheOrderOfTheirCreationAndNotOfTheirChanges) {
  const Rows expected = {row(u"3", "first"), row(u"1", "second"), row(u"2", "again")};
  {
    InstanceDatabase database(file());
    for (const char16_t* key : {u"2", u"3", u"1"}) {
      put(database, key, "first");
    }
    remove(database, u"2");
    put(database, u"2", "again");
    put(database, u"1", "second");
    EXPECT_EQ(load(database), expected);
  }
  EXPECT_EQ(loadFile(file()), expected);
}

TEST_F(InstanceDatabaseTest, RemovingAnUnknownInstanceDoesNothing) {
  InstanceDatabase database(file());
  put(database, u"a", "kept");
  remove(database, u"b");
  remove(database, u"a", "root/other");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "kept")));
}

TEST_F(InstanceDatabaseTest, KeysDifferInLetterCaseAndInEveryCharacter) {
  const InstanceKey long1 = InstanceKey(60000, u'x') + u"1";
  const InstanceKey long2 = InstanceKey(60000, u'x') + u"2";
  const std::vector<InstanceKey> keys = {
      u"a", u"A", u"ä", u"\U0001F527", long1, long2, u"", InstanceKey(u"n\0o", 3), u"n"};
  InstanceDatabase database(file());
  Rows expected;
  for (const InstanceKey& key : keys) {
    const std::string text = "text " + std::to_string(expected.size());
    put(database, key, text);
    expected.push_back(row(key, text));
  }
  EXPECT_EQ(load(database), expected);
  for (const InstanceKey& key : keys) {
    remove(database, key);
  }
  EXPECT_THAT(load(database), IsEmpty());
}

TEST_F(InstanceDatabaseTest, NamespacesAreTheSameInAnyLetterCaseAndWithOuterSlashes) {
  InstanceDatabase database(file());
  put(database, u"a", "first", "root/kvasd");
  put(database, u"a", "second", "/Root/KVASD/");
  put(database, u"a", "elsewhere", "root/other");
  EXPECT_THAT(load(database),
              ElementsAre(row(u"a", "second", "Root/KVASD"), row(u"a", "elsewhere", "root/other")));
  remove(database, u"a", "ROOT/kvasd");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "elsewhere", "root/other")));
}

TEST_F(InstanceDatabaseTest, AnySqliteToolShowsTheInstances) {
  {
    InstanceDatabase database(file());
    put(database, u"a", "<INSTANCE>Grüße</INSTANCE>");
  }
  EXPECT_EQ(queryText(file(),
                      "SELECT namespace || '|' || key || '|' || class || '|' || "
                      "instance FROM instance"),
            "root/kvasd|a|KVAXDT_FRU|<INSTANCE>Grüße</INSTANCE>");
}

TEST_F(InstanceDatabaseTest, AKeyWithAnUnpairedSurrogateIsRefused) {
  InstanceDatabase database(file());
  const InstanceKey halfPair(1, u'\xD83D');
  EXPECT_THAT(putError(database, halfPair, "x"), HasSubstr("cannot store the instance in "));
  EXPECT_EQ(statusOf([&] { remove(database, halfPair); }), CIM_ERR_FAILED);
  EXPECT_THAT(load(database), IsEmpty());
}

TEST_F(InstanceDatabaseTest, AnInstanceLargerThanTheLimitIsRefusedAndTheNextOneStored) {
  InstanceDatabase database(file());
  EXPECT_THAT(putError(database, u"a", std::string(65U << 20, 'x')), HasSubstr("too large"));
  put(database, u"b", "small");
  EXPECT_THAT(load(database), ElementsAre(row(u"b", "small")));
}

// The text that the model writes is the text that it reads.
TEST_F(InstanceDatabaseTest, APublishedInstanceIsRestoredAsItWas) {
  constexpr const char* mof =
      "class A { [Key] string Id; };\n"
      "class B : A { A ref Other; string Texts[]; real64 Number = 0.1; boolean None; uint8 U[2]; "
      "};";
  const auto published = [](Repository& repository) {
    const auto instances = repository.nameSpace("root/kvasd").published();
    return instances.size() == 1 ? instances[0]->nameXml + instances[0]->instanceXml : "";
  };
  Repository before;
  loadText(before, mof);
  InstanceDatabase database(file());
  before.setJournal(&database);
  CIMInstance given = instance("B", {{"Id", "\t<K\u20AC\"> "}});
  given.addProperty({"Other", CIMValue(path("A", {{"Id", "a"}}))});
  given.addProperty({"Texts", CIMValue(Array<String>{"one", ""})});
  given.addProperty({"Number", CIMValue(CIMTYPE_REAL64, false)});
  before.nameSpace("root/kvasd").createInstance(given, Origin::published);
  Repository after;
  loadText(after, mof);
  EXPECT_THAT(database.load([&](const String& name, const InstanceKey& key, std::string_view text) {
    after.nameSpace(name).restoreInstance(text, key);
  }),
              IsEmpty());
  EXPECT_NE(published(before), "");
  EXPECT_EQ(published(after), published(before));
}

// Rows that cannot be served: someone or something changed them, or the model refuses them.
class UnservedRowTest : public StoreTest {
 protected:
  UnservedRowTest() {
    InstanceDatabase database(file());
    put(database, u"a", "one");
    put(database, u"b", "two");
    put(database, u"c", "three");
  }

  void damage(const char* key) const {
    const std::string sql =
        "UPDATE instance SET class = 'D' WHERE key = '" + std::string(key) + "'";
    runSql(file(), sql.c_str());
  }

  // Loads, and expects that only the instance "b" is left out, with this warning.
  static void expectLeftOut(InstanceDatabase& database, const std::string& key = "b",
                            const std::string& cause = "damaged: its checksum is wrong") {
    std::vector<std::string> warnings;
    EXPECT_THAT(load(database, &warnings), ElementsAre(row(u"a", "one"), row(u"c", "three")));
    EXPECT_THAT(warnings, ElementsAre("stored instance 2 (root/kvasd, " + key +
                                      ") is kept but not served: " + cause));
  }

  std::string count(const char* table) const {
    return queryText(file(), (std::string("SELECT count(*) FROM ") + table).c_str());
  }
};

TEST_F(UnservedRowTest, ADamagedRowIsReportedAndKept) {
  const std::string sound = content();
  for (const char* change :
       {"instance = replace(instance, 'two', 'twa')", "namespace = 'root/kvase'", "class = 'D'",
        "checksum = checksum + 1", "checksum = 'x'", "instance = CAST(instance AS BLOB)",
        "class = CAST(class AS BLOB)", "instance = 5"}) {
    SCOPED_TRACE(change);
    setContent(sound);
    const std::string sql = "UPDATE instance SET " + std::string(change) + " WHERE key = 'b'";
    runSql(file(), sql.c_str());
    {
      InstanceDatabase database(file());
      std::vector<std::string> warnings;
      EXPECT_THAT(load(database, &warnings), ElementsAre(row(u"a", "one"), row(u"c", "three")));
      EXPECT_THAT(warnings, ElementsAre(HasSubstr("its checksum is wrong")));
    }
    EXPECT_EQ(count("instance"), "3");
  }
}

TEST_F(UnservedRowTest, ControlCharactersOfADamagedKeyAreReplaced) {
  runSql(file(), "UPDATE instance SET key = 'x' || char(10) || char(27) WHERE key = 'b'");
  InstanceDatabase database(file());
  expectLeftOut(database, "x?\?");
}

TEST_F(UnservedRowTest, ARowThatTheModelRefusesIsReportedWithItsReason) {
  InstanceDatabase database(file());
  std::vector<std::string> served;
  const auto warnings =
      database.load([&served](const String&, const InstanceKey& key, std::string_view text) {
        if (key == u"b") {
          throw CIMException(CIM_ERR_INVALID_CLASS, "no such class");
        }
        served.emplace_back(text);
      });
  EXPECT_THAT(served, ElementsAre("one", "three"));
  EXPECT_THAT(warnings, ElementsAre(HasSubstr("no such class")));
}

TEST_F(UnservedRowTest, AChangeOfTheSameInstanceSetsTheRowAside) {
  const std::string sound = content();
  struct Case {
    const char* what;
    void (*change)(InstanceDatabase& database);
    Rows rows;
    const char* aside;
  };
  for (const Case& c : {Case{"put",
                             [](InstanceDatabase& database) {
                               put(database, u"b", "new");
                               put(database, u"b", "newer");
                             },
                             {row(u"a", "one"), row(u"c", "three"), row(u"b", "newer")},
                             "two"},
                        {"remove",
                         [](InstanceDatabase& database) { remove(database, u"b"); },
                         {row(u"a", "one"), row(u"c", "three")},
                         "two"},
                        {"a change of another instance",
                         [](InstanceDatabase& database) { put(database, u"a", "new"); },
                         {row(u"a", "new"), row(u"c", "three")},
                         ""}}) {
    SCOPED_TRACE(c.what);
    setContent(sound);
    damage("b");
    {
      InstanceDatabase database(file());
      expectLeftOut(database);
      c.change(database);
      std::vector<std::string> warnings;
      EXPECT_EQ(load(database, &warnings), c.rows);
      EXPECT_EQ(warnings.size(), *c.aside == '\0' ? 1U : 0U);
    }
    EXPECT_EQ(queryText(file(), "SELECT coalesce(group_concat(instance), '') FROM set_aside"),
              c.aside);
  }
}

// As after a reload with a class that was missing.
TEST_F(UnservedRowTest, ARowThatTheNextLoadServesIsNotSetAside) {
  {
    InstanceDatabase database(file());
    database.load([](const String&, const InstanceKey&, std::string_view) {
      throw CIMException(CIM_ERR_INVALID_CLASS, "no such class");
    });
    EXPECT_EQ(load(database).size(), 3U);
    put(database, u"b", "new");
  }
  EXPECT_EQ(count("set_aside"), "0");
}

// As after a reload that failed, when the server goes on with what it had loaded before.
TEST_F(UnservedRowTest, AFailedLoadDoesNotForgetWhatMustBeSetAside) {
  damage("b");
  {
    InstanceDatabase database(file());
    expectLeftOut(database);
    EXPECT_THROW(database.load([](const String&, const InstanceKey&, std::string_view) {
      throw std::bad_alloc();
    }),
                 std::bad_alloc);
    put(database, u"b", "new");
  }
  EXPECT_EQ(count("set_aside"), "1");
}

// The next instance gets the id that the row had.
TEST_F(UnservedRowTest, TheIdOfARowSetAsideIsForgotten) {
  damage("c");
  InstanceDatabase database(file());
  std::vector<std::string> warnings;
  load(database, &warnings);
  EXPECT_EQ(warnings.size(), 1U);
  put(database, u"c", "new");
  put(database, u"d", "four");
  put(database, u"c", "newer");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"b", "two"), row(u"c", "newer"),
                                          row(u"d", "four")));
}

}  // namespace
}  // namespace cimd::test
