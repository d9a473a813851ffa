#include "http/memory_budget.h"

namespace cimd {

MemoryShare::~MemoryShare() {
  resize(0);
}

bool MemoryShare::resize(std::size_t bytes) {
  const std::size_t available = budget_->free_ + bytes_;
  if (bytes > available) {
    return false;
  }
  budget_->free_ = available - bytes;
  bytes_ = bytes;
  return true;
}

}  // namespace cimd
