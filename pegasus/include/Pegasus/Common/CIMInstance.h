// An instance: class name, properties in order, and the path under which a server knows it.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/String.h>

#include <vector>

namespace Pegasus {

// A value: copies are independent.
class CIMInstance {
 public:
  CIMInstance() = default;
  explicit CIMInstance(const String& className);
  // With these properties, in their order. Two of the same name (in any letter case) throw
  // InvalidValueException. Takes less time than to add many properties one by one.
  CIMInstance(const String& className, std::vector<CIMProperty> properties);

  // The class name is that of the path, set when the instance was built.
  const String& getClassName() const { return path_.getClassName(); }
  const CIMObjectPath& getPath() const { return path_; }
  void setPath(const CIMObjectPath& path) { path_ = path; }

  // Appends; the order of properties is kept. A name that the instance has already (in any letter
  // case) throws InvalidValueException.
  CIMInstance& addProperty(CIMProperty property);
  Uint32 getPropertyCount() const { return static_cast<Uint32>(properties_.size()); }
  // The position of the property with this name, letter case ignored, or PEG_NOT_FOUND.
  Uint32 findProperty(const String& name) const;
  // Both throw IndexOutOfBoundsException when position >= getPropertyCount(). A reference lives
  // until the instance is changed or destroyed.
  const CIMProperty& getProperty(Uint32 position) const;
  CIMProperty& getProperty(Uint32 position);

 private:
  CIMObjectPath path_;
  std::vector<CIMProperty> properties_;
};

}  // namespace Pegasus
