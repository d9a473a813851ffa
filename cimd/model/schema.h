// The classes and qualifier declarations of one namespace.
#pragma once

#include <Pegasus/Common/String.h>

#include <map>
#include <memory>
#include <vector>

#include "model/class.h"

namespace cimd {

class Schema {
 public:
  // Throws CIMException: ALREADY_EXISTS for a name in use, INVALID_SUPERCLASS when the superclass
  // is not defined, and what Class throws.
  const Class& define(const ClassDeclaration& declaration);

  // Null when there is none of this name, letter case ignored. Classes live as long as the schema.
  const Class* find(const Pegasus::String& name) const;

  // The number of classes.
  std::size_t size() const { return classes_.size(); }
  // The classes without superclass, in the order of their definition.
  const std::vector<const Class*>& topClasses() const { return topClasses_; }

  // Replaces an earlier declaration of this name, letter case ignored.
  void declareQualifier(QualifierDeclaration declaration);
  // Null when there is none of this name, letter case ignored.
  const QualifierDeclaration* findQualifier(const Pegasus::String& name) const;
  // All, in the order of their first declaration.
  const std::vector<QualifierDeclaration>& qualifiers() const { return qualifiers_; }

  // The classes and all below them, level by level.
  static std::vector<const Class*> withSubclasses(std::vector<const Class*> classes);

 private:
  std::map<FoldedName, std::unique_ptr<Class>> classes_;
  std::vector<const Class*> topClasses_;
  std::vector<QualifierDeclaration> qualifiers_;
  std::map<FoldedName, std::size_t> qualifierPositions_;
};

}  // namespace cimd
