#include "model/instance_key.h"

#include "xml/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

#include "model/errors.h"

namespace cimd {

namespace {

using Pegasus::CIMKeyBinding;
using Pegasus::CIMObjectPath;
using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::String;

// The key of a reference contains the keys of its target, so a few lines of MOF can nest references
// into a key that no memory holds. Real names are far shorter.
constexpr std::size_t maxKeySize = 65536;

// Each part is preceded by its length, so that different lists of parts give different keys. A
// separator would not do: values can contain any character.
void appendPart(InstanceKey& key, std::u16string_view part) {
  for (const char digit : std::to_string(part.size())) {
    key += static_cast<char16_t>(digit);
  }
  key += u':';
  key += part;
  if (key.size() > maxKeySize) {
    throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, "the name of the instance is too long");
  }
}

// The text of a scalar; a real in the shortest form that is read back as the same number, because
// keys are stored in that form.
String textOf(const CIMValue& value) {
  return std::visit(
      [&value](const auto& number) {
        if constexpr (std::is_floating_point_v<std::decay_t<decltype(number)>>) {
          std::array<char, 32> buffer;
          const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
          return String(std::string(buffer.data(), result.ptr));
        } else {
          return value.toString();
        }
      },
      value.data());
}

// One spelling for all that mean the same value: "0x10", "+16" and "16" are "16". Nothing for text
// that is not a value of the type.
std::optional<String> canonical(CIMType type, const String& text) {
  if (type == Pegasus::CIMTYPE_STRING) {
    return text;
  }
  try {
    return textOf(Pegasus::xml::parseScalar(type, text.toUtf8()));
  } catch (const Pegasus::Exception&) {
    return std::nullopt;
  }
}

// The type is unknown, so the exact types are tried before the inexact one.
String canonicalNumber(const String& text) {
  for (const CIMType type :
       {Pegasus::CIMTYPE_UINT64, Pegasus::CIMTYPE_SINT64, Pegasus::CIMTYPE_REAL64}) {
    if (const auto value = canonical(type, text)) {
      return *value;
    }
  }
  return text;
}

// Empty for this host, whether the path names it or not.
String foreignHost(const CIMObjectPath& path) {
  return isLoopbackHost(path.getHost().toUtf8()) ? String::EMPTY : path.getHost();
}

String targetNameSpace(const CIMObjectPath& path, const String& from) {
  const String& own = path.getNameSpace();
  return trimNameSpace(own.size() == 0 ? from : own);
}

InstanceKey writtenKey(const CIMObjectPath& path, const String& nameSpace);

// The value of a key whose class is not known here.
InstanceKey writtenValue(const CIMKeyBinding& binding, const String& nameSpace) {
  switch (binding.getType()) {
    case CIMKeyBinding::REFERENCE:
      return writtenKey(binding.getReference(), nameSpace);
    case CIMKeyBinding::BOOLEAN:
      return fold(binding.getValue());
    case CIMKeyBinding::NUMERIC:
      return InstanceKey(canonicalNumber(binding.getValue()).view());
    case CIMKeyBinding::STRING:
      break;
  }
  return InstanceKey(binding.getValue().view());
}

// A reference may point to another host, namespace or unknown class. There is no declaration to
// read its keys by, so they are taken as the path marks them, in alphabetical order.
InstanceKey writtenKey(const CIMObjectPath& path, const String& nameSpace) {
  const String target = targetNameSpace(path, nameSpace);
  std::vector<InstanceKey> parts;
  for (const CIMKeyBinding& binding : path.getKeyBindings()) {
    InstanceKey part;
    appendPart(part, fold(binding.getName()));
    appendPart(part, writtenValue(binding, target));
    parts.push_back(std::move(part));
  }
  std::sort(parts.begin(), parts.end());
  InstanceKey key;
  appendPart(key, fold(foreignHost(path)));
  appendPart(key, fold(target));
  appendPart(key, fold(path.getClassName()));
  for (const InstanceKey& part : parts) {
    appendPart(key, part);
  }
  return key;
}

InstanceKey referenceKey(const CIMObjectPath& path, const KeyScope& scope) {
  const Class* cls = localClass(path, scope);
  const auto key = cls != nullptr ? instanceKey(*cls, path, scope) : std::nullopt;
  return key ? *key : writtenKey(path, scope.nameSpace);
}

std::optional<InstanceKey> keyValue(const Property& property, const CIMKeyBinding& binding,
                                    const KeyScope& scope) {
  const bool isReference = binding.getType() == CIMKeyBinding::REFERENCE;
  if (isReference != (property.type == Pegasus::CIMTYPE_REFERENCE)) {
    return std::nullopt;
  }
  if (isReference) {
    return referenceKey(binding.getReference(), scope);
  }
  const auto value = canonical(property.type, binding.getValue());
  return value ? std::optional(InstanceKey(value->view())) : std::nullopt;
}

const CIMKeyBinding* findBinding(const CIMObjectPath& path, const String& name) {
  const auto& bindings = path.getKeyBindings();
  if (bindings.size() == 1 && bindings[0].getName().size() == 0) {
    return &bindings[0];
  }
  for (const CIMKeyBinding& binding : bindings) {
    if (String::equalNoCase(binding.getName(), name)) {
      return &binding;
    }
  }
  return nullptr;
}

CIMKeyBinding keyBinding(const String& name, const CIMValue& value) {
  switch (value.getType()) {
    case Pegasus::CIMTYPE_BOOLEAN:
      return {name, value.toString(), CIMKeyBinding::BOOLEAN};
    case Pegasus::CIMTYPE_STRING:
    case Pegasus::CIMTYPE_CHAR16:
    case Pegasus::CIMTYPE_DATETIME:
      return {name, value.toString(), CIMKeyBinding::STRING};
    case Pegasus::CIMTYPE_REFERENCE: {
      CIMObjectPath target;
      value.get(target);
      return {name, target};
    }
    default:
      return {name, textOf(value), CIMKeyBinding::NUMERIC};
  }
}

// The depth of names in the keys of names, this one included.
std::size_t levelsOf(const CIMObjectPath& path) {
  std::size_t inside = 0;
  for (const CIMKeyBinding& binding : path.getKeyBindings()) {
    if (binding.getType() == CIMKeyBinding::REFERENCE) {
      inside = std::max(inside, levelsOf(binding.getReference()));
    }
  }
  return 1 + inside;
}

}  // namespace

const Class* localClass(const CIMObjectPath& path, const KeyScope& scope) {
  const bool isLocal = foreignHost(path).size() == 0 &&
                       fold(targetNameSpace(path, scope.nameSpace)) == fold(scope.nameSpace);
  return isLocal ? scope.schema.find(path.getClassName()) : nullptr;
}

std::optional<InstanceKey> instanceKey(const Class& cls, const CIMObjectPath& path,
                                       const KeyScope& scope) {
  if (path.getKeyBindings().size() != cls.keys().size()) {
    return std::nullopt;
  }
  InstanceKey key;
  appendPart(key, fold(cls.name()));
  for (const std::size_t position : cls.keys()) {
    const Property& property = cls.property(position);
    const CIMKeyBinding* binding = findBinding(path, property.name);
    const auto value = binding ? keyValue(property, *binding, scope) : std::nullopt;
    if (!value) {
      return std::nullopt;
    }
    appendPart(key, *value);
  }
  return key;
}

bool isSameKey(const Property& property, const CIMValue& a, const CIMValue& b,
               const KeyScope& scope) {
  return a == b || (!a.isNull() && !b.isNull() &&
                    keyValue(property, keyBinding(property.name, a), scope) ==
                        keyValue(property, keyBinding(property.name, b), scope));
}

CIMObjectPath instancePath(const Class& cls, const Pegasus::CIMInstance& instance) {
  Pegasus::Array<CIMKeyBinding> bindings;
  for (const std::size_t position : cls.keys()) {
    const auto& property = instance.getProperty(static_cast<Pegasus::Uint32>(position));
    if (property.getValue().isNull()) {
      throwCimError(
          Pegasus::CIM_ERR_INVALID_PARAMETER,
          "key property " + property.getName() + " of class " + cls.name() + " has no value");
    }
    bindings.append(keyBinding(property.getName(), property.getValue()));
  }
  return {String::EMPTY, String::EMPTY, cls.name(), bindings};
}

String describePath(const CIMObjectPath& path) {
  // Each level doubles the backslashes of the level inside it: a request of some kilobytes would
  // take the time of a megabyte.
  constexpr std::size_t maxLevels = 3;
  if (levelsOf(path) > maxLevels) {
    return path.getClassName();
  }
  try {
    return path.toString();
  } catch (const Pegasus::InvalidValueException&) {
    return path.getClassName();
  }
}

}  // namespace cimd
