#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>
#include "common/name_check.h"

namespace Pegasus {

namespace {

[[noreturn]] void throwRepeated(const String& name) {
  throw InvalidValueException(String("the instance has this property already: ") + name);
}

}  // namespace

CIMInstance::CIMInstance(const String& className) : path_(String(), String(), className) {}

CIMInstance::CIMInstance(const String& className, std::vector<CIMProperty> properties)
    : path_(String(), String(), className), properties_(std::move(properties)) {
  std::vector<const String*> names;
  names.reserve(properties_.size());
  for (const CIMProperty& property : properties_) {
    names.push_back(&property.getName());
  }
  if (const String* repeated = findRepeated(std::move(names))) {
    throwRepeated(*repeated);
  }
}

CIMInstance& CIMInstance::addProperty(CIMProperty property) {
  if (findProperty(property.getName()) != PEG_NOT_FOUND) {
    throwRepeated(property.getName());
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
