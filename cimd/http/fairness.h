// The shares of the accounts: whose request the server works on next, and whose large requests and
// answers stay in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <utility>

#include "http/connection_owner.h"

namespace cimd {

// --- turns

enum class Turn {
  // Up to 64 KiB, with an answer of one part.
  small,
  large,
  // The next part of a large one.
  next
};

// Small ones go first, so that they do not wait for large ones; after some of them it is the turn
// of a large one all the same. Among small and among large ones accounts take turns, so that none
// waits for more than one request of each other account, however many those have. A large one that
// was begun is finished before its account begins another.
class Turns {
 public:
  // Does one part of the work; false when there was nothing to do any more.
  using Job = std::function<bool()>;

  void add(const Owner& owner, Turn turn, Job job) {
    (turn == Turn::small ? small_ : large_).add(owner, turn == Turn::next, std::move(job));
  }

  // There must be one.
  Job next() {
    const bool isSmall = large_.isEmpty() || (!small_.isEmpty() && smallInRow_ < mostInRow);
    smallInRow_ = isSmall ? smallInRow_ % mostInRow + 1 : 0;
    return (isSmall ? small_ : large_).next();
  }

  bool isEmpty() const { return small_.isEmpty() && large_.isEmpty(); }
  // After a large one, and after some small ones, it is time to see what else has come.
  bool isRoundOver() const { return smallInRow_ == 0 || smallInRow_ == mostInRow; }

 private:
  static constexpr std::size_t mostInRow = 16;

  class Round {
   public:
    void add(const Owner& owner, bool isFirst, Job job) {
      auto place = std::find_if(accounts_.begin(), accounts_.end(),
                                [&](const Account& account) { return account.owner == owner; });
      if (place == accounts_.end()) {
        place = accounts_.insert(place, Account{owner, {}});
      }
      place->jobs.insert(isFirst ? place->jobs.begin() : place->jobs.end(), std::move(job));
    }
    Job next() {
      Account& account = accounts_.front();
      Job job = std::move(account.jobs.front());
      account.jobs.pop_front();
      accounts_.splice(accounts_.end(), accounts_, accounts_.begin());
      if (account.jobs.empty()) {
        accounts_.pop_back();
      }
      return job;
    }
    bool isEmpty() const { return accounts_.empty(); }

   private:
    // Those with jobs, in the order of their turns.
    struct Account {
      Owner owner;
      std::deque<Job> jobs;
    };
    std::list<Account> accounts_;
  };

  Round small_;
  Round large_;
  std::size_t smallInRow_ = 0;
};

// --- memory

class MemoryShare;

// A bound on what the large requests and answers of all connections together keep in memory.
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
