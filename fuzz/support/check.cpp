#include "support/check.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "NOT SO: %s\n", what);
    std::abort();
  }
}

}  // namespace fuzz
