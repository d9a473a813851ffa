// Demands that memory and time stay in proportion to the input.
#pragma once

#include <cstddef>
#include <ctime>

namespace fuzz {

// As long as this lives, no more may be allocated at any one time than was there at its beginning
// and so many bytes: `base` and `perByte` for each byte of the input. And no more processor time
// may pass than some seconds, a hundred times what the slowest input of this size takes. (The
// fuzzer's own limit is one of the clock on the wall, which a busy machine passes.) One at a time.
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
