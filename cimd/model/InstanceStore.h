// The instances of one namespace, in memory.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <list>
#include <unordered_map>
#include <vector>

#include "cimd/model/CimClass.h"
#include "cimd/model/InstanceKey.h"

namespace cimd {

// Adding, finding and removing one instance takes the same time however many there are; listing
// takes time in proportion to what is listed.
class InstanceStore {
 public:
  // False, and nothing changed, when an instance with this key is there already. The class must
  // outlive the store.
  bool add(const CimClass& cls, InstanceKey key, Pegasus::CIMInstance instance);
  // False when there is none.
  bool remove(const InstanceKey& key);

  // Null when there is none. Pointers live until the instance is removed.
  const Pegasus::CIMInstance* find(const InstanceKey& key) const;
  // Those of the given classes themselves, in the order in which they were added.
  std::vector<const Pegasus::CIMInstance*> list(const std::vector<const CimClass*>& classes) const;

 private:
  struct Entry {
    // Rises with each instance added: tells the order across classes.
    Pegasus::Uint64 sequence;
    Pegasus::CIMInstance instance;
  };
  using Entries = std::list<Entry>;
  struct Place {
    Entries* entries;
    Entries::iterator entry;
  };

  std::unordered_map<const CimClass*, Entries> byClass_;
  std::unordered_map<InstanceKey, Place> byKey_;
  Pegasus::Uint64 nextSequence_ = 0;
};

}  // namespace cimd
