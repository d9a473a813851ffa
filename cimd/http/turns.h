// Whose request the server works on next.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <utility>

#include "http/connection_owner.h"

namespace cimd {

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

}  // namespace cimd
