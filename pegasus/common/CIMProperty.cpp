#include <Pegasus/Common/CIMProperty.h>

namespace Pegasus {

CIMProperty::CIMProperty(String name, CIMValue value, Uint32 arraySize, String referenceClassName,
                         String classOrigin, Boolean propagated)
    : name_(std::move(name)),
      value_(std::move(value)),
      arraySize_(arraySize),
      referenceClassName_(std::move(referenceClassName)),
      classOrigin_(std::move(classOrigin)),
      propagated_(propagated) {}

}  // namespace Pegasus
