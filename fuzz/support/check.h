// Requirements of a fuzz target beyond not crashing; memory and work stay in proportion to the
// input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fuzz {

// Ends the process when the condition does not hold, so that the fuzzer keeps the input.
void require(bool condition, const char* what);

// The input as text.
inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Removes the first byte and returns it; 0 if there is none.
inline unsigned takeByte(std::string_view& input) {
  if (input.empty()) {
    return 0;
  }
  const auto byte = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  return byte;
}

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
