// Where the output goes to.
#pragma once

#include <cstddef>

namespace show {

// As constructed: a file or a pipe, which gets every character as it is.
struct Terminal {
  bool isTerminal = false;
  bool hasColours = false;
  // It would not understand UTF-8.
  bool hasOnlyAscii = false;
  // 0 where there is no limit.
  std::size_t columns = 0;
};

// What the descriptor is, and what the environment says of it: COLUMNS for the width, NO_COLOR and
// TERM for colours, the locale for the characters. setlocale() must have been called.
Terminal lookAt(int descriptor);

}  // namespace show
