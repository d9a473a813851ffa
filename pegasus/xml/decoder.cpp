#include "xml/decoder.h"

#include "common/name_check.h"
#include "text/ascii.h"
#include "xml/text.h"
#include "xml/values.h"

#include <algorithm>
#include <vector>

namespace Pegasus::xml {

namespace {

[[noreturn]] void refuseChild(Element parent, Element child) {
  refuse(excerpt(child.name()) + " inside " + excerpt(parent.name()));
}

// Returns the element, which must have this name.
Element requireNext(Element element, Element parent, std::string_view name) {
  if (!element || element.name() != name) {
    refuse(excerpt(parent.name()) + " without " + std::string(name));
  }
  return element;
}

void requireNoMore(Element parent, Element rest) {
  if (rest) {
    refuseChild(parent, rest);
  }
}

// Skips the qualifiers, which say nothing about the value. The value comes after them, or nothing.
Element valueChild(Element property) {
  Element child = property.firstChild();
  while (child && child.name() == "QUALIFIER") {
    child = child.next();
  }
  if (child) {
    requireNoMore(property, child.next());
  }
  return child;
}

void requireNoText(Element element) {
  if (element.hasText()) {
    refuse("text inside " + excerpt(element.name()));
  }
}

String optionalName(std::optional<std::string_view> attribute) {
  return String(text::trimmed(attribute.value_or(std::string_view())));
}

std::string_view requireName(Element element, const char* attribute,
                             std::optional<std::string_view> value) {
  const std::string_view name = text::trimmed(value.value_or(std::string_view()));
  if (name.empty()) {
    refuse(excerpt(element.name()) + " without " + attribute);
  }
  return name;
}

CIMKeyBinding::Type keyType(Element keyValue) {
  const std::string_view type = text::trimmed(keyValue.attribute("VALUETYPE").value_or("string"));
  if (type == "string") {
    return CIMKeyBinding::STRING;
  }
  if (type == "boolean") {
    return CIMKeyBinding::BOOLEAN;
  }
  if (type != "numeric") {
    refuse("unknown VALUETYPE " + excerpt(type));
  }
  return CIMKeyBinding::NUMERIC;
}

// From KEYVALUE or VALUE.REFERENCE.
CIMKeyBinding decodeKey(const String& name, Element value) {
  if (value && value.name() == "KEYVALUE") {
    const CIMKeyBinding::Type type = keyType(value);
    const std::string_view text = textOnly(value);
    const bool isExact = type == CIMKeyBinding::STRING;
    return {name, String(isExact ? text : text::trimmed(text)), type};
  }
  return {name, decodeReference(value)};
}

CIMKeyBinding decodeKeyBinding(Element element) {
  requireElement(element, "KEYBINDING");
  return decodeKey(String(requireName(element, "NAME")), optionalChild(element));
}

void requireDifferentNames(const Array<CIMKeyBinding>& keys) {
  if (const String* repeated = findRepeated(keys)) {
    refuse("duplicate key " + excerpt(repeated->toUtf8()));
  }
}

// KEYBINDING elements, or the value of a single key without its name.
Array<CIMKeyBinding> decodeKeys(Element instanceName) {
  Array<CIMKeyBinding> keys;
  const Element first = instanceName.firstChild();
  if (first && first.name() != "KEYBINDING") {
    requireNoMore(instanceName, first.next());
    keys.append(decodeKey(String(), first));
    return keys;
  }
  for (Element element = first; element; element = element.next()) {
    if (keys.size() >= maxKeyBindings) {
      refuse("an instance name with more than " + std::to_string(maxKeyBindings) + " keys");
    }
    keys.append(decodeKeyBinding(element));
  }
  requireDifferentNames(keys);
  return keys;
}

CIMObjectPath decodeInstanceName(Element element) {
  requireElement(element, "INSTANCENAME");
  return {String(), String(), String(requireName(element, "CLASSNAME")), decodeKeys(element)};
}

CIMObjectPath decodeLocalInstancePath(Element element) {
  requireElement(element, "LOCALINSTANCEPATH");
  const Element nameSpace = requireNext(element.firstChild(), element, "LOCALNAMESPACEPATH");
  const Element name = requireNext(nameSpace.next(), element, "INSTANCENAME");
  requireNoMore(element, name.next());
  CIMObjectPath path = decodeInstanceName(name);
  path.setNameSpace(decodeLocalNameSpacePath(nameSpace));
  return path;
}

CIMObjectPath decodeInstancePath(Element element) {
  requireElement(element, "INSTANCEPATH");
  const Element nameSpacePath = requireNext(element.firstChild(), element, "NAMESPACEPATH");
  requireElement(nameSpacePath, "NAMESPACEPATH");
  const Element host = requireNext(nameSpacePath.firstChild(), nameSpacePath, "HOST");
  const Element nameSpace = requireNext(host.next(), nameSpacePath, "LOCALNAMESPACEPATH");
  requireNoMore(nameSpacePath, nameSpace.next());
  const Element name = requireNext(nameSpacePath.next(), element, "INSTANCENAME");
  requireNoMore(element, name.next());
  CIMObjectPath path = decodeInstanceName(name);
  path.setHost(String(text::trimmed(textOnly(host))));
  path.setNameSpace(decodeLocalNameSpacePath(nameSpace));
  return path;
}

// A NAME may hold several parts; empty ones are left out.
void appendNameSpaceParts(String& path, const String& name) {
  for (Uint32 start = 0; start < name.size();) {
    const Uint32 slash = std::min(name.find(start, u'/'), name.size());
    if (slash > start && path.size() != 0) {
      path += u'/';
    }
    path += name.subString(start, slash - start);
    start = slash + 1;
  }
}

// Decodes an element of this name into a property at the end of the list, which saves moving it
// there. An embedded object is kept as the string that it is sent as.
void decodePropertyInto(std::vector<CIMProperty>& properties, Element element,
                        std::string_view kind) {
  const bool isArray = kind == "PROPERTY.ARRAY";
  const bool isReference = kind == "PROPERTY.REFERENCE";
  if (!isArray && !isReference && kind != "PROPERTY") {
    refuse("element PROPERTY expected, not " + excerpt(kind));
  }
  requireNoText(element);
  const auto [name, typeName, propagated, classOrigin, arraySize, referenceClass] =
      element.attributes(
          {"NAME", "TYPE", "PROPAGATED", "CLASSORIGIN", "ARRAYSIZE", "REFERENCECLASS"});
  const CIMType type =
      isReference ? CIMTYPE_REFERENCE : parseType(requireName(element, "TYPE", typeName));
  if (isArray && type == CIMTYPE_REFERENCE) {
    refuse("a property cannot be an array of references");
  }
  Uint32 size = 0;
  if (arraySize) {
    parseScalar(CIMTYPE_UINT32, *arraySize).get(size);
  }
  properties.emplace_back(String(requireName(element, "NAME", name)),
                          decodeTypedValue(type, isArray, valueChild(element)), size,
                          optionalName(referenceClass), optionalName(classOrigin),
                          propagated && text::equalNoCase(text::trimmed(*propagated), "true"));
}

// At most the limit.
std::size_t countProperties(Element instance) {
  std::size_t count = 0;
  for (Element child = instance.firstChild(); child && count < maxProperties;
       child = child.next()) {
    ++count;
  }
  return count;
}

std::vector<CIMProperty> decodeProperties(Element instance) {
  std::vector<CIMProperty> properties;
  properties.reserve(countProperties(instance));
  for (Element child = instance.firstChild(); child; child = child.next()) {
    const std::string_view kind = child.name();
    if (kind == "QUALIFIER") {
      continue;
    }
    if (properties.size() >= maxProperties) {
      refuse("an instance with more than " + std::to_string(maxProperties) + " properties");
    }
    decodePropertyInto(properties, child, kind);
  }
  return properties;
}

}  // namespace

void requireElement(Element element, std::string_view name) {
  if (!element || element.name() != name) {
    refuse("element " + std::string(name) + " expected" +
           (element ? ", not " + excerpt(element.name()) : std::string()));
  }
  requireNoText(element);
}

std::string_view requireAttribute(Element element, const char* name) {
  const std::optional<std::string_view> value = element.attribute(name);
  if (!value || value->empty()) {
    refuse(excerpt(element.name()) + " without " + name);
  }
  return *value;
}

std::string_view requireName(Element element, const char* attribute) {
  return requireName(element, attribute, element.attribute(attribute));
}

Element optionalChild(Element element) {
  requireElement(element, element.name());
  const Element child = element.firstChild();
  if (child) {
    requireNoMore(element, child.next());
  }
  return child;
}

std::string_view textOnly(Element element) {
  requireNoMore(element, element.firstChild());
  return element.text();
}

CIMObjectPath decodeReference(Element element) {
  requireElement(element, "VALUE.REFERENCE");
  return decodeObjectPath(optionalChild(element));
}

CIMValue decodeTypedValue(CIMType type, bool isArray, Element element) {
  if (!element) {
    return CIMValue(type, isArray);
  }
  if (isArray) {
    return decodeArray(type, element);
  }
  if (type == CIMTYPE_REFERENCE) {
    return CIMValue(decodeReference(element));
  }
  if (element.name() != "VALUE") {
    refuse("VALUE expected, not " + excerpt(element.name()));
  }
  const std::string_view text = textOnly(element);
  // Some servers send a null value of a type without an empty text like this.
  const bool isText = type == CIMTYPE_STRING || type == CIMTYPE_CHAR16;
  if (!isText && text::trimmed(text).empty()) {
    return CIMValue(type, false);
  }
  return parseScalar(type, text);
}

CIMValue decodeUntypedValue(Element element) {
  if (!element) {
    return CIMValue();
  }
  if (element.name() == "VALUE") {
    return CIMValue(String(textOnly(element)));
  }
  if (element.name() == "VALUE.ARRAY") {
    return decodeArray(CIMTYPE_STRING, element);
  }
  if (element.name() == "VALUE.REFARRAY") {
    return decodeArray(CIMTYPE_REFERENCE, element);
  }
  return CIMValue(decodeReference(element));
}

String decodeLocalNameSpacePath(Element element) {
  requireElement(element, "LOCALNAMESPACEPATH");
  String path;
  for (Element part = element.firstChild(); part; part = part.next()) {
    requireElement(part, "NAMESPACE");
    appendNameSpaceParts(path, String(requireName(part, "NAME")));
  }
  if (path.size() == 0) {
    refuse("LOCALNAMESPACEPATH without NAMESPACE");
  }
  return path;
}

CIMObjectPath decodeObjectPath(Element element) {
  if (element && element.name() == "INSTANCEPATH") {
    return decodeInstancePath(element);
  }
  if (element && element.name() == "LOCALINSTANCEPATH") {
    return decodeLocalInstancePath(element);
  }
  return decodeInstanceName(element);
}

CIMInstance decodeInstance(Element element) {
  requireElement(element, "INSTANCE");
  const String className(requireName(element, "CLASSNAME"));
  try {
    return {className, decodeProperties(element)};
  } catch (const InvalidValueException& error) {
    throw XmlValidationError(error.getMessage());
  }
}

CIMInstance decodeNamedInstance(Element element) {
  const bool isWithPath = element.name() == "VALUE.INSTANCEWITHPATH";
  requireElement(element, isWithPath ? element.name() : "VALUE.NAMEDINSTANCE");
  const Element name =
      requireNext(element.firstChild(), element, isWithPath ? "INSTANCEPATH" : "INSTANCENAME");
  const Element object = requireNext(name.next(), element, "INSTANCE");
  requireNoMore(element, object.next());
  CIMInstance instance = decodeInstance(object);
  instance.setPath(decodeObjectPath(name));
  return instance;
}

}  // namespace Pegasus::xml
