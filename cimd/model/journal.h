// The receiver of each change to the instances, before the change is made in memory.
#pragma once

#include <Pegasus/Common/String.h>

#include <string_view>

#include "model/instance_key.h"

namespace cimd {

// Both functions return only when the change is durable. When they cannot make it so, they throw
// CIMException (FAILED) and have changed nothing. A later try may succeed. One thread at a time.
class Journal {
 public:
  virtual ~Journal() = default;

  // The instance has been created under this key, or replaces the one that was there. A replacement
  // keeps the place of the first in the order of creation. `instanceXml` is its INSTANCE element
  // (DMTF DSP0201), in UTF-8.
  virtual void put(const Pegasus::String& nameSpace, const InstanceKey& key,
                   const Pegasus::String& className, std::string_view instanceXml) = 0;
  // The instance is gone. One that is not in the journal is not an error.
  virtual void remove(const Pegasus::String& nameSpace, const InstanceKey& key) = 0;
};

}  // namespace cimd
