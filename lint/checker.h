// Checks a FRU data file as a run of morvik would read it, but without a machine: an entry is right
// if some machine can publish it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "finding.h"

namespace lint {

// Reports what is wrong with the file, in the order of lines and columns. The text has at most one
// byte more than show::mostFileBytes; with that it is too large, and not looked at.
void check(const std::string& text, const std::function<void(const Finding&)>& report);

}  // namespace lint
