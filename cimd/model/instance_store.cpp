#include "model/instance_store.h"

#include "xml/object_encoder.h"

#include <algorithm>
#include <utility>

namespace cimd {

// What has grown step by step has spare room, half of it or more. It stays for long and there may
// be many, so copies are kept, which have none.
StoredInstance::StoredInstance(const Pegasus::CIMInstance& given, bool published)
    : instance(given), isPublished(published) {
  Pegasus::xml::appendInstanceName(nameXml, instance.getPath());
  nameXml.shrink_to_fit();
  Pegasus::xml::appendInstance(instanceXml, instance);
  instanceXml.shrink_to_fit();
}

void InstanceStore::add(const Class& cls, InstanceKey key, StoredInstance instance) {
  Entries& entries = byClass_[&cls];
  entries.push_back(Entry{nextSequence_++, std::move(instance)});
  byKey_.emplace(std::move(key), Place{&entries, std::prev(entries.end())});
}

void InstanceStore::replace(const InstanceKey& key, StoredInstance instance) {
  byKey_.at(key).entry->stored = std::move(instance);
}

void InstanceStore::remove(const InstanceKey& key) {
  const auto place = byKey_.find(key);
  place->second.entries->erase(place->second.entry);
  byKey_.erase(place);
}

const StoredInstance* InstanceStore::find(const InstanceKey& key) const {
  const auto place = byKey_.find(key);
  return place == byKey_.end() ? nullptr : &place->second.entry->stored;
}

std::vector<const StoredInstance*> InstanceStore::list(
    const std::vector<const Class*>& classes) const {
  std::vector<const Entry*> entries;
  for (const Class* cls : classes) {
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
  std::vector<const StoredInstance*> instances(entries.size());
  std::transform(entries.begin(), entries.end(), instances.begin(),
                 [](const Entry* entry) { return &entry->stored; });
  return instances;
}

}  // namespace cimd
