// The published FRUs, as the CIM server has them.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <optional>
#include <string>
#include <vector>

#include "text.h"

namespace show {

// A text is absent if the server has no value.
struct Entry {
  Text category = {};
  Text fruNumber = {};
  Text description = {};
  Text identifyingNumber = {};
  Text vendor = {};
  Text revisionLevel = {};
  // Whether morvik takes it for one of its own.
  bool isOurs = false;
  // Why the entry cannot be read. It then has no other texts than those in its instance name.
  Text problem = {};
};

// The entry in an instance.
Entry toEntry(const Pegasus::CIMInstance& instance);

// The value of the key, whose name is compared in any letter case; absent if there is none.
Text keyIn(const Pegasus::CIMObjectPath& name, const char* key);

// All entries, those of other publishers included: by category in the order of morvik's own table,
// then those of other categories, and last those that cannot be read; within a category by number.
// One entry that cannot be read does not hide the others: if the answer with all of them cannot be
// read, each is asked for by its name. Throws Exception if the names cannot be read either, and
// what the client throws if the server refuses, and if there is no connection or no answer in time.
std::vector<Entry> readEntries(Pegasus::CIMClient& client);

// Whether morvik has a category of this name, in any letter case.
bool isCategory(const Pegasus::String& name);
// All of them, for people.
std::string categoryNames();

}  // namespace show
