// Demands that what has been decoded can be sent again and is the same then.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>

namespace fuzz {

// What the instance's name has is encoded as well: class and keys.
void requireRoundTrip(const Pegasus::CIMInstance& instance);
void requireRoundTrip(const Pegasus::CIMObjectPath& path);
void requireRoundTrip(const Pegasus::CIMValue& value);

// As the XML that it is sent as.
std::string encoded(const Pegasus::CIMInstance& instance);
std::string encoded(const Pegasus::CIMObjectPath& path);
std::string encoded(const Pegasus::CIMValue& value);

}  // namespace fuzz
