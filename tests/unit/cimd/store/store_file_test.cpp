#include <sys/stat.h>
#include <unistd.h>

#include "store_support.h"

namespace cimd::test {
namespace {

// Root may do what modes forbid, so the tests of modes give the privileges up for a while.
class OrdinaryUser {
 public:
  OrdinaryUser() : isOrdinary_(geteuid() != 0 || seteuid(65534) == 0) {}
  ~OrdinaryUser() {
    if (seteuid(getuid()) != 0) {
      abort();
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  bool isOrdinary() const { return isOrdinary_; }

 private:
  bool isOrdinary_;
};

// The directory belongs to that user, too.
class StoreFileTest : protected OrdinaryUser, public StoreTest {
 protected:
  void SetUp() override {
    if (!isOrdinary()) {
      GTEST_SKIP() << "cannot become another user than root here";
    }
  }

  void fill() {
    InstanceDatabase database(file());
    put(database, u"a", "one");
  }
  void expectFilled() { EXPECT_THAT(loadFile(file()), ElementsAre(row(u"a", "one"))); }
};

TEST_F(StoreFileTest, AMissingFileIsMadeForItsOwnerOnly) {
  const mode_t before = umask(0);
  fill();
  InstanceDatabase database(file());
  put(database, u"b", "two");
  umask(before);
  for (const char* name : {"instances.db", "instances.db-journal"}) {
    struct stat status = {};
    ASSERT_EQ(stat((directory_.path() / name).c_str(), &status), 0) << name;
    EXPECT_EQ(status.st_mode & 07777U, 0600U) << name;
  }
}

TEST_F(StoreFileTest, AnEmptyFileAndAnEmptyDatabaseCountAsNew) {
  directory_.write("instances.db", "");
  fill();
  expectFilled();
  removeStore(file());
  directory_.write("instances.db", "");
  runSql(file(), "CREATE TABLE t (x); DROP TABLE t; VACUUM");
  ASSERT_GT(fs::file_size(file()), 0U);
  EXPECT_THAT(loadFile(file()), IsEmpty());
}

TEST_F(StoreFileTest, AJournalOfAtLeast256KiBIsKept) {
  fill();
  EXPECT_EQ(fs::file_size(journal()), 256U << 10);
  {
    InstanceDatabase database(file());
    put(database, u"b", std::string(1 << 20, 'x'));
    put(database, u"b", std::string(1 << 20, 'y'));
    EXPECT_EQ(fs::file_size(journal()), 256U << 10);
  }
  fs::remove(journal());
  EXPECT_EQ(loadFile(file()).size(), 2U);
  EXPECT_EQ(fs::file_size(journal()), 256U << 10);
}

TEST_F(StoreFileTest, AFileThatIsOpenElsewhereIsRefused) {
  const auto expectRefused = [this] {
    EXPECT_EQ(openError(file()), "instances.db: in use by another process");
  };
  for (const char* state : {"new", "filled"}) {
    SCOPED_TRACE(state);
    InstanceDatabase first(file());
    inChild(expectRefused);
    expectRefused();
    put(first, u"a", "one");
  }
  {
    sqlite::Connection other(file().string(), 1 << 20);
    const sqlite::Transaction transaction(other);
    expectRefused();
  }
  expectFilled();
}

TEST_F(StoreFileTest, AFileThatIsNotADatabaseIsRefusedAndUnchanged) {
  for (const std::string& text :
       {std::string("x"), std::string(5000, 'x'), std::string(8192, '\0'),
        std::string("SQLite format 3"), std::string("class C { [Key] string s; };\n")}) {
    setContent(text);
    EXPECT_EQ(openError(file()), "instances.db: not an SQLite database" + wayOut("instances.db"));
    EXPECT_TRUE(content() == text) << text.size();
  }
}

TEST_F(StoreFileTest, ADatabaseThatIsNotAStoreOfThisFormatIsRefusedAndUnchanged) {
  const std::string otherProgram = "a database of another program";
  const std::string tables =
      "damaged: the tables are not those of format 1" + wayOut("instances.db");
  struct Case {
    bool isFilled;
    const char* sql;
    std::string error;
  };
  for (const Case& c : {
           Case{false, "CREATE TABLE instance (id INTEGER PRIMARY KEY)", otherProgram},
           {false, "PRAGMA application_id = 7", otherProgram},
           {false, "PRAGMA user_version = 1", otherProgram},
           {false, "PRAGMA journal_mode = WAL; CREATE TABLE t (x)", otherProgram},
           {true, "PRAGMA user_version = 2",
            "written by a newer version of this program (format 2, this one reads up to 1)"},
           {true, "PRAGMA user_version = 0",
            "damaged: format 0 does not exist" + wayOut("instances.db")},
           {true, "PRAGMA user_version = -5",
            "damaged: format -5 does not exist" + wayOut("instances.db")},
           {true, "DROP TABLE instance", tables},
           {true, "ALTER TABLE instance ADD COLUMN more", tables},
           {true, "CREATE TABLE more (x)", tables},
           {true, "ALTER TABLE set_aside RENAME TO aside", tables},
           {true, "CREATE TRIGGER t AFTER INSERT ON instance BEGIN DELETE FROM instance; END",
            tables},
           {true, "CREATE INDEX i ON instance (class)", tables},
           // Without its constraints.
           {true,
            "DROP TABLE instance; CREATE TABLE instance (id INTEGER PRIMARY KEY, namespace, key, "
            "class, instance, checksum, UNIQUE (namespace, key))",
            tables},
       }) {
    setContent("");
    if (c.isFilled) {
      fill();
    }
    runSql(file(), c.sql);
    const std::string before = content();
    EXPECT_EQ(openError(file()), "instances.db: " + c.error) << c.sql;
    EXPECT_TRUE(content() == before) << c.sql;
  }
}

TEST_F(StoreFileTest, AnIndexThatLacksARowIsRefused) {
  fill();
  std::string changed = content();
  // Namespace and key are in the row and, after it, in the index.
  const std::size_t entry = changed.rfind("root/kvasda");
  ASSERT_NE(entry, changed.find("root/kvasda"));
  changed[entry + 10] = 'b';
  setContent(changed);
  EXPECT_THAT(openError(file()),
              AllOf(HasSubstr("instances.db: damaged: "), HasSubstr("missing from index")));
}

TEST_F(StoreFileTest, AJournalOrLogWithoutItsFileIsRefusedAndKept) {
  fill();
  const std::string sound = content();
  for (const char* suffix : {"-journal", "-wal"}) {
    const fs::path log = file().string() + suffix;
    for (const bool isEmpty : {false, true}) {
      fs::remove(file());
      if (isEmpty) {
        directory_.write("instances.db", "");
      }
      directory_.write(log.filename().string(), std::string(1000, '\0'));
      EXPECT_EQ(openError(file()), "instances.db: missing or empty, but instances.db" +
                                       std::string(suffix) +
                                       " is there; restore the file, or remove that one to start "
                                       "anew");
      EXPECT_EQ(fs::file_size(log), 1000U);
    }
    directory_.write("instances.db", sound);
    expectFilled();
  }
}

// As versions before left it after a crash: without auto_vacuum, and with a write-ahead log.
TEST_F(StoreFileTest, AFileWithAWriteAheadLogIsTakenOver) {
  {
    InstanceDatabase database(file());
    put(database, u"a", "one");
    put(database, u"b", "two");
  }
  runSql(file(), "PRAGMA journal_mode = DELETE; PRAGMA auto_vacuum = NONE; VACUUM");
  inChild([this] {
    sqlite::Connection database(file().string(), 1 << 20);
    database.execute("PRAGMA journal_mode = WAL");
    database.execute("DELETE FROM instance WHERE key = 'b'");
    _exit(Test::HasFailure() ? 1 : 0);  // without closing
  });
  const fs::path log = file().string() + "-wal";
  ASSERT_GT(fs::file_size(log), 0U);
  expectFilled();
  EXPECT_FALSE(fs::exists(log));
  EXPECT_EQ(queryText(file(), "PRAGMA journal_mode"), "delete");
  EXPECT_EQ(queryText(file(), "PRAGMA auto_vacuum"), "2");
}

TEST_F(StoreFileTest, AFileWithoutPermissionIsRefused) {
  fill();
  ASSERT_EQ(chmod(file().c_str(), 0400), 0);
  EXPECT_EQ(openError(file()), "instances.db: read-only");
  ASSERT_EQ(chmod(file().c_str(), 0), 0);
  EXPECT_THAT(openError(file()), HasSubstr("instances.db: unable to open database file: "
                                           "Permission denied"));
}

TEST_F(StoreFileTest, AReadOnlyDirectoryIsRefusedWithAndWithoutTheFile) {
  const fs::path directory = directory_.path() / "directory";
  fs::create_directory(directory);
  static_cast<void>(InstanceDatabase(directory / "there.db"));
  ASSERT_EQ(chmod(directory.c_str(), 0500), 0);
  EXPECT_EQ(openError(directory / "missing.db"), "missing.db: cannot create: Permission denied");
  EXPECT_EQ(openError(directory / "there.db"), "");
  fs::permissions(directory, fs::perms::owner_all);
  fs::remove(directory / "there.db-journal");
  fs::permissions(directory, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(openError(directory / "there.db"), "there.db-journal: cannot open: Permission denied");
  ASSERT_EQ(chmod(directory.c_str(), 0700), 0);
  EXPECT_EQ(openError(directory / "there.db"), "");
}

TEST_F(StoreFileTest, APlaceThatHoldsNoRegularFileIsRefused) {
  const fs::path& directory = directory_.path();
  EXPECT_EQ(openError(directory / "no" / "file.db"),
            "file.db: cannot create: No such file or directory");
  ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(openError(directory / "pipe"), "pipe: not a regular file");
  fs::create_directory(directory / "sub");
  EXPECT_EQ(openError(directory / "sub"), "sub: not a regular file");
  fs::create_symlink(directory / "nothing", directory / "link");
  EXPECT_EQ(openError(directory / "link"), "link: cannot open: No such file or directory");
  EXPECT_FALSE(fs::exists(directory / "nothing"));
}

TEST_F(StoreFileTest, ASymbolicLinkIsFollowed) {
  fill();
  fs::create_directory(directory_.path() / "sub");
  const fs::path link = directory_.path() / "sub" / "link.db";
  fs::create_symlink(file(), link);
  {
    InstanceDatabase database(link);
    EXPECT_TRUE(fs::exists(journal()));
    EXPECT_FALSE(fs::exists(link.string() + "-journal"));
  }
  EXPECT_THAT(loadFile(link), ElementsAre(row(u"a", "one")));
}

TEST_F(StoreFileTest, AFileWithAHardLinkIsRefused) {
  fill();
  fs::create_hard_link(file(), directory_.path() / "other.db");
  EXPECT_EQ(openError(file()), "instances.db: has a second name (a hard link)");
  fs::remove(directory_.path() / "other.db");
  expectFilled();
}

// A prepared file could make SQLite do this, should the check of its tables let it through.
TEST_F(StoreFileTest, NothingInAFileIsTrusted) {
  StoreFile store = StoreFile::open(file());
  sqlite::Connection& database = store.database();
  EXPECT_EQ(database.integer("PRAGMA cell_size_check"), 1);
  // With a function that the library does not call harmless.
  database.execute("CREATE VIEW unsafe AS SELECT rtreedepth(zeroblob(4))");
  EXPECT_THROW(database.integer("SELECT * FROM unsafe"), sqlite::Error);
  database.execute("DROP VIEW unsafe; PRAGMA writable_schema = ON");
  EXPECT_THROW(database.execute("UPDATE sqlite_schema SET sql = ''"), sqlite::Error);
}

// In another process, for one that is not root may be unable to go back to where it was.
TEST_F(StoreFileTest, ANameIsNeverReadAsAUri) {
  inChild([this] {
    fs::current_path(directory_.path());
    for (const char* name : {"file:x?mode=memory", ":memory:"}) {
      {
        InstanceDatabase database{fs::path(name)};
        put(database, u"a", "one");
      }
      EXPECT_THAT(loadFile(fs::path(name)), ElementsAre(row(u"a", "one"))) << name;
      EXPECT_TRUE(fs::exists(directory_.path() / name));
    }
  });
}

}  // namespace
}  // namespace cimd::test
