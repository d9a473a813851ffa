#include "mof/values.h"

#include <limits>
#include <type_traits>

#include "common/cim_types.h"
#include "text/utf16.h"
#include "xml/decoder.h"
#include "xml/text.h"

namespace cimd::mof {

namespace {

using Kind = Literal::Kind;
using Pegasus::CIMType;
using Pegasus::CIMValue;

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::null:
      return "NULL";
    case Kind::boolean:
      return "a boolean";
    case Kind::integer:
      return "an integer";
    case Kind::real:
      return "a real number";
    case Kind::character:
      return "a character";
    case Kind::string:
      return "a string";
    case Kind::alias:
      return "an alias";
  }
  return "";
}

void checkCharacters(const Literal& literal, std::u16string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const char32_t c = Pegasus::text::nextCodePoint(text, i);
    if (!Pegasus::xml::isXmlCharacter(c)) {
      throw MofError(literal.position,
                     "the text has a character that cannot be sent in CIM-XML (number " +
                         std::to_string(static_cast<unsigned>(c)) + ")");
    }
  }
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

// CIMDateTime checks the form only; this checks that clocks and calendars have the time.
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

Pegasus::CIMDateTime dateTime(const Literal& literal) {
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

// Makes values of one type from literals.
class Converter {
 public:
  Converter(CIMType type, const AliasResolver& resolveAlias)
      : typeName_(Pegasus::cimTypeToString(type)), resolveAlias_(resolveAlias) {}

  template <typename T>
  T convert(const Literal& literal) const {
    if constexpr (std::is_same_v<T, bool>) {
      expectKind(literal, Kind::boolean);
      return literal.boolean;
    } else if constexpr (std::is_same_v<T, Pegasus::Char16>) {
      return char16(literal);
    } else if constexpr (std::is_integral_v<T>) {
      return integer<T>(literal);
    } else if constexpr (std::is_floating_point_v<T>) {
      return real<T>(literal);
    } else if constexpr (std::is_same_v<T, Pegasus::CIMObjectPath>) {
      return reference(literal);
    } else {
      expectKind(literal, Kind::string);
      if constexpr (std::is_same_v<T, Pegasus::CIMDateTime>) {
        return dateTime(literal);
      } else {
        checkCharacters(literal, literal.text.view());
        return literal.text;
      }
    }
  }

 private:
  void expectKind(const Literal& literal, Kind kind) const {
    if (literal.kind != kind) {
      throw MofError(literal.position,
                     "expected a value of type " + typeName_ + ", found " + kindName(literal.kind));
    }
  }

  [[noreturn]] void refuseRange(const Literal& literal) const {
    throw MofError(literal.position, "the number does not fit in " + typeName_);
  }

  template <typename T>
  T integer(const Literal& literal) const {
    expectKind(literal, Kind::integer);
    const auto number =
        Pegasus::toInteger<T>(literal.integer.isNegative, literal.integer.magnitude);
    if (!number) {
      refuseRange(literal);
    }
    return *number;
  }

  template <typename T>
  T real(const Literal& literal) const {
    Pegasus::Real64 value = literal.real;
    if (literal.kind == Kind::integer) {
      const auto magnitude = static_cast<Pegasus::Real64>(literal.integer.magnitude);
      value = literal.integer.isNegative ? -magnitude : magnitude;
    } else {
      expectKind(literal, Kind::real);
    }
    if (value > std::numeric_limits<T>::max() || value < std::numeric_limits<T>::lowest()) {
      refuseRange(literal);
    }
    return static_cast<T>(value);
  }

  // A character constant, or the number of a character.
  Pegasus::Char16 char16(const Literal& literal) const {
    if (literal.kind != Kind::integer) {
      expectKind(literal, Kind::character);
    }
    const Pegasus::Char16 unit =
        literal.kind == Kind::integer ? integer<Pegasus::Uint16>(literal) : literal.text[0];
    checkCharacters(literal, {&unit, 1});
    return unit;
  }

  Pegasus::CIMObjectPath reference(const Literal& literal) const {
    if (literal.kind == Kind::alias) {
      return resolveAlias_(literal);
    }
    expectKind(literal, Kind::string);
    checkCharacters(literal, literal.text.view());
    return withPosition(literal.position, [&] {
      Pegasus::CIMObjectPath path = Pegasus::parseObjectPath(literal.text);
      if (path.getKeyBindings().size() > Pegasus::xml::maxKeyBindings) {
        throw MofError(literal.position, "the object path has too many keys");
      }
      return path;
    });
  }

  std::string typeName_;
  const AliasResolver& resolveAlias_;
};

template <typename T>
CIMValue arrayOf(const std::vector<Literal>& literals, const Converter& converter) {
  Pegasus::Array<T> elements;
  for (const Literal& literal : literals) {
    elements.append(literal.kind == Kind::null ? T() : converter.convert<T>(literal));
  }
  CIMValue array(elements);
  for (std::size_t i = 0; i < literals.size(); ++i) {
    if (literals[i].kind == Kind::null) {
      array.setNullElement(static_cast<Pegasus::Uint32>(i));
    }
  }
  return array;
}

}  // namespace

CIMValue typedValue(const ValueSyntax& value, const DataType& type,
                    const AliasResolver& resolveAlias) {
  if (!value.isArray && value.literals.front().kind == Kind::null) {
    return {type.type, type.isArray};
  }
  if (value.isArray != type.isArray) {
    throw MofError(value.position, type.isArray
                                       ? "expected values in braces, found a single value"
                                       : "expected a single value, found values in braces");
  }
  if (type.arraySize != 0 && value.literals.size() > type.arraySize) {
    throw MofError(value.position, "expected at most " + std::to_string(type.arraySize) +
                                       " values, found " + std::to_string(value.literals.size()));
  }
  const Converter converter(type.type, resolveAlias);
  return Pegasus::withType(type.type, [&]<typename T>(std::type_identity<T>) {
    return type.isArray ? arrayOf<T>(value.literals, converter)
                        : CIMValue(converter.convert<T>(value.literals.front()));
  });
}

CIMValue constantValue(const ValueSyntax& value, const DataType& type) {
  return typedValue(value, type, [](const Literal& alias) -> Pegasus::CIMObjectPath {
    throw MofError(alias.position, "a class cannot refer to the instance $" + alias.text.toUtf8());
  });
}

}  // namespace cimd::mof
