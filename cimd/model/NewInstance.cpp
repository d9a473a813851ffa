#include "cimd/model/NewInstance.h"

#include <variant>

#include "cimd/model/CimErrors.h"
#include "cimd/model/InstanceKey.h"

namespace cimd {

namespace {

using Pegasus::CIM_ERR_INVALID_PARAMETER;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;

std::string typeName(Pegasus::CIMType type, bool isArray) {
  return std::string(Pegasus::cimTypeToString(type)) + (isArray ? "[]" : "");
}

// Of an array.
std::size_t elementCount(const CIMValue& value) {
  return std::visit(
      [](const auto& data) -> std::size_t {
        if constexpr (requires { data.size(); }) {
          return data.size();
        } else {
          return 1;
        }
      },
      value.data());
}

void checkValue(const CimProperty& property, const CIMValue& value) {
  const String name = "property " + property.name;
  if (value.getType() != property.type || value.isArray() != property.isArray) {
    const std::string types = " is " + typeName(value.getType(), value.isArray()) + " instead of " +
                              typeName(property.type, property.isArray);
    throwCimError(CIM_ERR_INVALID_PARAMETER, name + String(std::string_view(types)));
  }
  if (property.arraySize != 0 && !value.isNull() && elementCount(value) > property.arraySize) {
    throwCimError(CIM_ERR_INVALID_PARAMETER, name + " has more elements than its fixed size");
  }
}

// The given values at the positions of their properties in the class.
std::vector<const CIMValue*> placeValues(const CimClass& cls, const CIMInstance& given) {
  std::vector<const CIMValue*> values(cls.propertyCount(), nullptr);
  for (Pegasus::Uint32 i = 0; i < given.getPropertyCount(); ++i) {
    const Pegasus::CIMProperty& property = given.getProperty(i);
    const auto position = cls.findProperty(property.getName());
    if (!position) {
      throwCimError(CIM_ERR_INVALID_PARAMETER,
                    "class " + cls.name() + " has no property " + property.getName());
    }
    if (values[*position] != nullptr) {
      throwCimError(CIM_ERR_INVALID_PARAMETER,
                    "property " + property.getName() + " is there twice");
    }
    checkValue(cls.property(*position), property.getValue());
    values[*position] = &property.getValue();
  }
  return values;
}

}  // namespace

CIMInstance completeInstance(const CimClass& cls, const CIMInstance& given) {
  if (cls.isAbstract()) {
    throwCimError(Pegasus::CIM_ERR_NOT_SUPPORTED, "class " + cls.name() + " is abstract");
  }
  const auto values = placeValues(cls, given);
  CIMInstance complete(cls.name());
  for (std::size_t i = 0; i < cls.propertyCount(); ++i) {
    const CimProperty& property = cls.property(i);
    const CIMValue& value = values[i] != nullptr ? *values[i] : property.defaultValue;
    complete.addProperty(Pegasus::CIMProperty(property.name, value, property.arraySize,
                                              property.referenceClass, String::EMPTY,
                                              cls.isPropagated(property)));
  }
  complete.setPath(instancePath(cls, complete));
  return complete;
}

}  // namespace cimd
