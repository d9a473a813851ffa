#include "import/import.h"

#include <fstream>
#include <iostream>

#include "cim/selection.h"
#include "import/fru_file.h"

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

bool importFruFile(CIMClient& client) {
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

// For compatibility the rules are uneven: three categories are matched against the machine, of two
// the first entry that succeeds wins, and of the rest every line is published.
bool isSelected(CIMClient& client, Category category, const String& line,
                const Publication& publication) {
  switch (category) {
    case Category::processor:
      return getProcessorSpeedQualifier(client, line);
    case Category::memory:
      return getMemorySizeQualifier(client, line);
    case Category::keyboard:
      return getLanguageQualifier(line);
    case Category::planar:
    case Category::cdrom:
    case Category::floppy:
    case Category::optionsp:
    case Category::fan:
    case Category::backplane:
      break;
  }
  return isStillWanted(category, publication);
}

bool isStillWanted(Category category, const Publication& publication) {
  return !(category == Category::planar && publication.planarPublished) &&
         !(category == Category::cdrom && publication.cdromPublished);
}
