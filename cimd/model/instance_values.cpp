#include "model/instance_values.h"

#include "xml/document.h"

#include <algorithm>
#include <optional>

#include "model/errors.h"
#include "model/instance_key.h"

namespace cimd {

namespace {

using Pegasus::CIM_ERR_INVALID_PARAMETER;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;

std::string typeName(Pegasus::CIMType type, bool isArray) {
  return std::string(Pegasus::cimTypeToString(type)) + (isArray ? "[]" : "");
}

// A reference to another host or namespace may be of any class, as those are not known here.
void checkReference(const Property& property, const CIMValue& value, const KeyScope& scope) {
  Pegasus::CIMObjectPath path;
  value.get(path);
  const Class* target = localClass(path, scope);
  const Class* expected = scope.schema.find(property.referenceClass);
  if (target != nullptr && expected != nullptr && target != expected &&
      !target->isBelow(*expected)) {
    throwCimError(CIM_ERR_INVALID_PARAMETER,
                  "property " + property.name + " refers to an instance of class " +
                      target->name() + " instead of " + expected->name());
  }
}

void checkValue(const Property& property, const CIMValue& value, const KeyScope& scope) {
  const String name = "property " + property.name;
  if (value.getType() != property.type || value.isArray() != property.isArray) {
    const std::string types = " is " + typeName(value.getType(), value.isArray()) + " instead of " +
                              typeName(property.type, property.isArray);
    throwCimError(CIM_ERR_INVALID_PARAMETER, name + types);
  }
  if (property.arraySize != 0 && value.getArraySize() > property.arraySize) {
    throwCimError(CIM_ERR_INVALID_PARAMETER, name + " has more elements than its fixed size");
  }
  if (property.type == Pegasus::CIMTYPE_REFERENCE && !value.isNull()) {
    checkReference(property, value, scope);
  }
}

[[noreturn]] void throwNoProperty(const Class& cls, const String& name,
                                  Pegasus::CIMStatusCode code) {
  throwCimError(code, "class " + cls.name() + " has no property " + name);
}

// The given values at the positions of their properties in the class.
// `unknown` is the error for a property that the class does not have.
std::vector<const CIMValue*> placeValues(const Class& cls, const CIMInstance& given,
                                         Pegasus::CIMStatusCode unknown, const KeyScope& scope) {
  std::vector<const CIMValue*> values(cls.propertyCount(), nullptr);
  for (Pegasus::Uint32 i = 0; i < given.getPropertyCount(); ++i) {
    const Pegasus::CIMProperty& property = given.getProperty(i);
    const auto position = cls.findProperty(property.getName());
    if (!position) {
      throwNoProperty(cls, property.getName(), unknown);
    }
    checkValue(cls.property(*position), property.getValue(), scope);
    values[*position] = &property.getValue();
  }
  return values;
}

// The values of the properties in the list, with the default for a property that was not given. A
// key that was not given keeps its value.
std::vector<const CIMValue*> listedValues(const Class& cls,
                                          const std::vector<const CIMValue*>& values,
                                          const Pegasus::CIMPropertyList& list) {
  std::vector<const CIMValue*> listed(values.size(), nullptr);
  for (Pegasus::Uint32 i = 0; i < list.size(); ++i) {
    const auto position = cls.findProperty(list[i]);
    if (!position) {
      throwNoProperty(cls, list[i], Pegasus::CIM_ERR_NO_SUCH_PROPERTY);
    }
    const Property& property = cls.property(*position);
    const CIMValue* value = values[*position];
    listed[*position] = value != nullptr || property.isKey ? value : &property.defaultValue;
  }
  return listed;
}

// The elements of an array, or the one text; none for null and for other types.
Pegasus::Array<String> textsOf(const CIMValue& value) {
  Pegasus::Array<String> texts;
  if (value.isNull() || value.getType() != Pegasus::CIMTYPE_STRING) {
    return texts;
  }
  if (value.isArray()) {
    value.get(texts);
  } else {
    String text;
    value.get(text);
    texts.append(text);
  }
  return texts;
}

bool isObject(const String& text, Embedded embedded) {
  try {
    const Pegasus::xml::XmlDocument document(text.toUtf8());
    const std::string_view element = document.root().name();
    return element == "INSTANCE" || (embedded == Embedded::object && element == "CLASS");
  } catch (const Pegasus::Exception&) {
    return false;
  }
}

// In characters. Those past U+FFFF are two in UTF-16.
std::size_t lengthOf(const String& text) {
  const std::u16string_view units = text.view();
  return units.size() -
         static_cast<std::size_t>(std::count_if(units.begin(), units.end(), [](char16_t unit) {
           return unit >= 0xDC00 && unit <= 0xDFFF;
         }));
}

}  // namespace

void checkLengths(const Class& cls, const CIMInstance& given) {
  for (Pegasus::Uint32 i = 0; i < given.getPropertyCount(); ++i) {
    const Pegasus::CIMProperty& property = given.getProperty(i);
    const auto position = cls.findProperty(property.getName());
    const auto limit = position ? cls.property(*position).maxLength : std::nullopt;
    if (!limit) {
      continue;
    }
    for (const String& text : textsOf(property.getValue())) {
      if (lengthOf(text) > *limit) {
        throwCimError(CIM_ERR_INVALID_PARAMETER,
                      "property " + property.getName() + " has more than " +
                          String(std::to_string(*limit)) + " characters");
      }
    }
  }
}

CIMInstance completeInstance(const Class& cls, const CIMInstance& given, const KeyScope& scope) {
  if (cls.isAbstract()) {
    throwCimError(Pegasus::CIM_ERR_NOT_SUPPORTED, "class " + cls.name() + " is abstract");
  }
  const auto values = placeValues(cls, given, CIM_ERR_INVALID_PARAMETER, scope);
  CIMInstance complete(cls.name());
  for (std::size_t i = 0; i < cls.propertyCount(); ++i) {
    const Property& property = cls.property(i);
    const CIMValue& value = values[i] != nullptr ? *values[i] : property.defaultValue;
    complete.addProperty(Pegasus::CIMProperty(property.name, value, property.arraySize,
                                              property.referenceClass, String::EMPTY,
                                              cls.isPropagated(property)));
  }
  complete.setPath(instancePath(cls, complete));
  return complete;
}

CIMInstance changedInstance(const Class& cls, const CIMInstance& current, const CIMInstance& given,
                            const Pegasus::CIMPropertyList& list, const KeyScope& scope) {
  auto values = placeValues(cls, given, Pegasus::CIM_ERR_NO_SUCH_PROPERTY, scope);
  if (!list.isNull()) {
    values = listedValues(cls, values, list);
  }
  CIMInstance changed = current;
  for (std::size_t i = 0; i < cls.propertyCount(); ++i) {
    if (values[i] == nullptr) {
      continue;
    }
    auto& property = changed.getProperty(static_cast<Pegasus::Uint32>(i));
    if (!cls.property(i).isKey) {
      property.setValue(*values[i]);
    } else if (!isSameKey(cls.property(i), property.getValue(), *values[i], scope)) {
      throwCimError(CIM_ERR_INVALID_PARAMETER,
                    "key property " + property.getName() + " cannot be changed");
    }
  }
  return changed;
}

std::string_view embeddedObject(const Property& property, const CIMValue& value) {
  if (property.embedded == Embedded::none) {
    return {};
  }
  const Pegasus::Array<String> texts = textsOf(value);
  for (Pegasus::Uint32 i = 0; i < texts.size(); ++i) {
    if (!value.isNullElement(i) && !isObject(texts[i], property.embedded)) {
      return {};
    }
  }
  return property.embedded == Embedded::instance ? "instance" : "object";
}

}  // namespace cimd
