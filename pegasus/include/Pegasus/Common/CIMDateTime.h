// A CIM date and time or interval (DMTF DSP0004, type datetime).
#pragma once

#include <Pegasus/Common/String.h>

namespace Pegasus {

// Holds the 25-character form as it was given: yyyymmddhhmmss.mmmmmmsutc for a point in time,
// ddddddddhhmmss.mmmmmm:000 for an interval; asterisks stand for unknown digits.
class CIMDateTime {
 public:
  // The interval of no length, "00000000000000.000000:000".
  CIMDateTime();
  // Throws InvalidValueException when the text is of neither form.
  explicit CIMDateTime(const String& text);

  const String& toString() const { return text_; }
  Boolean isInterval() const;

  friend Boolean operator==(const CIMDateTime& a, const CIMDateTime& b) {
    return a.text_ == b.text_;
  }

 private:
  String text_;
};

}  // namespace Pegasus
