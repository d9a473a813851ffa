// The files that are checked.
#pragma once

#include <cstddef>
#include <string>

namespace lint {

// The bytes of a file or pipe, "-" for standard input; at most `limit` of them. A named pipe is
// waited for until it has a writer, at most some seconds; that writer may take as long as it wants.
// Throws std::system_error, or std::runtime_error for what is neither a file nor a pipe.
std::string readInput(const std::string& name, std::size_t limit);

}  // namespace lint
