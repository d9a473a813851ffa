#include "cimd/model/NameSpace.h"

#include "cimd/model/CimErrors.h"
#include "cimd/model/NewInstance.h"

namespace cimd {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::String;

namespace {

[[noreturn]] void throwNotFound(CIMObjectPath path) {
  path.setHost(String::EMPTY);
  path.setNameSpace(String::EMPTY);
  throwCimError(Pegasus::CIM_ERR_NOT_FOUND, path.toString());
}

}  // namespace

const CimClass& NameSpace::classNamed(const String& name) const {
  const CimClass* cls = schema_.find(name);
  if (cls == nullptr) {
    throwCimError(Pegasus::CIM_ERR_INVALID_CLASS, name);
  }
  return *cls;
}

InstanceKey NameSpace::keyOf(const CIMObjectPath& path) const {
  const CimClass& cls = classNamed(path.getClassName());
  auto key = instanceKey(cls, path, name_);
  if (!key) {
    throwNotFound(path);
  }
  return *std::move(key);
}

CIMObjectPath NameSpace::createInstance(const CIMInstance& given) {
  const CimClass& cls = classNamed(given.getClassName());
  CIMInstance instance = completeInstance(cls, given);
  CIMObjectPath path = instance.getPath();
  if (!instances_.add(cls, keyOf(path), std::move(instance))) {
    throwCimError(Pegasus::CIM_ERR_ALREADY_EXISTS, path.toString());
  }
  return path;
}

void NameSpace::deleteInstance(const CIMObjectPath& path) {
  if (!instances_.remove(keyOf(path))) {
    throwNotFound(path);
  }
}

const CIMInstance& NameSpace::instance(const CIMObjectPath& path) const {
  const CIMInstance* found = instances_.find(keyOf(path));
  if (found == nullptr) {
    throwNotFound(path);
  }
  return *found;
}

std::vector<const CIMInstance*> NameSpace::instances(const CimClass& cls) const {
  return instances_.list(Schema::withSubclasses(cls));
}

}  // namespace cimd
