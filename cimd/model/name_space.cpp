#include "model/name_space.h"

#include "model/errors.h"
#include "model/instance_values.h"
#include "xml/decoder.h"
#include "xml/document.h"

namespace cimd {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMPropertyList;
using Pegasus::String;

namespace {

[[noreturn]] void throwNotFound(CIMObjectPath path) {
  path.setHost(String::EMPTY);
  path.setNameSpace(String::EMPTY);
  throwCimError(Pegasus::CIM_ERR_NOT_FOUND, describePath(path));
}

}  // namespace

const Class& NameSpace::classNamed(const String& name) const {
  const Class* cls = schema_.find(name);
  if (cls == nullptr) {
    throwCimError(Pegasus::CIM_ERR_INVALID_CLASS, name);
  }
  return *cls;
}

InstanceKey NameSpace::keyOf(const CIMObjectPath& path) const {
  const Class& cls = classNamed(path.getClassName());
  auto key = instanceKey(cls, path, keyScope());
  if (!key) {
    throwNotFound(path);
  }
  return *std::move(key);
}

CIMObjectPath NameSpace::createInstance(const CIMInstance& given, Origin origin) {
  const Class& cls = classNamed(given.getClassName());
  StoredInstance created(cls, completeInstance(cls, given, keyScope()), nullptr);
  if (origin == Origin::published) {
    checkLengths(cls, given);
  }
  return add(cls, std::move(created), origin == Origin::published);
}

void NameSpace::declareInstance(const CIMInstance& given, Source source) {
  const Class& cls = classNamed(given.getClassName());
  add(cls, StoredInstance(cls, completeInstance(cls, given, keyScope()), std::move(source)), false);
}

void NameSpace::restoreInstance(std::string_view instanceXml, const InstanceKey& key) {
  const Pegasus::xml::XmlDocument document{std::string(instanceXml)};
  const CIMInstance given = Pegasus::xml::decodeInstance(document.root());
  const Class& cls = classNamed(given.getClassName());
  StoredInstance restored(cls, completeInstance(cls, given, keyScope()), nullptr);
  if (keyOf(restored.instance.getPath()) != key) {
    throwCimError(Pegasus::CIM_ERR_FAILED, "its class has other keys by now");
  }
  add(cls, std::move(restored), false);
}

CIMObjectPath NameSpace::add(const Class& cls, StoredInstance stored, bool isJournaled) {
  CIMObjectPath path = stored.instance.getPath();
  InstanceKey key = keyOf(path);
  if (instances_.find(key) != nullptr) {
    throwCimError(Pegasus::CIM_ERR_ALREADY_EXISTS, describePath(path));
  }
  const bool isCounted = quota_ != nullptr && stored.isPublished();
  const std::size_t size = stored.size();
  if (isCounted && isJournaled) {
    quota_->checkInstance(size);
  }
  // Every step that can fail comes before the journal, which must not have what is not here.
  auto addition = instances_.prepare(cls, std::move(key), std::move(stored));
  if (journal_ != nullptr && isJournaled) {
    journal_->put(name_, addition.key(), cls.name(), addition.stored().instanceXml);
  }
  instances_.add(std::move(addition));
  if (isCounted) {
    quota_->instances += 1;
    quota_->bytes += size;
  }
  return path;
}

InstancePointer NameSpace::changeable(const InstanceKey& key, const CIMObjectPath& path) const {
  InstancePointer stored = instances_.find(key);
  if (stored == nullptr) {
    throwNotFound(path);
  }
  if (!stored->isPublished()) {
    throwCimError(Pegasus::CIM_ERR_ACCESS_DENIED, "declared by " + String(*stored->declaredBy));
  }
  return stored;
}

void NameSpace::modifyInstance(const CIMInstance& given, const CIMPropertyList& list) {
  const InstanceKey key = keyOf(given.getPath());
  const InstancePointer stored = changeable(key, given.getPath());
  const Class& cls = classNamed(stored->instance.getClassName());
  auto changed = std::make_shared<const StoredInstance>(
      cls, changedInstance(cls, stored->instance, given, list, keyScope()), nullptr);
  checkLengths(cls, given);
  const std::size_t before = stored->size();
  const std::size_t after = changed->size();
  if (quota_ != nullptr && after > before) {
    quota_->checkBytes(after - before);
  }
  if (journal_ != nullptr) {
    journal_->put(name_, key, cls.name(), changed->instanceXml);
  }
  instances_.replace(key, std::move(changed));
  if (quota_ != nullptr) {
    quota_->bytes += after - before;  // modulo 2^64 when it is smaller now
  }
}

void NameSpace::deleteInstance(const CIMObjectPath& path) {
  const InstanceKey key = keyOf(path);
  const InstancePointer stored = changeable(key, path);
  if (journal_ != nullptr) {
    journal_->remove(name_, key);
  }
  if (quota_ != nullptr) {
    quota_->instances -= 1;
    quota_->bytes -= stored->size();
  }
  instances_.remove(key);
}

InstancePointer NameSpace::instance(const CIMObjectPath& path) const {
  InstancePointer found = instances_.find(keyOf(path));
  if (found == nullptr) {
    throwNotFound(path);
  }
  return found;
}

std::vector<InstancePointer> NameSpace::instances(const Class& cls) const {
  return instances_.list(Schema::withSubclasses({&cls}));
}

std::vector<InstancePointer> NameSpace::published() const {
  auto all = instances_.list(Schema::withSubclasses(schema_.topClasses()));
  std::erase_if(all, [](const InstancePointer& stored) { return !stored->isPublished(); });
  return all;
}

}  // namespace cimd
