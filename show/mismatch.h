// Why a line does not fit this machine, in words. Whether it fits is not decided here.
#pragma once

#include <Pegasus/Common/String.h>

#include <stdexcept>

#include "import/fru_file.h"
#include "machine.h"

namespace show {

struct Reason {
  // For programs; the manual page lists them all.
  const char* code;
  Pegasus::String words;
};

// What the server said before and what it says now do not go together, or it says nothing any more.
class AnswersChanged : public std::runtime_error {
 public:
  AnswersChanged() : std::runtime_error("the CIM server failed or changed while it was asked") {}
};

// The line is one of PROCESSOR, MEMORY or KEYBOARD, and was judged not to fit. Throws
// AnswersChanged when it fits what the machine told before.
Reason explainMismatch(Category category, const Pegasus::String& line, const Machine& machine);

}  // namespace show
