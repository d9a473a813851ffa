#include "entries.h"

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include "cim/client.h"
#include "import/fru_file.h"
#include "import/publication.h"

using Pegasus::Boolean;
using Pegasus::CannotConnectException;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMValue;
using Pegasus::ConnectionTimeoutException;
using Pegasus::Exception;
using Pegasus::String;
using Pegasus::Uint32;

namespace show {

namespace {

constexpr const char* className = "KVAXDT_FRU";
// A class of a site may inherit the properties, and with `localOnly` a server may leave out what is
// inherited.
constexpr Boolean deepInheritance = true;
constexpr Boolean localOnly = false;

Text textOf(const CIMInstance& instance, const char* property) {
  const Uint32 position = instance.findProperty(property);
  if (position == PEG_NOT_FOUND) {
    return std::nullopt;
  }
  const CIMValue& value = instance.getProperty(position).getValue();
  return value.isNull() ? std::nullopt : Text(value.toString());
}

Entry unreadableEntry(const CIMObjectPath& name, const Exception& error) {
  Entry entry;
  entry.fruNumber = keyIn(name, "FRUNumber");
  entry.identifyingNumber = keyIn(name, "IdentifyingNumber");
  entry.vendor = keyIn(name, "Vendor");
  entry.isOurs = isOurNumber(entry.identifyingNumber.value_or(String()));
  entry.problem = withNameOnce(error.what());
  return entry;
}

std::vector<Entry> readAtOnce(CIMClient& client) {
  std::vector<Entry> entries;
  const auto instances =
      client.enumerateInstances(cimNamespace, className, deepInheritance, localOnly);
  for (const CIMInstance& instance : instances) {
    entries.push_back(toEntry(instance));
  }
  return entries;
}

// Whether the server has answered, but with something that cannot be read.
bool isUnreadable(const Exception& error) {
  return dynamic_cast<const CIMException*>(&error) == nullptr &&
         dynamic_cast<const CannotConnectException*>(&error) == nullptr &&
         dynamic_cast<const ConnectionTimeoutException*>(&error) == nullptr;
}

// Absent if the entry has been deleted meanwhile.
std::optional<Entry> readOne(CIMClient& client, const CIMObjectPath& name) {
  try {
    return toEntry(client.getInstance(cimNamespace, name, localOnly));
  } catch (const CIMException& refusal) {
    return refusal.getCode() == Pegasus::CIM_ERR_NOT_FOUND
               ? std::nullopt
               : std::optional(unreadableEntry(name, refusal));
  } catch (const Exception& error) {
    if (!isUnreadable(error)) {
      throw;
    }
    return unreadableEntry(name, error);
  }
}

std::vector<Entry> readOneByOne(CIMClient& client) {
  std::vector<Entry> entries;
  const auto names = client.enumerateInstanceNames(cimNamespace, className);
  for (const CIMObjectPath& name : names) {
    if (auto entry = readOne(client, name)) {
      entries.push_back(std::move(*entry));
    }
  }
  return entries;
}

std::vector<Entry> readAny(CIMClient& client) {
  try {
    return readAtOnce(client);
  } catch (const Exception& error) {
    if (!isUnreadable(error)) {
      throw;
    }
  }
  try {
    return readOneByOne(client);
  } catch (const Exception& error) {
    if (!isUnreadable(error)) {
      throw;
    }
    throw Exception(String("cannot read the entries: ") + error.getMessage());
  }
}

// Shorter numbers first, so that 10 comes after 9.
auto orderOf(const Entry& entry) {
  const String category = entry.category.value_or(String());
  const String number = entry.identifyingNumber.value_or(String());
  const auto known = findCategory(category);
  const int rank = known ? static_cast<int>(*known) : std::numeric_limits<int>::max();
  return std::make_tuple(entry.problem.has_value(), rank, category, !entry.isOurs, number.size(),
                         number, entry.fruNumber.value_or(String()));
}

}  // namespace

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

Text keyIn(const CIMObjectPath& name, const char* key) {
  for (const auto& binding : name.getKeyBindings()) {
    if (String::equalNoCase(binding.getName(), key)) {
      return binding.getValue();
    }
  }
  return std::nullopt;
}

std::vector<Entry> readEntries(CIMClient& client) {
  std::vector<Entry> entries = readAny(client);
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& a, const Entry& b) { return orderOf(a) < orderOf(b); });
  return entries;
}

bool isCategory(const String& name) {
  return std::any_of(categoryTable.begin(), categoryTable.end(), [&](const CategoryRow& row) {
    return String::equalNoCase(name, row.keyword);
  });
}

std::string categoryNames() {
  std::string names;
  for (const CategoryRow& row : categoryTable) {
    names += (names.empty() ? "" : ", ") + std::string(row.keyword);
  }
  return names;
}

}  // namespace show
