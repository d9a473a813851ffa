#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "text/ascii.h"

namespace Pegasus {

namespace {

// The form of a CIMDateTime: yyyymmddhhmmss.mmmmmmsutc or ddddddddhhmmss.mmmmmm:000.
constexpr std::size_t dateTimeSize = 25;
constexpr std::size_t dotPosition = 14;
constexpr std::size_t signPosition = 21;

bool isDigitOrUnknown(Char16 unit) {
  return text::isDigit(unit) || unit == u'*';
}

bool isDateTime(std::u16string_view text) {
  if (text.size() != dateTimeSize || text[dotPosition] != u'.') {
    return false;
  }
  const Char16 sign = text[signPosition];
  const auto allDigits = [text](std::size_t from, std::size_t to) {
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(from),
                       text.begin() + static_cast<std::ptrdiff_t>(to), isDigitOrUnknown);
  };
  if (!allDigits(0, dotPosition) || !allDigits(dotPosition + 1, signPosition) ||
      !allDigits(signPosition + 1, dateTimeSize)) {
    return false;
  }
  return sign == u'+' || sign == u'-' || (sign == u':' && text.substr(signPosition + 1) == u"000");
}

// The CIM type that each C++ type stands for.
template <typename T>
struct TypeOf;
#define TYPE_OF(cppType, cimType)             \
  template <>                                 \
  struct TypeOf<cppType> {                    \
    static constexpr CIMType type = cimType;  \
    static constexpr Boolean isArray = false; \
  };                                          \
  template <>                                 \
  struct TypeOf<Array<cppType>> {             \
    static constexpr CIMType type = cimType;  \
    static constexpr Boolean isArray = true;  \
  }
TYPE_OF(Boolean, CIMTYPE_BOOLEAN);
TYPE_OF(Uint8, CIMTYPE_UINT8);
TYPE_OF(Sint8, CIMTYPE_SINT8);
TYPE_OF(Uint16, CIMTYPE_UINT16);
TYPE_OF(Sint16, CIMTYPE_SINT16);
TYPE_OF(Uint32, CIMTYPE_UINT32);
TYPE_OF(Sint32, CIMTYPE_SINT32);
TYPE_OF(Uint64, CIMTYPE_UINT64);
TYPE_OF(Sint64, CIMTYPE_SINT64);
TYPE_OF(Real32, CIMTYPE_REAL32);
TYPE_OF(Real64, CIMTYPE_REAL64);
TYPE_OF(Char16, CIMTYPE_CHAR16);
TYPE_OF(String, CIMTYPE_STRING);
TYPE_OF(CIMDateTime, CIMTYPE_DATETIME);
TYPE_OF(CIMObjectPath, CIMTYPE_REFERENCE);
#undef TYPE_OF

template <typename T>
void getAs(const CIMValue& from, T& value) {
  if (from.getType() != TypeOf<T>::type || from.isArray() != TypeOf<T>::isArray) {
    throw TypeMismatchException();
  }
  if (!from.isNull()) {
    value = std::get<T>(from.data());
  }
}

template <typename T>
concept Arithmetic = std::is_arithmetic_v<T>;

// A real with 17 digits, which are enough to read the same number back.
template <Arithmetic Number>
String digits(Number number) {
  std::array<char, 32> buffer;  // the longest takes 24
  std::to_chars_result result;
  if constexpr (std::is_floating_point_v<Number>) {
    result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), Real64{number},
                           std::chars_format::scientific, 16);
  } else {
    result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  }
  return String(std::string(buffer.data(), result.ptr));
}

// The text form of each type. The overload for Boolean is chosen by exact type.
String textOf(std::monostate) {
  return {};
}
String textOf(Boolean value) {
  return {value ? "TRUE" : "FALSE"};
}
String textOf(Char16 value) {
  return String(std::u16string(1, value));
}
String textOf(const String& value) {
  return value;
}
String textOf(const CIMDateTime& value) {
  return value.toString();
}
String textOf(const CIMObjectPath& value) {
  return value.toString();
}
template <Arithmetic Number>
String textOf(Number value) {
  return digits(value);
}

// More than any property holds. The text of a path may be far longer than the XML that it came in.
constexpr Uint32 maxTextSize = Uint32{16} << 20U;

template <typename T>
String textOf(const Array<T>& values) {
  String text;
  for (const T& value : values) {
    text += textOf(value);
    text += u' ';
    if (text.size() > maxTextSize) {
      throw InvalidValueException("an array is too long for a text");
    }
  }
  return text;
}

template <typename T>
Uint32 elementCount(const Array<T>& values) {
  return values.size();
}
// Not an array.
template <typename T>
Uint32 elementCount(const T&) {
  return 0;
}

}  // namespace

const char* cimTypeToString(CIMType type) {
  static constexpr std::array<std::string_view, CIMTYPE_REFERENCE + 1> names{
      "boolean", "uint8",  "sint8",  "uint16", "sint16", "uint32",   "sint32",   "uint64",
      "sint64",  "real32", "real64", "char16", "string", "datetime", "reference"};
  const auto index = static_cast<std::size_t>(type);
  if (index >= names.size()) {
    return "unknown";
  }
  return names[index].data();
}

CIMDateTime::CIMDateTime() : text_("00000000000000.000000:000") {}

CIMDateTime::CIMDateTime(const String& text) : text_(text) {
  if (!isDateTime(text.view())) {
    throw InvalidValueException(String("not a date and time: ") + text);
  }
}

Boolean CIMDateTime::isInterval() const {
  return text_[signPosition] == u':';
}

#define CONSTRUCT_AND_GET(cppType)           \
  CIMValue::CIMValue(cppType value)          \
      : type_(TypeOf<cppType>::type),        \
        isArray_(TypeOf<cppType>::isArray),  \
        data_(std::move(value)) {}           \
  void CIMValue::get(cppType& value) const { \
    getAs(*this, value);                     \
  }
#define CONSTRUCT_AND_GET_BOTH(cppType) \
  CONSTRUCT_AND_GET(cppType)            \
  CONSTRUCT_AND_GET(Array<cppType>)
CONSTRUCT_AND_GET_BOTH(Boolean)
CONSTRUCT_AND_GET_BOTH(Uint8)
CONSTRUCT_AND_GET_BOTH(Sint8)
CONSTRUCT_AND_GET_BOTH(Uint16)
CONSTRUCT_AND_GET_BOTH(Sint16)
CONSTRUCT_AND_GET_BOTH(Uint32)
CONSTRUCT_AND_GET_BOTH(Sint32)
CONSTRUCT_AND_GET_BOTH(Uint64)
CONSTRUCT_AND_GET_BOTH(Sint64)
CONSTRUCT_AND_GET_BOTH(Real32)
CONSTRUCT_AND_GET_BOTH(Real64)
CONSTRUCT_AND_GET_BOTH(Char16)
CONSTRUCT_AND_GET_BOTH(String)
CONSTRUCT_AND_GET_BOTH(CIMDateTime)
CONSTRUCT_AND_GET_BOTH(CIMObjectPath)
#undef CONSTRUCT_AND_GET_BOTH
#undef CONSTRUCT_AND_GET

CIMValue::CIMValue(const char* value) : CIMValue(String(value)) {}

Uint32 CIMValue::getArraySize() const {
  return std::visit([](const auto& value) { return elementCount(value); }, data_);
}

Boolean CIMValue::isNullElement(Uint32 position) const {
  return std::binary_search(nullElements_.begin(), nullElements_.end(), position);
}

void CIMValue::setNullElement(Uint32 position) {
  if (position >= getArraySize()) {
    throw IndexOutOfBoundsException();
  }
  const auto place = std::lower_bound(nullElements_.begin(), nullElements_.end(), position);
  if (place == nullElements_.end() || *place != position) {
    nullElements_.insert(place, position);
  }
}

String CIMValue::toString() const {
  return std::visit([](const auto& value) { return textOf(value); }, data_);
}

Boolean operator==(const CIMValue& a, const CIMValue& b) {
  return a.type_ == b.type_ && a.isArray_ == b.isArray_ && a.data_ == b.data_ &&
         a.nullElements_ == b.nullElements_;
}

}  // namespace Pegasus
