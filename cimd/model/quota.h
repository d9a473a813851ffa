// How much clients may publish.
#pragma once

#include <cstddef>
#include <string>

#include "model/errors.h"

namespace cimd {

// For all namespaces together. Instances that were stored with other limits are loaded and counted
// all the same: then instances can be changed to smaller ones and deleted, but not created.
struct Quota {
  std::size_t maxInstances = 10'000;
  // The size of their CIM-XML. In memory an instance takes about four times as much.
  std::size_t maxBytes = std::size_t{64} << 20U;
  std::size_t instances = 0;
  std::size_t bytes = 0;

  bool isExceeded() const { return instances > maxInstances || bytes > maxBytes; }

  // Throws CIMException (SERVER_LIMITS_EXCEEDED) when there is no place for one more instance, or
  // for this many bytes more.
  void checkInstance(std::size_t size) const {
    if (instances >= maxInstances) {
      refuse("there are " + std::to_string(instances) + " published instances");
    }
    checkBytes(size);
  }
  void checkBytes(std::size_t more) const {
    if (more > maxBytes || bytes > maxBytes - more) {
      refuse("published instances would have more than " + std::to_string(maxBytes) + " bytes");
    }
  }

 private:
  [[noreturn]] static void refuse(const std::string& detail) {
    throwCimError(Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED, Pegasus::String(detail));
  }
};

}  // namespace cimd
