// One namespace: its schema and instances, the operations on them with their CIM errors, and what
// each change passes: the limits on what clients publish, and the journal.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <string>
#include <string_view>
#include <vector>

#include "model/errors.h"
#include "model/instance_key.h"
#include "model/instance_store.h"
#include "model/schema.h"

namespace cimd {

// How much clients may publish, in all namespaces together. Instances that were stored with other
// limits are loaded and counted all the same: then instances can be changed to smaller ones and
// deleted, but not created.
struct Quota {
  std::size_t maxInstances = 10'000;
  // The size of their CIM-XML. In memory an instance takes about four times as much.
  std::size_t maxBytes = std::size_t{64} << 20U;
  std::size_t instances = 0;
  std::size_t bytes = 0;

  bool isExceeded() const { return instances > maxInstances || bytes > maxBytes; }

  // Throws CIMException (SERVER_LIMITS_EXCEEDED) when there is no place for one more instance, or
  // for this many bytes more.
  void checkInstance(std::size_t size) const {
    if (instances >= maxInstances) {
      refuse("there are " + std::to_string(instances) + " published instances");
    }
    checkBytes(size);
  }
  void checkBytes(std::size_t more) const {
    if (more > maxBytes || bytes > maxBytes - more) {
      refuse("published instances would have more than " + std::to_string(maxBytes) + " bytes");
    }
  }

 private:
  [[noreturn]] static void refuse(const std::string& detail) {
    throwCimError(Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED, Pegasus::String(detail));
  }
};

// The receiver of each change to the instances, before the change is made in memory.
//
// Both functions return only when the change is durable. When they cannot make it so, they throw
// CIMException (FAILED) and have changed nothing. A later try may succeed. One thread at a time.
class Journal {
 public:
  virtual ~Journal() = default;

  // The instance has been created under this key, or replaces the one that was there. A replacement
  // keeps the place of the first in the order of creation. `instanceXml` is its INSTANCE element
  // (DMTF DSP0201), in UTF-8.
  virtual void put(const Pegasus::String& nameSpace, const InstanceKey& key,
                   const Pegasus::String& className, std::string_view instanceXml) = 0;
  // The instance is gone. One that is not in the journal is not an error.
  virtual void remove(const Pegasus::String& nameSpace, const InstanceKey& key) = 0;
};

// When a client published an instance.
enum class Origin {
  // Now: it is written to the journal first.
  published,
  // Earlier: it is in the journal.
  restored
};

class NameSpace {
 public:
  // The quota, which must outlive the namespace, counts what clients publish. Without one there is
  // no limit.
  explicit NameSpace(Pegasus::String name, Quota* quota = nullptr)
      : name_(std::move(name)), quota_(quota) {}

  // In its first spelling, without slashes at the ends.
  const Pegasus::String& name() const { return name_; }
  Schema& schema() { return schema_; }
  const Schema& schema() const { return schema_; }
  KeyScope keyScope() const { return {name_, schema_}; }
  // Throws CIMException (INVALID_CLASS) when there is none.
  const Class& classNamed(const Pegasus::String& name) const;

  // From now on changes by clients go to the journal, which must outlive the namespace, or nowhere
  // if it is null.
  void setJournal(Journal* journal) { journal_ = journal; }

  // Stores the instance, completed by completeInstance(), and returns its name. Throws
  // CIMException: INVALID_CLASS, ALREADY_EXISTS, what completeInstance() throws, and what the
  // journal throws; for one that is published now also INVALID_PARAMETER for a text that is longer
  // than its MaxLen and SERVER_LIMITS_EXCEEDED.
  Pegasus::CIMObjectPath createInstance(const Pegasus::CIMInstance& given, Origin origin);
  // The same for an instance of the server's configuration. It cannot be changed until the
  // configuration is read again. `source` must not be null.
  void declareInstance(const Pegasus::CIMInstance& given, Source source);
  // The same for an instance as it was given to Journal::put(). Also throws CIMException (FAILED)
  // when its class gives it another key by now, and XmlException when the text is not an instance.
  void restoreInstance(std::string_view instanceXml, const InstanceKey& key);
  // Changes the instance that the path of `given` names: the properties in `given`, or those in the
  // list if it is not null. A property that is only in the list gets the default of the class.
  // Throws CIMException: INVALID_CLASS, NOT_FOUND, ACCESS_DENIED (it is declared),
  // NO_SUCH_PROPERTY, INVALID_PARAMETER (a key would change, a value is of another type or too
  // long), SERVER_LIMITS_EXCEEDED, and what the journal throws.
  void modifyInstance(const Pegasus::CIMInstance& given, const Pegasus::CIMPropertyList& list);
  // Throws CIMException: INVALID_CLASS, NOT_FOUND, ACCESS_DENIED (it is declared), and what the
  // journal throws.
  void deleteInstance(const Pegasus::CIMObjectPath& path);
  // Throws CIMException: INVALID_CLASS, NOT_FOUND. The instance is the one of now,
  // also when it is changed or deleted later; the same holds for lists.
  InstancePointer instance(const Pegasus::CIMObjectPath& path) const;
  // The instances of the class and its subclasses, in order of creation.
  std::vector<InstancePointer> instances(const Class& cls) const;
  // All instances that clients published, in order of creation.
  std::vector<InstancePointer> published() const;
  std::size_t instanceCount() const { return instances_.size(); }

 private:
  InstanceKey keyOf(const Pegasus::CIMObjectPath& path) const;
  // The instance with this key if a client may change it. Throws CIMException: NOT_FOUND,
  // ACCESS_DENIED.
  InstancePointer changeable(const InstanceKey& key, const Pegasus::CIMObjectPath& path) const;
  Pegasus::CIMObjectPath add(const Class& cls, StoredInstance stored, bool isJournaled);

  Pegasus::String name_;
  Quota* quota_;
  Schema schema_;
  InstanceStore instances_;
  Journal* journal_ = nullptr;
};

}  // namespace cimd
