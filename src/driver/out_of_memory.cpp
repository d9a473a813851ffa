#include "driver/out_of_memory.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

namespace {

// There may be no memory for the exception itself, and then there is none.
bool isOutOfMemory() {
  const std::exception_ptr exception = std::current_exception();
  if (!exception) {
    return true;
  }
  try {
    std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
    return false;
  }
}

// A failed run ends with its message and 0, and nobody is told of a crash where only memory was
// short. What else ends here is an error of the program's own.
[[noreturn]] void endRun() {
  if (!isOutOfMemory()) {
    std::abort();
  }
  for (const std::string_view part : {std::string_view(didNotComplete), std::string_view("\n")}) {
    [[maybe_unused]] const ssize_t ignored = write(STDOUT_FILENO, part.data(), part.size());
  }
  std::_Exit(0);
}

// Before the constants of the program are built, for these take memory already, outside of any
// handler.
[[gnu::constructor(101)]] void watchMemory() {
  std::set_terminate(endRun);
}

}  // namespace
