// Requires that memory and time stay in proportion to the input.
#pragma once

#include <cstddef>
#include <ctime>

namespace fuzz {

// During its lifetime, at most `base` bytes and `perByte` for each byte of the input may be
// allocated at any time in addition to those allocated before. The processor time is limited to
// some seconds, a hundred times what the slowest input of this size takes; the fuzzer's own limit
// is wall-clock time, which a busy machine exceeds. Only one may exist at a time.
class ResourceLimit {
 public:
  ResourceLimit(std::size_t base, std::size_t perByte, std::size_t inputSize);
  ~ResourceLimit();
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;

 private:
  std::size_t limit_;
  std::clock_t start_ = std::clock();
};

}  // namespace fuzz
