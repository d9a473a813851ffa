#include "support/resource_limit.h"

#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

// Signed: what was allocated before the count began may be freed after.
std::ptrdiff_t live = 0;
std::ptrdiff_t peak = 0;

void onAllocation(const volatile void* /*memory*/, std::size_t size) {
  live += static_cast<std::ptrdiff_t>(size);
  peak = std::max(peak, live);
}

void onFree(const volatile void* memory) {
  live -=
      static_cast<std::ptrdiff_t>(__sanitizer_get_allocated_size(const_cast<const void*>(memory)));
}

const int installed = __sanitizer_install_malloc_and_free_hooks(onAllocation, onFree);

}  // namespace

ResourceLimit::ResourceLimit(std::size_t base, std::size_t perByte, std::size_t inputSize)
    : limit_(base + perByte * inputSize) {
  if (installed == 0) {
    std::fputs("the memory cannot be counted\n", stderr);
    std::abort();
  }
  live = 0;
  peak = 0;
}

ResourceLimit::~ResourceLimit() {
  if (peak > static_cast<std::ptrdiff_t>(limit_)) {
    std::fprintf(stderr, "NOT SO: %td bytes of memory stay below %zu\n", peak, limit_);
    std::abort();
  }
  constexpr std::clock_t longest = 3;
  if ((std::clock() - start_) / CLOCKS_PER_SEC >= longest) {
    std::fputs("NOT SO: an input takes less than three seconds\n", stderr);
    std::abort();
  }
}

}  // namespace fuzz
