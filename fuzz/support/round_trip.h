// Requires that decoded objects can be sent again and are then the same.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>

namespace fuzz {

// The instance with its name: class and keys.
void requireRoundTrip(const Pegasus::CIMInstance& instance);
void requireRoundTrip(const Pegasus::CIMObjectPath& path);
void requireRoundTrip(const Pegasus::CIMValue& value);

// The XML that is sent.
std::string encoded(const Pegasus::CIMInstance& instance);
std::string encoded(const Pegasus::CIMObjectPath& path);
std::string encoded(const Pegasus::CIMValue& value);

}  // namespace fuzz
