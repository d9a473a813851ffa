#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>

namespace Pegasus {

CIMInstance::CIMInstance(const String& className) : path_(String(), String(), className) {}

CIMInstance& CIMInstance::addProperty(CIMProperty property) {
  if (findProperty(property.getName()) != PEG_NOT_FOUND) {
    throw InvalidValueException(String("the instance has this property already: ") +
                                property.getName());
  }
  properties_.push_back(std::move(property));
  return *this;
}

Uint32 CIMInstance::findProperty(const String& name) const {
  for (Uint32 i = 0; i < properties_.size(); i++) {
    if (String::equalNoCase(properties_[i].getName(), name)) {
      return i;
    }
  }
  return PEG_NOT_FOUND;
}

const CIMProperty& CIMInstance::getProperty(Uint32 position) const {
  if (position >= properties_.size()) {
    throw IndexOutOfBoundsException();
  }
  return properties_[position];
}

CIMProperty& CIMInstance::getProperty(Uint32 position) {
  if (position >= properties_.size()) {
    throw IndexOutOfBoundsException();
  }
  return properties_[position];
}

}  // namespace Pegasus
