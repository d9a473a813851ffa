#include "store_support.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#include "store/sqlite.h"

#include <iostream>
#include <string>

namespace cimd::test {

namespace fs = std::filesystem;

namespace {

constexpr int largeEnough = 1 << 30;

}  // namespace

Rows load(InstanceDatabase& database, std::vector<std::string>* warnings) {
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

Rows loadFile(const fs::path& file, std::vector<std::string>* warnings) {
  InstanceDatabase database(file);
  return load(database, warnings);
}

std::string row(const InstanceKey& key, const std::string& text, const std::string& nameSpace) {
  return nameSpace + " " + String(std::u16string(key)).toUtf8() + " " + text;
}

void put(Journal& journal, const InstanceKey& key, const std::string& text, const char* nameSpace) {
  journal.put(nameSpace, key, "KVAXDT_FRU", text);
}

void remove(Journal& journal, const InstanceKey& key, const char* nameSpace) {
  journal.remove(nameSpace, key);
}

InstanceKey numberedKey(int number) {
  const std::string digits = "key" + std::to_string(number);
  return {digits.begin(), digits.end()};
}

std::string openError(const fs::path& file) {
  try {
    const InstanceDatabase database(file);
  } catch (const StoreError& error) {
    std::string message = error.what();
    const std::string prefix = file.parent_path().string() + "/";
    for (auto place = message.find(prefix); place != std::string::npos;
         place = message.find(prefix)) {
      message.erase(place, prefix.size());
    }
    return message;
  }
  return "";
}

std::string wayOut(const std::string& name) {
  return "; 'morvik-cimd --recover " + name + "' writes what is readable into a new store";
}

void removeStore(const fs::path& file) {
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
    fs::remove(file.string() + suffix);
  }
}

std::string putError(Journal& journal, const InstanceKey& key, const std::string& text) {
  try {
    put(journal, key, text);
  } catch (const CIMException& error) {
    EXPECT_EQ(error.getCode(), CIM_ERR_FAILED);
    return error.getDescription().toUtf8();
  }
  return "";
}

void runSql(const fs::path& file, const char* sql) {
  sqlite::Connection(file.string(), largeEnough).execute(sql);
}

std::string queryText(const fs::path& file, const char* sql) {
  return sqlite::Connection(file.string(), largeEnough).text(sql);
}

void inChild(const std::function<void()>& body) {
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

int roundsFromEnvironment(const char* variable, int usual) {
  const char* const given = getenv(variable);
  return given != nullptr ? std::stoi(given) : usual;
}

}  // namespace cimd::test
