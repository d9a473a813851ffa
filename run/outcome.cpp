#include "outcome.h"

#include <Pegasus/Common/String.h>

#include "text.h"

namespace run {

std::string harmless(std::string_view text) {
  // Enough for every message of a well-meaning server.
  constexpr Pegasus::Uint32 most = 400;
  const Pegasus::String whole(text);
  return show::sanitized(whole.subString(0, most), show::Terminal()) +
         (whole.size() > most ? "..." : "");
}

}  // namespace run
