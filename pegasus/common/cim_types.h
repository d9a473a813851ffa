// The C++ type for each CIM type, and integers that must fit it.
#pragma once

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Exception.h>

#include <limits>
#include <optional>
#include <type_traits>

namespace Pegasus {

// Calls `visitor` with std::type_identity<T>(), where T is the C++ type for one value of the CIM
// type, and returns what the visitor returns, which must be of the same type for every T.
template <typename Visitor>
auto withType(CIMType type, Visitor visitor) {
  switch (type) {
    case CIMTYPE_BOOLEAN:
      return visitor(std::type_identity<Boolean>());
    case CIMTYPE_UINT8:
      return visitor(std::type_identity<Uint8>());
    case CIMTYPE_SINT8:
      return visitor(std::type_identity<Sint8>());
    case CIMTYPE_UINT16:
      return visitor(std::type_identity<Uint16>());
    case CIMTYPE_SINT16:
      return visitor(std::type_identity<Sint16>());
    case CIMTYPE_UINT32:
      return visitor(std::type_identity<Uint32>());
    case CIMTYPE_SINT32:
      return visitor(std::type_identity<Sint32>());
    case CIMTYPE_UINT64:
      return visitor(std::type_identity<Uint64>());
    case CIMTYPE_SINT64:
      return visitor(std::type_identity<Sint64>());
    case CIMTYPE_REAL32:
      return visitor(std::type_identity<Real32>());
    case CIMTYPE_REAL64:
      return visitor(std::type_identity<Real64>());
    case CIMTYPE_CHAR16:
      return visitor(std::type_identity<Char16>());
    case CIMTYPE_STRING:
      return visitor(std::type_identity<String>());
    case CIMTYPE_DATETIME:
      return visitor(std::type_identity<CIMDateTime>());
    case CIMTYPE_REFERENCE:
      return visitor(std::type_identity<CIMObjectPath>());
  }
  throw InvalidValueException("not a CIM type");
}

// The integer with this sign and absolute value, or nothing when it does not fit in T.
template <typename T>
constexpr std::optional<T> toInteger(bool isNegative, Uint64 magnitude) {
  constexpr auto largest = static_cast<Uint64>(std::numeric_limits<T>::max());
  // The least number of a signed type is one further from 0 than the largest.
  constexpr Uint64 least = std::is_signed_v<T> ? largest + 1 : 0;
  if (magnitude > (isNegative ? least : largest)) {
    return std::nullopt;
  }
  return static_cast<T>(isNegative ? 0 - magnitude : magnitude);
}

}  // namespace Pegasus
