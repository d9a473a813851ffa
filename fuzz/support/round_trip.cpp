#include "support/round_trip.h"

#include "xml/decoder.h"
#include "xml/encoder.h"
#include "xml/values.h"

#include "support/check.h"

namespace fuzz {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;

// The one number that is not equal to itself makes values unequal that are the same.
bool isReal(const CIMValue& value) {
  return value.getType() == Pegasus::CIMTYPE_REAL32 || value.getType() == Pegasus::CIMTYPE_REAL64;
}

void requireSame(const CIMValue& a, const CIMValue& b) {
  require(a.getType() == b.getType() && a.isArray() == b.isArray() && a.isNull() == b.isNull(),
          "a value has the same type after a round trip");
  require(isReal(a) || a == b, "a value is the same after a round trip");
}

void requireSame(const CIMProperty& a, const CIMProperty& b) {
  require(a.getName() == b.getName() && a.getArraySize() == b.getArraySize() &&
              a.getReferenceClassName() == b.getReferenceClassName() &&
              a.getClassOrigin() == b.getClassOrigin() && a.getPropagated() == b.getPropagated(),
          "a property is the same after a round trip");
  requireSame(a.getValue(), b.getValue());
}

}  // namespace

std::string encoded(const CIMInstance& instance) {
  std::string xml = "<VALUE.NAMEDINSTANCE>";
  Pegasus::xml::appendInstanceName(xml, instance.getPath());
  Pegasus::xml::appendInstance(xml, instance);
  return xml + "</VALUE.NAMEDINSTANCE>";
}

std::string encoded(const CIMObjectPath& path) {
  std::string xml;
  Pegasus::xml::appendObjectPath(xml, path);
  return xml;
}

std::string encoded(const CIMValue& value) {
  std::string xml;
  Pegasus::xml::appendValue(xml, value);
  return xml;
}

void requireRoundTrip(const CIMInstance& instance) {
  const std::string xml = encoded(instance);
  const Pegasus::xml::XmlDocument document(xml);
  const CIMInstance back = Pegasus::xml::decodeNamedInstance(document.root());
  require(back.getPropertyCount() == instance.getPropertyCount(),
          "no property is lost in a round trip");
  for (Pegasus::Uint32 i = 0; i < back.getPropertyCount(); ++i) {
    requireSame(instance.getProperty(i), back.getProperty(i));
  }
  require(encoded(back) == xml, "an instance has the same XML after a round trip");
}

void requireRoundTrip(const CIMObjectPath& path) {
  const std::string xml = encoded(path);
  const Pegasus::xml::XmlDocument document(xml);
  const CIMObjectPath back = Pegasus::xml::decodeObjectPath(document.root());
  require(back == path, "a path is the same after a round trip");
  require(encoded(back) == xml, "a path has the same XML after a round trip");
}

void requireRoundTrip(const CIMValue& value) {
  if (value.isNull()) {
    return;
  }
  const std::string xml = encoded(value);
  const Pegasus::xml::XmlDocument document(xml);
  const CIMValue back =
      Pegasus::xml::decodeTypedValue(value.getType(), value.isArray(), document.root());
  requireSame(value, back);
  require(encoded(back) == xml, "a value has the same XML after a round trip");
}

}  // namespace fuzz
