// The instances of one namespace, in memory.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/instance_key.h"
#include "model/schema.h"

namespace cimd {

// The file that declares an instance, or another name for people of what does. Null for an instance
// that a client published.
using Source = std::shared_ptr<const std::string>;

// An instance with the CIM-XML that is sent for it. Instances are written once and read often, so
// they are encoded when they are written.
struct StoredInstance {
  // `given` has every property of its class `cls`, in the class's order, and its name as path.
  // Throws InvalidValueException for what CIM-XML cannot carry.
  StoredInstance(const Class& cls, const Pegasus::CIMInstance& given, Source declaredBy);

  Pegasus::CIMInstance instance;
  // INSTANCENAME and INSTANCE.
  std::string nameXml;
  std::string instanceXml;
  Source declaredBy;

  // By a client.
  bool isPublished() const { return declaredBy == nullptr; }
  // In bytes, for limits: of the texts.
  std::size_t size() const { return nameXml.size() + instanceXml.size(); }
};

// Whoever reads an instance keeps it as it was, also when it is replaced or removed meanwhile.
using InstancePointer = std::shared_ptr<const StoredInstance>;

// Clients choose the keys, so the index is an ordered one, which has no bad keys. Listing takes
// time in proportion to what is listed.
class InstanceStore {
 private:
  struct Entry {
    // Increases with each instance added: gives the order across classes.
    Pegasus::Uint64 sequence;
    InstancePointer stored;
  };
  using Entries = std::list<Entry>;
  struct Place {
    Entries* entries;
    Entries::iterator entry;
  };
  using Index = std::map<InstanceKey, Place>;

 public:
  // An instance with all the memory that adding it takes.
  class Addition {
   public:
    const InstanceKey& key() const { return index_.begin()->first; }
    const StoredInstance& stored() const { return *entry_.front().stored; }

   private:
    friend class InstanceStore;
    Entries entry_;
    Index index_;
  };

  // The class must outlive the store.
  Addition prepare(const Class& cls, InstanceKey key, StoredInstance instance);
  // Takes an addition that was made for this store, which must have no instance with this key.
  void add(Addition addition) noexcept;
  // There must be an instance with this key; its successor keeps its place in lists.
  void replace(const InstanceKey& key, InstancePointer instance) noexcept;
  // There must be an instance with this key.
  void remove(const InstanceKey& key);

  std::size_t size() const { return byKey_.size(); }
  // Null when there is none.
  InstancePointer find(const InstanceKey& key) const;
  // The instances of exactly these classes, in the order in which they were added.
  std::vector<InstancePointer> list(const std::vector<const Class*>& classes) const;

 private:
  std::map<const Class*, Entries> byClass_;
  Index byKey_;
  Pegasus::Uint64 nextSequence_ = 0;
};

}  // namespace cimd
