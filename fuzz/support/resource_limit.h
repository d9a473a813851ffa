// Requires that memory and work stay in proportion to the input.
#pragma once

#include <cstddef>

namespace fuzz {

// A number that may grow with the input.
struct Bound {
  std::size_t base;
  std::size_t perByte;

  std::size_t of(std::size_t inputSize) const { return base + perByte * inputSize; }
};

// During its lifetime, at most `memory` bytes may be allocated at any time in addition to those
// allocated before, and at most `steps` comparisons of numbers may be made, which the compiler has
// counted in all code of this project. A run takes as many of them on each machine, however busy.
// Only one may exist at a time.
class ResourceLimit {
 public:
  ResourceLimit(const Bound& memory, const Bound& steps, std::size_t inputSize);
  ~ResourceLimit();
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;

  // Output for which as many more steps may be made as for that much input.
  void allowStepsFor(std::size_t outputSize) { mostSteps_ += stepsPerByte_ * outputSize; }

 private:
  std::size_t mostMemory_;
  std::size_t stepsPerByte_;
  std::size_t mostSteps_;
};

}  // namespace fuzz
