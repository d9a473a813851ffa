// The program morvik-lint.
#pragma once

namespace lint {

// The manual page lists the same.
enum class ExitStatus { clean = 0, findings = 1, trouble = 2 };

// Reads the command line, checks the files, and writes the findings to standard output. Throws
// std::exception if they cannot be written.
ExitStatus run(int argc, const char* const* argv);

// Writes a message to standard error.
void complain(const char* message);

}  // namespace lint
