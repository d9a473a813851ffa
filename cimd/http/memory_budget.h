// A bound on what all connections together keep in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace cimd {

class MemoryBudget {
 public:
  explicit MemoryBudget(std::size_t bytes) : free_(bytes) {}
  MemoryBudget(const MemoryBudget&) = delete;
  MemoryBudget& operator=(const MemoryBudget&) = delete;

 private:
  friend class MemoryShare;
  std::size_t free_;
};

// What one connection has of the budget; given back at its end.
class MemoryShare {
 public:
  explicit MemoryShare(std::shared_ptr<MemoryBudget> budget) : budget_(std::move(budget)) {}
  ~MemoryShare() { resize(0); }
  MemoryShare(const MemoryShare&) = delete;
  MemoryShare& operator=(const MemoryShare&) = delete;

  // Makes the share this large. False, and nothing has changed, when that is more than is left.
  bool resize(std::size_t bytes) {
    const std::size_t available = budget_->free_ + bytes_;
    if (bytes > available) {
      return false;
    }
    budget_->free_ = available - bytes;
    bytes_ = bytes;
    return true;
  }

 private:
  std::shared_ptr<MemoryBudget> budget_;
  std::size_t bytes_ = 0;
};

}  // namespace cimd
