#include "xml/values.h"

#include "common/cim_types.h"
#include "common/object_path.h"
#include "text/ascii.h"
#include "xml/decoder.h"
#include "xml/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace Pegasus::xml {

using text::equalNoCase;
using text::trimmed;

namespace {

[[noreturn]] void refuseText(const char* expected, std::string_view text) {
  throw XmlValidationError(expected + (" expected, not: " + excerpt(text)));
}

template <typename T>
T parseInteger(std::string_view text) {
  Integer integer;
  const std::errc error = readInteger(trimmed(text), integer, LeadingZero::decimal);
  const std::optional<T> number = toInteger<T>(integer.isNegative, integer.magnitude);
  if (error != std::errc() || !number) {
    refuseText("an integer of its type", text);
  }
  return *number;
}

template <typename T>
T parseReal(std::string_view text) {
  std::string_view digits = trimmed(text);
  const bool isNegative = digits.starts_with('-');
  if (isNegative || digits.starts_with('+')) {
    digits.remove_prefix(1);
  }
  T magnitude = 0;
  if (equalNoCase(digits, "INF")) {
    magnitude = std::numeric_limits<T>::infinity();
  } else if (equalNoCase(digits, "NaN")) {
    magnitude = std::numeric_limits<T>::quiet_NaN();
  } else {
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, magnitude);
    // from_chars() reads a second sign and words too.
    const bool isNumber = !digits.empty() && (digits[0] == '.' || text::isDigit(digits[0]));
    if (error != std::errc() || stop != end || !isNumber) {
      refuseText("a real of its type", text);
    }
  }
  return isNegative ? -magnitude : magnitude;
}

Boolean parseBoolean(std::string_view text) {
  const std::string_view word = trimmed(text);
  if (!equalNoCase(word, "true") && !equalNoCase(word, "false")) {
    refuseText("a boolean", text);
  }
  return equalNoCase(word, "true");
}

Char16 parseChar16(std::string_view text) {
  const String units(text);
  if (units.size() != 1) {
    refuseText("one character", text);
  }
  return units[0];
}

CIMDateTime parseDateTime(std::string_view text) {
  try {
    return CIMDateTime(String(trimmed(text)));
  } catch (const InvalidValueException&) {
    refuseText("a datetime", text);
  }
}

template <typename T>
T parseAs(std::string_view text) {
  if constexpr (std::is_same_v<T, Boolean>) {
    return parseBoolean(text);
  } else if constexpr (std::is_same_v<T, Char16>) {
    return parseChar16(text);
  } else if constexpr (std::is_floating_point_v<T>) {
    return parseReal<T>(text);
  } else if constexpr (std::is_integral_v<T>) {
    return parseInteger<T>(text);
  } else if constexpr (std::is_same_v<T, CIMDateTime>) {
    return parseDateTime(text);
  } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
    throw XmlValidationError("a reference is an element, not a text");
  } else {
    return String(text);
  }
}

// Indexed by CIMType.
const std::array<std::string_view, CIMTYPE_REFERENCE + 1> typeNames = [] {
  std::array<std::string_view, CIMTYPE_REFERENCE + 1> names;
  for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_REFERENCE; ++i) {
    names[static_cast<std::size_t>(i)] = cimTypeToString(static_cast<CIMType>(i));
  }
  return names;
}();

// The elements of an array, each read by `decode`; an empty one for VALUE.NULL.
template <typename T, typename Decode>
CIMValue decodeElements(Element element, Decode decode) {
  Array<T> array;
  std::vector<Uint32> nullElements;
  for (Element item = element.firstChild(); item; item = item.next()) {
    if (item.name() == "VALUE.NULL") {
      nullElements.push_back(array.size());
      array.append(T());
    } else {
      array.append(decode(item));
    }
  }
  CIMValue value(array);
  for (const Uint32 position : nullElements) {
    value.setNullElement(position);
  }
  return value;
}

}  // namespace

CIMType parseType(std::string_view name) {
  if (name == "string") {  // as most are
    return CIMTYPE_STRING;
  }
  // As it is usually written, and then in any letter case.
  const auto exact =
      std::find_if(typeNames.begin(), typeNames.end(), [name](std::string_view type) {
        return name.size() == type.size() && name.front() == type.front() &&
               name.back() == type.back() && name == type;
      });
  if (exact != typeNames.end()) {
    return static_cast<CIMType>(exact - typeNames.begin());
  }
  const auto same = std::find_if(typeNames.begin(), typeNames.end(), [name](std::string_view type) {
    return text::equalNoCase(name, type);
  });
  if (same == typeNames.end()) {
    refuseText("a CIM type", name);
  }
  return static_cast<CIMType>(same - typeNames.begin());
}

CIMValue parseScalar(CIMType type, std::string_view text) {
  return withType(type,
                  [text]<typename T>(std::type_identity<T>) { return CIMValue(parseAs<T>(text)); });
}

CIMValue decodeArray(CIMType type, Element element) {
  if (type == CIMTYPE_REFERENCE) {
    requireElement(element, "VALUE.REFARRAY");
    return decodeElements<CIMObjectPath>(element, decodeReference);
  }
  requireElement(element, "VALUE.ARRAY");
  return withType(type, [element]<typename T>(std::type_identity<T>) {
    return decodeElements<T>(element, [](Element item) {
      if (item.name() != "VALUE") {
        refuseText("VALUE", item.name());
      }
      return parseAs<T>(textOnly(item));
    });
  });
}

}  // namespace Pegasus::xml
