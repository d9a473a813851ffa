// What can be said of a FRU data file without a machine: whether it can be one at all, and which of
// its lines are entries.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <cstddef>
#include <optional>
#include <string>

#include "import/fru_file.h"

namespace show {

struct Reason {
  // For programs; the manual pages list them all.
  const char* code = "";
  Pegasus::String words;
};

// A larger file is not a FRU data file: the largest in use have a few hundred lines of less than
// 256 bytes.
inline constexpr std::size_t mostFileBytes = 1048576;

// Why a text cannot be a whole FRU data file.
struct FormProblem {
  const char* code;
  const char* words;
  // Of the byte where it shows.
  std::size_t offset;
};

// Nothing if the text has no problem. A last line without a newline is reported only if there is no
// other: the text before it can still be read.
std::optional<FormProblem> findFormProblem(const std::string& text);

// What a line is.
struct Recognition {
  // Of an entry.
  std::optional<Category> category;
  // The second field, as the line has it; absent if the line does not have the form of an entry.
  std::optional<Pegasus::String> token;
  // Why it is not an entry.
  Reason reason;
};

// `read` is how the line was read, which is not `end`.
Recognition recognise(LineRead read, const Pegasus::String& line);

// Why the instance cannot be sent to a server; nothing if it can.
std::optional<Reason> whyNotSendable(const Pegasus::CIMInstance& instance);

// Whether XML 1.0 has this unit of a text; a text from a file has no unpaired surrogates.
bool isXmlUnit(char16_t unit);

}  // namespace show
