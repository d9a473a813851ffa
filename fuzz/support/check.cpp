#include "support/check.h"

#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

std::size_t steps = 0;

}  // namespace

// The compiler calls __sanitizer_cov_trace_* before each comparison, and the linker puts these in
// the place of the fuzzer's own. The fuzzer takes the address that it will return to for the place
// of the comparison: hence the tail calls. NOLINTBEGIN(bugprone-reserved-identifier,
// bugprone-macro-parentheses): the names are the linker's
#define COUNT_COMPARISONS(name, type)                                                           \
  extern "C" void __real___sanitizer_cov_trace_##name(type, type);                              \
  extern "C"                                                                                    \
      __attribute__((no_sanitize("all", "coverage"))) void __wrap___sanitizer_cov_trace_##name( \
          type left, type right) {                                                              \
    ++steps;                                                                                    \
    [[clang::musttail]] return __real___sanitizer_cov_trace_##name(left, right);                \
  }
COUNT_COMPARISONS(cmp1, std::uint8_t)
COUNT_COMPARISONS(cmp2, std::uint16_t)
COUNT_COMPARISONS(cmp4, std::uint32_t)
COUNT_COMPARISONS(cmp8, std::uint64_t)
COUNT_COMPARISONS(const_cmp1, std::uint8_t)
COUNT_COMPARISONS(const_cmp2, std::uint16_t)
COUNT_COMPARISONS(const_cmp4, std::uint32_t)
COUNT_COMPARISONS(const_cmp8, std::uint64_t)
// NOLINTEND(bugprone-reserved-identifier, bugprone-macro-parentheses)

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

void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "NOT SO: %s\n", what);
    std::abort();
  }
}

ResourceLimit::ResourceLimit(const Bound& memory, const Bound& steps, std::size_t inputSize)
    : mostMemory_(memory.of(inputSize)),
      stepsPerByte_(steps.perByte),
      mostSteps_(steps.of(inputSize)) {
  if (installed == 0) {
    std::fputs("the memory cannot be counted\n", stderr);
    std::abort();
  }
  live = 0;
  peak = 0;
  ::steps = 0;
}

ResourceLimit::~ResourceLimit() {
  const std::size_t taken = ::steps;
  if (peak > static_cast<std::ptrdiff_t>(mostMemory_)) {
    std::fprintf(stderr, "NOT SO: %td bytes of memory stay below %zu\n", peak, mostMemory_);
    std::abort();
  }
  if (taken > mostSteps_) {
    std::fprintf(stderr, "NOT SO: %zu steps stay below %zu\n", taken, mostSteps_);
    std::abort();
  }
}

}  // namespace fuzz
