// A typed CIM value: null or not, scalar or array (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/String.h>

#include <variant>
#include <vector>

namespace Pegasus {

class CIMValue {
 public:
  // Every C++ type that a value can hold; for each there is a constructor and a get().
  using Data = std::variant<std::monostate, Boolean, Uint8, Sint8, Uint16, Sint16, Uint32, Sint32,
                            Uint64, Sint64, Real32, Real64, Char16, String, CIMDateTime,
                            CIMObjectPath, Array<Boolean>, Array<Uint8>, Array<Sint8>,
                            Array<Uint16>, Array<Sint16>, Array<Uint32>, Array<Sint32>,
                            Array<Uint64>, Array<Sint64>, Array<Real32>, Array<Real64>,
                            Array<Char16>, Array<String>, Array<CIMDateTime>, Array<CIMObjectPath>>;

  // A null string.
  CIMValue() = default;
  // A null value of the given type.
  CIMValue(CIMType type, Boolean isArray) : type_(type), isArray_(isArray) {}

  // From each type that it can hold; implicit, so that a plain value can be passed as a CIMValue.
  CIMValue(Boolean value);
  CIMValue(Uint8 value);
  CIMValue(Sint8 value);
  CIMValue(Uint16 value);
  CIMValue(Sint16 value);
  CIMValue(Uint32 value);
  CIMValue(Sint32 value);
  CIMValue(Uint64 value);
  CIMValue(Sint64 value);
  CIMValue(Real32 value);
  CIMValue(Real64 value);
  CIMValue(Char16 value);
  CIMValue(String value);
  CIMValue(const char* value);  // a string, never a Boolean
  CIMValue(CIMDateTime value);
  CIMValue(CIMObjectPath value);
  CIMValue(Array<Boolean> value);
  CIMValue(Array<Uint8> value);
  CIMValue(Array<Sint8> value);
  CIMValue(Array<Uint16> value);
  CIMValue(Array<Sint16> value);
  CIMValue(Array<Uint32> value);
  CIMValue(Array<Sint32> value);
  CIMValue(Array<Uint64> value);
  CIMValue(Array<Sint64> value);
  CIMValue(Array<Real32> value);
  CIMValue(Array<Real64> value);
  CIMValue(Array<Char16> value);
  CIMValue(Array<String> value);
  CIMValue(Array<CIMDateTime> value);
  CIMValue(Array<CIMObjectPath> value);

  CIMType getType() const { return type_; }
  Boolean isArray() const { return isArray_; }
  Boolean isNull() const { return std::holds_alternative<std::monostate>(data_); }
  // The number of elements; 0 for a null value and for one that is not an array.
  Uint32 getArraySize() const;

  // Copies the value out. Another type, or an array where a scalar is asked (and the reverse),
  // throws TypeMismatchException, null or not. A null value of the right type leaves the argument
  // unchanged.
  void get(Boolean& value) const;
  void get(Uint8& value) const;
  void get(Sint8& value) const;
  void get(Uint16& value) const;
  void get(Sint16& value) const;
  void get(Uint32& value) const;
  void get(Sint32& value) const;
  void get(Uint64& value) const;
  void get(Sint64& value) const;
  void get(Real32& value) const;
  void get(Real64& value) const;
  void get(Char16& value) const;
  void get(String& value) const;
  void get(CIMDateTime& value) const;
  void get(CIMObjectPath& value) const;
  void get(Array<Boolean>& value) const;
  void get(Array<Uint8>& value) const;
  void get(Array<Sint8>& value) const;
  void get(Array<Uint16>& value) const;
  void get(Array<Sint16>& value) const;
  void get(Array<Uint32>& value) const;
  void get(Array<Sint32>& value) const;
  void get(Array<Uint64>& value) const;
  void get(Array<Sint64>& value) const;
  void get(Array<Real32>& value) const;
  void get(Array<Real64>& value) const;
  void get(Array<Char16>& value) const;
  void get(Array<String>& value) const;
  void get(Array<CIMDateTime>& value) const;
  void get(Array<CIMObjectPath>& value) const;

  // An element of an array can be null while the array is not (DSP0201 VALUE.NULL); for get(),
  // toString() and data() it is the type's zero or empty value. Positions count from 0.
  Boolean isNullElement(Uint32 position) const;
  // Throws IndexOutOfBoundsException unless this is an array with such an element.
  void setNullElement(Uint32 position);

  // Null gives the empty text; strings and datetimes as they are, without quotes; integers in plain
  // decimal digits; reals as 1.5000000000000000e+00, inf or nan; booleans TRUE or FALSE; references
  // as object paths; arrays as their elements with a blank after each: "1 2 ".
  // Throws InvalidValueException for an object path of more than 1 Mi code units and an array of
  // more than 16 Mi.
  String toString() const;

  // The held alternative, for code that visits every type; monostate when null.
  const Data& data() const { return data_; }

  // Same type, same kind, same value, null elements at the same positions; two nulls of one type
  // are equal.
  friend Boolean operator==(const CIMValue& a, const CIMValue& b);

 private:
  CIMType type_ = CIMTYPE_STRING;
  Boolean isArray_ = false;
  Data data_;
  // Positions, ascending.
  std::vector<Uint32> nullElements_;
};

}  // namespace Pegasus
