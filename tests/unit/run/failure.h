// How a part of a run fails.
#pragma once

#include <string>
#include <utility>

#include "outcome.h"

namespace run {

using Words = std::pair<Status, std::string>;

// The status and the words; Status::good if the function does not fail.
template <typename Function>
Words failureOf(const Function& function) {
  try {
    function();
  } catch (const Failure& failure) {
    return {failure.status(), failure.what()};
  }
  return {Status::good, ""};
}

}  // namespace run
