#include "import/import.h"

#include <fstream>
#include <iostream>

#include "import/categories.h"
#include "import/entry.h"
#include "import/fru_file.h"
#include "import/publication.h"
#include "import/selected.h"

using Pegasus::Boolean;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::String;

namespace {

// One entry that fails costs no other: whatever it throws is swallowed, without a message.
void importEntry(CIMClient& client, Category category, const String& line,
                 Publication& publication) {
  try {
    CIMInstance instance(String("KVAXDT_FRU"));
    if (isSelected(client, category, line, publication)) {
      publishEntry(client, category, line, instance, publication);
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch)
  }
}

void importLine(CIMClient& client, const String& line, Publication& publication) {
  if (isComment(line)) {
    return;
  }
  if (const auto category = findCategory(cutCategoryToken(line))) {
    importEntry(client, *category, line, publication);
  }
}

}  // namespace

Boolean importFruFile(CIMClient& client) {
  std::ifstream file("fru.txt");
  if (!file.good()) {
    std::cout << "Could not open FRU data file." << std::endl;
    std::cout << "Please run man morvik for help " << std::endl;
    return true;
  }
  deleteEarlierInstances(client);
  Publication publication;
  String line;
  while (readLine(file, line)) {
    importLine(client, line, publication);
  }
  return true;
}
