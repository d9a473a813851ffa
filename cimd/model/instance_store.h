// The instances of one namespace, in memory.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/class.h"
#include "model/instance_key.h"

namespace cimd {

// An instance with the CIM-XML in which it is sent. It is written once and read often, so it is
// encoded when it is written.
struct StoredInstance {
  // Throws InvalidValueException for what CIM-XML cannot carry.
  StoredInstance(const Pegasus::CIMInstance& given, bool isPublished);

  // With every property of its class, and with its name as path.
  Pegasus::CIMInstance instance;
  // INSTANCENAME and INSTANCE.
  std::string nameXml;
  std::string instanceXml;
  // By a client, not declared by the server's configuration.
  bool isPublished;
};

// Adding, finding and removing one instance takes the same time however many there are; listing
// takes time in proportion to what is listed.
class InstanceStore {
 public:
  // There must be none with this key. The class must outlive the store.
  void add(const Class& cls, InstanceKey key, StoredInstance instance);
  // The key must be there; the instance keeps its place in lists.
  void replace(const InstanceKey& key, StoredInstance instance);
  // The key must be there.
  void remove(const InstanceKey& key);

  std::size_t size() const { return byKey_.size(); }
  // Null when there is none. Pointers live until the instance is replaced or removed.
  const StoredInstance* find(const InstanceKey& key) const;
  // Those of the given classes themselves, in the order in which they were added.
  std::vector<const StoredInstance*> list(const std::vector<const Class*>& classes) const;

 private:
  struct Entry {
    // Rises with each instance added: tells the order across classes.
    Pegasus::Uint64 sequence;
    StoredInstance stored;
  };
  using Entries = std::list<Entry>;
  struct Place {
    Entries* entries;
    Entries::iterator entry;
  };

  std::unordered_map<const Class*, Entries> byClass_;
  std::unordered_map<InstanceKey, Place> byKey_;
  Pegasus::Uint64 nextSequence_ = 0;
};

}  // namespace cimd
