#include "cimd/model/InstanceStore.h"

#include <algorithm>
#include <utility>

namespace cimd {

using Pegasus::CIMInstance;

bool InstanceStore::add(const CimClass& cls, InstanceKey key, CIMInstance instance) {
  const auto [place, isNew] = byKey_.try_emplace(std::move(key));
  if (!isNew) {
    return false;
  }
  Entries& entries = byClass_[&cls];
  entries.push_back(Entry{nextSequence_++, std::move(instance)});
  place->second = Place{&entries, std::prev(entries.end())};
  return true;
}

bool InstanceStore::remove(const InstanceKey& key) {
  const auto place = byKey_.find(key);
  if (place == byKey_.end()) {
    return false;
  }
  place->second.entries->erase(place->second.entry);
  byKey_.erase(place);
  return true;
}

const CIMInstance* InstanceStore::find(const InstanceKey& key) const {
  const auto place = byKey_.find(key);
  return place == byKey_.end() ? nullptr : &place->second.entry->instance;
}

std::vector<const CIMInstance*> InstanceStore::list(
    const std::vector<const CimClass*>& classes) const {
  std::vector<const Entry*> entries;
  for (const CimClass* cls : classes) {
    const auto found = byClass_.find(cls);
    if (found == byClass_.end()) {
      continue;
    }
    for (const Entry& entry : found->second) {
      entries.push_back(&entry);
    }
  }
  if (classes.size() > 1) {
    std::sort(entries.begin(), entries.end(),
              [](const Entry* a, const Entry* b) { return a->sequence < b->sequence; });
  }
  std::vector<const CIMInstance*> instances(entries.size());
  std::transform(entries.begin(), entries.end(), instances.begin(),
                 [](const Entry* entry) { return &entry->instance; });
  return instances;
}

}  // namespace cimd
