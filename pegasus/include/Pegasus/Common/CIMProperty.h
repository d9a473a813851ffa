// A property of an instance: a name and a typed value (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/String.h>

#include <utility>

namespace Pegasus {

class CIMProperty {
 public:
  // `arraySize` is the fixed size of an array property, 0 for a variable-length array or a scalar.
  // `referenceClassName` is the class that a reference property points to, empty for others.
  // `classOrigin` is the class that introduced the property; `propagated` is true when an instance
  // has it from a superclass unchanged. Both are the server's to fill.
  CIMProperty(String name, CIMValue value, Uint32 arraySize = 0,
              String referenceClassName = String::EMPTY, String classOrigin = String::EMPTY,
              Boolean propagated = false)
      : name_(std::move(name)),
        value_(std::move(value)),
        arraySize_(arraySize),
        referenceClassName_(std::move(referenceClassName)),
        classOrigin_(std::move(classOrigin)),
        propagated_(propagated) {}

  const String& getName() const { return name_; }
  const CIMValue& getValue() const { return value_; }
  void setValue(CIMValue value) { value_ = std::move(value); }
  CIMType getType() const { return value_.getType(); }
  Boolean isArray() const { return value_.isArray(); }
  Uint32 getArraySize() const { return arraySize_; }
  const String& getReferenceClassName() const { return referenceClassName_; }
  const String& getClassOrigin() const { return classOrigin_; }
  Boolean getPropagated() const { return propagated_; }

 private:
  String name_;
  CIMValue value_;
  Uint32 arraySize_;
  String referenceClassName_;
  String classOrigin_;
  Boolean propagated_;
};

}  // namespace Pegasus
