// Where changes of published instances are written down before they are made.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/String.h>

#include "cimd/model/InstanceKey.h"

namespace cimd {

// Each call returns only when the change is durable. It throws CIMException (CIM_ERR_FAILED) when
// it cannot make it so; the change is then not made at all.
class Journal {
 public:
  virtual ~Journal() = default;

  // The instance, with its path, is new or replaces the one with this key.
  virtual void put(const Pegasus::String& nameSpace, const InstanceKey& key,
                   const Pegasus::CIMInstance& instance) = 0;
  // The instance is gone. One that is not known is passed over.
  virtual void remove(const Pegasus::String& nameSpace, const InstanceKey& key) = 0;
};

}  // namespace cimd
