#include "entries.h"

#include <algorithm>
#include <limits>
#include <tuple>

#include "cim/namespace.h"
#include "import/categories.h"
#include "import/publication.h"

using Pegasus::Boolean;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::PEG_NOT_FOUND;
using Pegasus::String;
using Pegasus::Uint32;

namespace show {

namespace {

std::optional<String> textOf(const CIMInstance& instance, const char* property) {
  const Uint32 position = instance.findProperty(property);
  if (position == PEG_NOT_FOUND) {
    return std::nullopt;
  }
  const CIMValue& value = instance.getProperty(position).getValue();
  return value.isNull() ? std::nullopt : std::optional<String>(value.toString());
}

Entry toEntry(const CIMInstance& instance) {
  Entry entry;
  entry.category = textOf(instance, "Name");
  entry.fruNumber = textOf(instance, "FRUNumber");
  entry.description = textOf(instance, "Description");
  entry.identifyingNumber = textOf(instance, "IdentifyingNumber");
  entry.vendor = textOf(instance, "Vendor");
  entry.revisionLevel = textOf(instance, "RevisionLevel");
  entry.isOurs = isOurNumber(entry.identifyingNumber.value_or(String()));
  return entry;
}

// Shorter numbers first, so that 10 stands behind 9.
auto orderOf(const Entry& entry) {
  const String category = entry.category.value_or(String());
  const String number = entry.identifyingNumber.value_or(String());
  const auto known = findCategory(category);
  const int rank = known ? static_cast<int>(*known) : std::numeric_limits<int>::max();
  return std::make_tuple(rank, category, !entry.isOurs, number.size(), number,
                         entry.fruNumber.value_or(String()));
}

}  // namespace

std::vector<Entry> readEntries(CIMClient& client) {
  // A class of a site may inherit these properties, and with `localOnly` a server may leave out
  // what is inherited.
  const Boolean deepInheritance = true;
  const Boolean localOnly = false;
  std::vector<Entry> entries;
  for (const CIMInstance& instance :
       client.enumerateInstances(cimNamespace, "KVAXDT_FRU", deepInheritance, localOnly)) {
    entries.push_back(toEntry(instance));
  }
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& a, const Entry& b) { return orderOf(a) < orderOf(b); });
  return entries;
}

bool isAmong(const std::optional<String>& category, const std::vector<std::string>& names) {
  return names.empty() || std::any_of(names.begin(), names.end(), [&](const std::string& name) {
           return category && String::equalNoCase(*category, String(name));
         });
}

}  // namespace show
