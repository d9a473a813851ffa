// A bound on what the large requests and answers of all connections together keep in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <utility>

#include "http/connection_owner.h"

namespace cimd {

class MemoryShare;

class MemoryBudget {
 public:
  // Shares of up to `small` bytes do not count: there are no more of them than connections. So
  // however many large ones there are, a small request is served.
  MemoryBudget(std::size_t bytes, std::size_t small) : total_(bytes), free_(bytes), small_(small) {}
  MemoryBudget(const MemoryBudget&) = delete;
  MemoryBudget& operator=(const MemoryBudget&) = delete;

 private:
  friend class MemoryShare;
  std::size_t total_;
  std::size_t free_;
  std::size_t small_;
  // The shares that count, the oldest first.
  std::list<MemoryShare*> holders_;
};

// The part of the budget that one connection uses; given back at its end.
class MemoryShare {
 public:
  // `owner` is the account that the memory is for. `yield` ends the connection. It is called when
  // the share must make room for another.
  MemoryShare(std::shared_ptr<MemoryBudget> budget, const Owner& owner, std::function<void()> yield)
      : budget_(std::move(budget)), owner_(owner), yield_(std::move(yield)) {}
  ~MemoryShare() { release(); }
  MemoryShare(const MemoryShare&) = delete;
  MemoryShare& operator=(const MemoryShare&) = delete;

  // Makes the share this large. When too little is left, the account that would have the most of
  // the budget gives up its oldest share: that of the connection that has taken longest. False when
  // that is this share itself or the whole budget would not do; then nothing has changed for it.
  bool resize(std::size_t bytes) {
    const std::size_t counted = bytes > budget_->small_ ? bytes : 0;
    if (counted > budget_->total_) {
      return false;
    }
    while (counted > budget_->free_ + counted_) {
      MemoryShare* const oldest = oldestOfLargest(counted);
      if (oldest == nullptr || oldest == this) {
        return false;
      }
      oldest->release();
      oldest->yield_();
    }
    if (counted != 0 && counted_ == 0) {
      budget_->holders_.push_back(this);
    } else if (counted == 0) {
      release();
      return true;
    }
    budget_->free_ = budget_->free_ + counted_ - counted;
    counted_ = counted;
    return true;
  }

 private:
  // The oldest share of the account that has the most when this share has `wanted` bytes; null when
  // that has no other share yet.
  MemoryShare* oldestOfLargest(std::size_t wanted) {
    std::map<Owner, std::size_t> sums{{owner_, wanted - counted_}};
    for (const MemoryShare* share : budget_->holders_) {
      sums[share->owner_] += share->counted_;
    }
    const auto most = std::max_element(
        sums.begin(), sums.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    const auto oldest =
        std::find_if(budget_->holders_.begin(), budget_->holders_.end(),
                     [&](const MemoryShare* share) { return share->owner_ == most->first; });
    return oldest == budget_->holders_.end() ? nullptr : *oldest;
  }

  void release() {
    if (counted_ != 0) {
      budget_->free_ += counted_;
      counted_ = 0;
      budget_->holders_.remove(this);
    }
  }

  std::shared_ptr<MemoryBudget> budget_;
  Owner owner_;
  std::function<void()> yield_;
  std::size_t counted_ = 0;
};

}  // namespace cimd
