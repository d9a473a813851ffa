// Shared by the tests of the stored instances.
#pragma once

#include <sys/wait.h>
#include <unistd.h>
#include "store/instance_database.h"
#include "store/sqlite.h"
#include "store/store_file.h"

#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>

#include "support.h"

namespace cimd::test {

namespace fs = std::filesystem;

constexpr const char* storeNameSpace = "root/kvasd";
constexpr int largeEnough = 1 << 30;

// One instance as load() hands it out: "namespace key text". To the store the text may be any.
using Rows = std::vector<std::string>;

// The row that putting these would give.
inline std::string row(const InstanceKey& key, const std::string& text,
                       const std::string& nameSpace = storeNameSpace) {
  return nameSpace + " " + String(std::u16string(key)).toUtf8() + " " + text;
}

inline Rows load(InstanceDatabase& database, std::vector<std::string>* warnings = nullptr) {
  Rows rows;
  const auto found = database.load(
      [&rows](const String& nameSpace, const InstanceKey& key, std::string_view instanceXml) {
        rows.push_back(row(key, std::string(instanceXml), nameSpace.toUtf8()));
      });
  if (warnings != nullptr) {
    *warnings = found;
  } else {
    EXPECT_EQ(found, std::vector<std::string>());
  }
  return rows;
}

// Loads a file that nobody has open.
inline Rows loadFile(const fs::path& file, std::vector<std::string>* warnings = nullptr) {
  InstanceDatabase database(file);
  return load(database, warnings);
}

inline void put(Journal& journal, const InstanceKey& key, const std::string& text,
                const char* nameSpace = storeNameSpace) {
  journal.put(nameSpace, key, "KVAXDT_FRU", text);
}

inline void remove(Journal& journal, const InstanceKey& key,
                   const char* nameSpace = storeNameSpace) {
  journal.remove(nameSpace, key);
}

inline InstanceKey numberedKey(int number) {
  const std::string digits = "key" + std::to_string(number);
  return {digits.begin(), digits.end()};
}

// The message with which the file is refused, without its directory; empty when it is not.
inline std::string openError(const fs::path& file) {
  try {
    const InstanceDatabase database(file);
  } catch (const StoreError& error) {
    return withoutDirectory(error.what(), file.parent_path());
  }
  return "";
}

// The end of the message about a damaged file.
inline std::string wayOut(const std::string& name) {
  return "; 'morvik-cimd --recover " + name + "' writes what is readable into a new store";
}

// With what SQLite keeps beside it.
inline void removeStore(const fs::path& file) {
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
    fs::remove(file.string() + suffix);
  }
}

// The message with which storing an instance fails; empty when it does not.
inline std::string putError(Journal& journal, const InstanceKey& key, const std::string& text) {
  try {
    put(journal, key, text);
  } catch (const CIMException& error) {
    EXPECT_EQ(error.getCode(), CIM_ERR_FAILED);
    return error.getDescription().toUtf8();
  }
  return "";
}

// Runs SQL on a file that no InstanceDatabase has open.
inline void runSql(const fs::path& file, const char* sql) {
  sqlite::Connection(file.string(), largeEnough).execute(sql);
}

inline std::string queryText(const fs::path& file, const char* sql) {
  return sqlite::Connection(file.string(), largeEnough).text(sql);
}

// Runs the body in another process, whose limits and mounts end with it; its failed
// expectations fail this test.
inline void inChild(const std::function<void()>& body) {
  std::cout.flush();
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    try {
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    std::cout.flush();
    _exit(Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

// The number in the environment variable, or the one given.
inline int roundsFromEnvironment(const char* variable, int usual) {
  const char* const given = getenv(variable);
  return given != nullptr ? std::stoi(given) : usual;
}

// With an empty directory for a store.
class StoreTest : public Test {
 protected:
  fs::path file() const { return directory_.path() / "instances.db"; }
  fs::path journal() const { return directory_.path() / "instances.db-journal"; }
  std::string content() const { return readFile(file()); }
  void setContent(const std::string& content) {
    removeStore(file());
    directory_.write("instances.db", content);
  }

  TemporaryDirectory directory_;
};

}  // namespace cimd::test
