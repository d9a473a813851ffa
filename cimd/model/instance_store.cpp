#include "model/instance_store.h"

#include "xml/encoder.h"

#include <algorithm>
#include <utility>

#include "model/instance_values.h"

namespace cimd {

// A string that grew step by step has up to half of its room to spare. These stay for long and
// there may be many, so they give it back.
StoredInstance::StoredInstance(const Class& cls, const Pegasus::CIMInstance& given, Source source)
    : instance(given), declaredBy(std::move(source)) {
  Pegasus::xml::appendInstanceName(nameXml, instance.getPath());
  nameXml.shrink_to_fit();
  instanceXml += "<INSTANCE";
  Pegasus::xml::appendAttribute(instanceXml, "CLASSNAME", instance.getClassName());
  instanceXml += '>';
  for (std::size_t i = 0; i < cls.propertyCount(); ++i) {
    const auto& property = instance.getProperty(static_cast<Pegasus::Uint32>(i));
    Pegasus::xml::appendQualifiedProperty(instanceXml, property, {},
                                          embeddedObject(cls.property(i), property.getValue()));
  }
  instanceXml += "</INSTANCE>";
  instanceXml.shrink_to_fit();
}

InstanceStore::Addition InstanceStore::prepare(const Class& cls, InstanceKey key,
                                               StoredInstance instance) {
  Addition addition;
  addition.entry_.push_back(
      Entry{nextSequence_, std::make_shared<const StoredInstance>(std::move(instance))});
  addition.index_.emplace(std::move(key), Place{&byClass_[&cls], addition.entry_.begin()});
  return addition;
}

// Nodes of lists and maps move from one to the other without a copy, and iterators stay valid.
void InstanceStore::add(Addition addition) noexcept {
  const Place& place = addition.index_.begin()->second;
  place.entry->sequence = nextSequence_++;
  place.entries->splice(place.entries->end(), addition.entry_);
  byKey_.merge(addition.index_);
}

void InstanceStore::replace(const InstanceKey& key, InstancePointer instance) noexcept {
  byKey_.find(key)->second.entry->stored = std::move(instance);
}

void InstanceStore::remove(const InstanceKey& key) {
  const auto place = byKey_.find(key);
  place->second.entries->erase(place->second.entry);
  byKey_.erase(place);
}

InstancePointer InstanceStore::find(const InstanceKey& key) const {
  const auto place = byKey_.find(key);
  return place == byKey_.end() ? nullptr : place->second.entry->stored;
}

std::vector<InstancePointer> InstanceStore::list(const std::vector<const Class*>& classes) const {
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
  std::vector<InstancePointer> instances(entries.size());
  std::transform(entries.begin(), entries.end(), instances.begin(),
                 [](const Entry* entry) { return entry->stored; });
  return instances;
}

}  // namespace cimd
