#include "import/publication.h"

#include "cim/client.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;

namespace {

// Marks every instance of this program among those of other publishers.
constexpr const char* numberPrefix = "KVAHalvoranFru";
constexpr Uint32 numberPrefixLength = 14;

bool isOurs(CIMClient& client, const CIMObjectPath& name) {
  const CIMValue number = client.getProperty(cimNamespace, name, String("IdentifyingNumber"));
  return isOurNumber(number.toString());
}

void addText(CIMInstance& instance, const char* name, const String& text) {
  // Not with the defaults spelled out: later generations refuse an empty class name.
  instance.addProperty(CIMProperty(String(name), CIMValue(text)));
}

String countedNumber(Uint32& counter) {
  counter++;
  return String(numberPrefix) + CIMValue(counter).toString();
}

// Each counted category has its own numbers from 1, and all others share the number 1. The
// collisions stay for compatibility. The server's class decides whether two entries with equal
// numbers are accepted.
String nextIdentifyingNumber(Category category, Publication& publication) {
  switch (category) {
    case Category::processor:
      return countedNumber(publication.processorCount);
    case Category::memory:
      return countedNumber(publication.memoryCount);
    case Category::fan:
      return countedNumber(publication.fanCount);
    case Category::backplane:
      return countedNumber(publication.backplaneCount);
    case Category::keyboard:
    case Category::planar:
    case Category::cdrom:
    case Category::floppy:
    case Category::optionsp:
      break;
  }
  return "KVAHalvoranFru1";
}

}  // namespace

bool isOurNumber(const String& identifyingNumber) {
  return String::equalNoCase(cut(identifyingNumber, 0, numberPrefixLength), numberPrefix);
}

void deleteEarlierInstances(CIMClient& client) {
  const Array<CIMObjectPath> names =
      client.enumerateInstanceNames(cimNamespace, String("KVAXDT_FRU"));
  // By index: Array has no iterators in every generation of the interface.
  // NOLINTNEXTLINE(modernize-loop-convert)
  for (Uint32 i = 0; i < names.size(); i++) {
    if (isOurs(client, names[i])) {
      client.deleteInstance(cimNamespace, names[i]);
    }
  }
}

void addFruProperties(const String& line, CIMInstance& instance) {
  const EntryFields fields = cutEntryFields(line);
  addText(instance, "FRUNumber", fields.fruNumber);
  addText(instance, "Name", fields.name);
  addText(instance, "Description", fields.description);
}

void fillInstance(Category category, const String& line, CIMInstance& instance,
                  Publication& publication) {
  const String identifyingNumber = nextIdentifyingNumber(category, publication);
  addFruProperties(line, instance);
  addText(instance, "IdentifyingNumber", identifyingNumber);
  addText(instance, "Vendor", "KVA");
  addText(instance, "RevisionLevel", "1.0");
}

void notePublished(Category category, Publication& publication) {
  if (category == Category::planar) {
    publication.planarPublished = true;
  } else if (category == Category::cdrom) {
    publication.cdromPublished = true;
  }
}

void publishEntry(CIMClient& client, Category category, const String& line, CIMInstance& instance,
                  Publication& publication) {
  fillInstance(category, line, instance, publication);
  client.createInstance(cimNamespace, instance);
  notePublished(category, publication);
}
