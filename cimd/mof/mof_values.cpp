#include "mof/mof_values.h"

#include "xml/xml_text.h"

#include <limits>
#include <type_traits>

namespace cimd::mof {

namespace {

using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::String;

const char* kindName(Literal::Kind kind) {
  switch (kind) {
    case Literal::NULL_VALUE:
      return "NULL";
    case Literal::BOOLEAN:
      return "a boolean";
    case Literal::INTEGER:
      return "an integer";
    case Literal::REAL:
      return "a real number";
    case Literal::CHAR:
      return "a character";
    case Literal::STRING:
      return "a string";
    case Literal::ALIAS:
      return "an alias";
  }
  return "";
}

void expectKind(const Literal& literal, Literal::Kind kind, const char* typeName) {
  if (literal.kind != kind) {
    throw MofError(literal.position, std::string("expected a value of type ") + typeName +
                                         ", found " + kindName(literal.kind));
  }
}

void checkCharacters(const Literal& literal, std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    const bool isPair = unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() &&
                        text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
    if (isPair) {
      ++i;
    } else if (!Pegasus::xml::isXmlCharacter(unit)) {
      throw MofError(literal.position,
                     "the text has a character that cannot be sent in CIM-XML (number " +
                         std::to_string(static_cast<unsigned>(unit)) + ")");
    }
  }
}

template <typename T>
T integer(const Literal& literal, const char* typeName) {
  expectKind(literal, Literal::INTEGER, typeName);
  constexpr auto largest = static_cast<Pegasus::Uint64>(std::numeric_limits<T>::max());
  // Of a signed type the least number is one further from 0 than the largest.
  constexpr Pegasus::Uint64 least = std::is_signed_v<T> ? largest + 1 : 0;
  if (literal.magnitude > (literal.isNegative ? least : largest)) {
    throw MofError(literal.position, std::string("the number does not fit in ") + typeName);
  }
  return static_cast<T>(literal.isNegative ? 0 - literal.magnitude : literal.magnitude);
}

template <typename T>
T real(const Literal& literal, const char* typeName) {
  Pegasus::Real64 value = literal.real;
  if (literal.kind == Literal::INTEGER) {
    const auto magnitude = static_cast<Pegasus::Real64>(literal.magnitude);
    value = literal.isNegative ? -magnitude : magnitude;
  } else {
    expectKind(literal, Literal::REAL, typeName);
  }
  if (value > std::numeric_limits<T>::max() || value < std::numeric_limits<T>::lowest()) {
    throw MofError(literal.position, std::string("the number does not fit in ") + typeName);
  }
  return static_cast<T>(value);
}

Pegasus::Char16 char16(const Literal& literal, const char* typeName) {
  if (literal.kind == Literal::INTEGER) {
    const Pegasus::Char16 number = integer<Pegasus::Uint16>(literal, typeName);
    checkCharacters(literal, {&number, 1});
    return number;
  }
  expectKind(literal, Literal::CHAR, typeName);
  checkCharacters(literal, literal.text.view());
  return literal.text[0];
}

String text(const Literal& literal, const char* typeName) {
  expectKind(literal, Literal::STRING, typeName);
  checkCharacters(literal, literal.text.view());
  return literal.text;
}

// Whether the two digits are in the range; asterisks, for unknown ones, are in every range.
bool isWithin(std::u16string_view text, std::size_t at, int least, int most) {
  const std::u16string_view digits = text.substr(at, 2);
  if (digits.find(u'*') != std::u16string_view::npos) {
    return true;
  }
  const int number = (digits[0] - u'0') * 10 + (digits[1] - u'0');
  return number >= least && number <= most;
}

// Of a text in the form of a datetime: whether clocks and calendars have it.
bool isPossible(const Pegasus::CIMDateTime& value) {
  const std::u16string_view text = value.toString().view();
  constexpr std::size_t month = 4;
  constexpr std::size_t day = 6;
  constexpr std::size_t hour = 8;
  constexpr std::size_t minute = 10;
  constexpr std::size_t second = 12;
  // Seconds up to 60: there are leap seconds.
  return (value.isInterval() || (isWithin(text, month, 1, 12) && isWithin(text, day, 1, 31))) &&
         isWithin(text, hour, 0, 23) && isWithin(text, minute, 0, 59) &&
         isWithin(text, second, 0, 60);
}

Pegasus::CIMDateTime dateTime(const Literal& literal, const char* typeName) {
  expectKind(literal, Literal::STRING, typeName);
  try {
    Pegasus::CIMDateTime value(literal.text);
    if (isPossible(value)) {
      return value;
    }
  } catch (const Pegasus::Exception&) {
    // Not of this form: the same error as for a month that no year has.
  }
  throw MofError(literal.position, "expected a datetime such as \"20261121093000.000000+060\"");
}

Pegasus::CIMObjectPath reference(const Literal& literal, const char* typeName,
                                 const AliasResolver& resolveAlias) {
  if (literal.kind == Literal::ALIAS) {
    return resolveAlias(literal);
  }
  expectKind(literal, Literal::STRING, typeName);
  checkCharacters(literal, literal.text.view());
  return parseObjectPath(literal.text, literal.position);
}

template <typename Convert>
CIMValue collect(const Value& value, CIMType type, Convert convert) {
  const char* typeName = Pegasus::cimTypeToString(type);
  using T = decltype(convert(value.literals.front(), typeName));
  if (!value.isArray) {
    return CIMValue(convert(value.literals.front(), typeName));
  }
  Pegasus::Array<T> elements;
  for (const Literal& literal : value.literals) {
    elements.append(literal.kind == Literal::NULL_VALUE ? T() : convert(literal, typeName));
  }
  CIMValue array(elements);
  for (std::size_t i = 0; i < value.literals.size(); ++i) {
    if (value.literals[i].kind == Literal::NULL_VALUE) {
      array.setNullElement(static_cast<Pegasus::Uint32>(i));
    }
  }
  return array;
}

}  // namespace

CIMValue typedValue(const Value& value, CIMType type, bool isArray, Pegasus::Uint32 arraySize,
                    const AliasResolver& resolveAlias) {
  if (!value.isArray && value.literals.front().kind == Literal::NULL_VALUE) {
    return {type, isArray};
  }
  if (value.isArray != isArray) {
    throw MofError(value.position, isArray ? "expected values in braces, found a single value"
                                           : "expected a single value, found values in braces");
  }
  if (arraySize != 0 && value.literals.size() > arraySize) {
    throw MofError(value.position, "expected at most " + std::to_string(arraySize) +
                                       " values, found " + std::to_string(value.literals.size()));
  }
  switch (type) {
    case Pegasus::CIMTYPE_BOOLEAN:
      return collect(value, type, [](const Literal& literal, const char* typeName) {
        expectKind(literal, Literal::BOOLEAN, typeName);
        return literal.boolean;
      });
    case Pegasus::CIMTYPE_UINT8:
      return collect(value, type, integer<Pegasus::Uint8>);
    case Pegasus::CIMTYPE_SINT8:
      return collect(value, type, integer<Pegasus::Sint8>);
    case Pegasus::CIMTYPE_UINT16:
      return collect(value, type, integer<Pegasus::Uint16>);
    case Pegasus::CIMTYPE_SINT16:
      return collect(value, type, integer<Pegasus::Sint16>);
    case Pegasus::CIMTYPE_UINT32:
      return collect(value, type, integer<Pegasus::Uint32>);
    case Pegasus::CIMTYPE_SINT32:
      return collect(value, type, integer<Pegasus::Sint32>);
    case Pegasus::CIMTYPE_UINT64:
      return collect(value, type, integer<Pegasus::Uint64>);
    case Pegasus::CIMTYPE_SINT64:
      return collect(value, type, integer<Pegasus::Sint64>);
    case Pegasus::CIMTYPE_REAL32:
      return collect(value, type, real<Pegasus::Real32>);
    case Pegasus::CIMTYPE_REAL64:
      return collect(value, type, real<Pegasus::Real64>);
    case Pegasus::CIMTYPE_CHAR16:
      return collect(value, type, char16);
    case Pegasus::CIMTYPE_STRING:
      return collect(value, type, text);
    case Pegasus::CIMTYPE_DATETIME:
      return collect(value, type, dateTime);
    case Pegasus::CIMTYPE_REFERENCE:
      return collect(value, type, [&](const Literal& literal, const char* typeName) {
        return reference(literal, typeName, resolveAlias);
      });
  }
  throw MofError(value.position, "unknown type");
}

}  // namespace cimd::mof
