#include "xml/encoder.h"

#include "xml/text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>
#include <variant>

namespace Pegasus::xml {

namespace {

template <typename T>
void appendInteger(std::string& out, T value) {
  std::array<char, 24> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  out.append(digits.data(), result.ptr);
}

// The shortest digits that read back as the same number, with the decimal point that DSP0201
// demands, and its names for infinity and NaN.
template <typename T>
void appendReal(std::string& out, T value) {
  if (!std::isfinite(value)) {
    out += std::isnan(value) ? "NaN" : value < 0 ? "-INF" : "INF";
    return;
  }
  std::array<char, 40> buffer;
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  const std::string_view digits(buffer.data(),
                                static_cast<std::size_t>(result.ptr - buffer.data()));
  const std::size_t exponent = std::min(digits.find('e'), digits.size());
  out += digits.substr(0, exponent);
  if (digits.find('.') == std::string_view::npos) {
    out += ".0";
  }
  out += digits.substr(exponent);
}

// One element of a value; references hold an element of their own, the others text.
template <typename T>
void appendScalar(std::string& out, const T& value) {
  if constexpr (std::is_same_v<T, CIMObjectPath>) {
    out += "<VALUE.REFERENCE>";
    appendObjectPath(out, value);
    out += "</VALUE.REFERENCE>";
    return;
  }
  out += "<VALUE>";
  if constexpr (std::is_same_v<T, Boolean>) {
    out += value ? "true" : "false";
  } else if constexpr (std::is_floating_point_v<T>) {
    appendReal(out, value);
  } else if constexpr (std::is_same_v<T, Char16>) {
    appendElementText(out, String(std::u16string(1, value)));
  } else if constexpr (std::is_integral_v<T>) {
    appendInteger(out, value);
  } else if constexpr (std::is_same_v<T, String>) {
    appendElementText(out, value);
  } else if constexpr (std::is_same_v<T, CIMDateTime>) {
    appendElementText(out, value.toString());
  }
  out += "</VALUE>";
}

struct ValueAppender {
  std::string& out;
  const CIMValue& value;

  void operator()(std::monostate) const {}

  template <typename T>
  void operator()(const T& scalar) const {
    appendScalar(out, scalar);
  }

  template <typename T>
  void operator()(const Array<T>& array) const {
    const std::string_view name =
        std::is_same_v<T, CIMObjectPath> ? "VALUE.REFARRAY" : "VALUE.ARRAY";
    out.append("<").append(name).append(">");
    for (Uint32 i = 0; i < array.size(); ++i) {
      if (value.isNullElement(i)) {
        out += "<VALUE.NULL/>";
      } else {
        appendScalar(out, array[i]);
      }
    }
    out.append("</").append(name).append(">");
  }
};

std::string_view propertyElement(const CIMProperty& property) {
  if (property.getType() != CIMTYPE_REFERENCE) {
    return property.isArray() ? "PROPERTY.ARRAY" : "PROPERTY";
  }
  if (property.isArray()) {
    throw InvalidValueException("CIM-XML has no property that is an array of references");
  }
  return "PROPERTY.REFERENCE";
}

void appendPropertyAttributes(std::string& out, const CIMProperty& property) {
  appendAttribute(out, "NAME", property.getName());
  if (property.getReferenceClassName().size() != 0) {
    appendAttribute(out, "REFERENCECLASS", property.getReferenceClassName());
  }
  if (property.getClassOrigin().size() != 0) {
    appendAttribute(out, "CLASSORIGIN", property.getClassOrigin());
  }
  if (property.getPropagated()) {
    out += " PROPAGATED=\"true\"";
  }
  if (property.getType() != CIMTYPE_REFERENCE) {
    out.append(" TYPE=\"").append(cimTypeToString(property.getType())).append("\"");
  }
  if (property.getArraySize() != 0) {
    out += " ARRAYSIZE=\"";
    appendInteger(out, property.getArraySize());
    out += '"';
  }
}

const char* keyValueType(CIMKeyBinding::Type type) {
  switch (type) {
    case CIMKeyBinding::BOOLEAN:
      return "boolean";
    case CIMKeyBinding::NUMERIC:
      return "numeric";
    default:
      return "string";
  }
}

// KEYVALUE or VALUE.REFERENCE.
void appendKeyValue(std::string& out, const CIMKeyBinding& key) {
  if (key.getType() == CIMKeyBinding::REFERENCE) {
    appendScalar(out, key.getReference());
    return;
  }
  out.append("<KEYVALUE VALUETYPE=\"").append(keyValueType(key.getType())).append("\">");
  appendKeyText(out, key.getValue());
  out += "</KEYVALUE>";
}

void appendKeyBinding(std::string& out, const CIMKeyBinding& key) {
  if (key.getName().size() == 0) {
    throw InvalidValueException("a key without name beside others");
  }
  out += "<KEYBINDING";
  appendAttribute(out, "NAME", key.getName());
  out += '>';
  appendKeyValue(out, key);
  out += "</KEYBINDING>";
}

}  // namespace

void appendAttribute(std::string& out, std::string_view name, const String& value) {
  out += ' ';
  out += name;
  out += "=\"";
  appendAttributeText(out, value);
  out += '"';
}

void appendValue(std::string& out, const CIMValue& value) {
  std::visit(ValueAppender{out, value}, value.data());
}

void appendProperty(std::string& out, const CIMProperty& property) {
  appendQualifiedProperty(out, property, std::string_view());
}

void appendQualifiedProperty(std::string& out, const CIMProperty& property,
                             std::string_view qualifiers, std::string_view embeddedObject) {
  const std::string_view element = propertyElement(property);
  out.append("<").append(element);
  appendPropertyAttributes(out, property);
  if (!embeddedObject.empty()) {
    out.append(" EmbeddedObject=\"").append(embeddedObject).append("\"");
  }
  // A null value gets both tags, too: some clients do not understand an empty-element tag here.
  out += '>';
  out += qualifiers;
  if (!property.getValue().isNull()) {
    appendValue(out, property.getValue());
  }
  out.append("</").append(element).append(">");
}

void appendLocalNameSpacePath(std::string& out, const String& nameSpace) {
  out += "<LOCALNAMESPACEPATH>";
  const std::size_t empty = out.size();
  for (Uint32 start = 0; start < nameSpace.size();) {
    const Uint32 slash = std::min(nameSpace.find(start, u'/'), nameSpace.size());
    if (slash > start) {
      out += "<NAMESPACE";
      appendAttribute(out, "NAME", nameSpace.subString(start, slash - start));
      out += "/>";
    }
    start = slash + 1;
  }
  if (out.size() == empty) {
    throw InvalidValueException("an empty namespace");
  }
  out += "</LOCALNAMESPACEPATH>";
}

void appendClassName(std::string& out, const String& className) {
  out += "<CLASSNAME";
  appendAttribute(out, "NAME", className);
  out += "/>";
}

void appendInstanceName(std::string& out, const CIMObjectPath& path) {
  out += "<INSTANCENAME";
  appendAttribute(out, "CLASSNAME", path.getClassName());
  out += '>';
  const Array<CIMKeyBinding>& keys = path.getKeyBindings();
  if (keys.size() == 1 && keys[0].getName().size() == 0) {
    appendKeyValue(out, keys[0]);
  } else {
    for (const CIMKeyBinding& key : keys) {
      appendKeyBinding(out, key);
    }
  }
  out += "</INSTANCENAME>";
}

void appendObjectPath(std::string& out, const CIMObjectPath& path) {
  if (path.getNameSpace().size() == 0) {
    appendInstanceName(out, path);
    return;
  }
  if (path.getHost().size() == 0) {
    out += "<LOCALINSTANCEPATH>";
    appendLocalNameSpacePath(out, path.getNameSpace());
    appendInstanceName(out, path);
    out += "</LOCALINSTANCEPATH>";
    return;
  }
  out += "<INSTANCEPATH><NAMESPACEPATH><HOST>";
  appendElementText(out, path.getHost());
  out += "</HOST>";
  appendLocalNameSpacePath(out, path.getNameSpace());
  out += "</NAMESPACEPATH>";
  appendInstanceName(out, path);
  out += "</INSTANCEPATH>";
}

void appendInstance(std::string& out, const CIMInstance& instance) {
  out += "<INSTANCE";
  appendAttribute(out, "CLASSNAME", instance.getClassName());
  out += '>';
  for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
    appendProperty(out, instance.getProperty(i));
  }
  out += "</INSTANCE>";
}

}  // namespace Pegasus::xml
