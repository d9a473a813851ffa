// What the tests of the stored instances share.
#pragma once

#include "model/instance_key.h"
#include "store/instance_database.h"
#include "store/store_file.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support.h"

namespace cimd::test {

constexpr const char* storeNameSpace = "root/kvasd";

// One instance as load() hands it out: "namespace key text". To the store the text may be any.
using Rows = std::vector<std::string>;

Rows load(InstanceDatabase& database, std::vector<std::string>* warnings = nullptr);
// Of a file that nobody has open.
Rows loadFile(const std::filesystem::path& file, std::vector<std::string>* warnings = nullptr);
// The row that putting these would give.
std::string row(const InstanceKey& key, const std::string& text,
                const std::string& nameSpace = storeNameSpace);

void put(Journal& journal, const InstanceKey& key, const std::string& text,
         const char* nameSpace = storeNameSpace);
void remove(Journal& journal, const InstanceKey& key, const char* nameSpace = storeNameSpace);
InstanceKey numberedKey(int number);

// What the file is refused with, without its directory; empty when it is not.
std::string openError(const std::filesystem::path& file);
// What the message of a damaged file ends with.
std::string wayOut(const std::string& name);
// With what SQLite keeps beside it.
void removeStore(const std::filesystem::path& file);
// What storing an instance fails with; empty when it does not.
std::string putError(Journal& journal, const InstanceKey& key, const std::string& text);

// Runs SQL on a file that no InstanceDatabase has open.
void runSql(const std::filesystem::path& file, const char* sql);
std::string queryText(const std::filesystem::path& file, const char* sql);

// Runs the body in a process of its own, whose limits and mounts end with it; its failed
// expectations fail this test.
void inChild(const std::function<void()>& body);

// The number in the environment variable, or the one given.
int roundsFromEnvironment(const char* variable, int usual);

}  // namespace cimd::test
