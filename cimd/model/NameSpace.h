// One namespace: its classes and instances, and the operations on them with their CIM errors.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <vector>

#include "cimd/model/InstanceStore.h"
#include "cimd/model/Schema.h"

namespace cimd {

class NameSpace {
 public:
  explicit NameSpace(Pegasus::String name) : name_(std::move(name)) {}

  // As it was spelled first, without slashes at the ends.
  const Pegasus::String& name() const { return name_; }

  const CimClass& defineClass(const ClassDeclaration& declaration) {
    return schema_.define(declaration);
  }
  // Null when there is none.
  const CimClass* findClass(const Pegasus::String& name) const { return schema_.find(name); }
  // Throws CIMException (INVALID_CLASS) when there is none.
  const CimClass& classNamed(const Pegasus::String& name) const;

  // Stores the instance, completed by completeInstance(), and returns its name. Throws
  // CIMException: INVALID_CLASS, ALREADY_EXISTS, and what completeInstance() throws.
  Pegasus::CIMObjectPath createInstance(const Pegasus::CIMInstance& given);
  // Throws CIMException: INVALID_CLASS, NOT_FOUND.
  void deleteInstance(const Pegasus::CIMObjectPath& path);
  // The same errors. The reference lives until the instance is deleted.
  const Pegasus::CIMInstance& instance(const Pegasus::CIMObjectPath& path) const;
  // Those of the class and of its subclasses, in order of creation.
  std::vector<const Pegasus::CIMInstance*> instances(const CimClass& cls) const;

 private:
  InstanceKey keyOf(const Pegasus::CIMObjectPath& path) const;

  Pegasus::String name_;
  Schema schema_;
  InstanceStore instances_;
};

}  // namespace cimd
