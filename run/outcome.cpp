#include "outcome.h"

#include <Pegasus/Common/String.h>

#include "text.h"

namespace run {

void refuse(const std::string& words) {
  throw Failure(Status::refused, words);
}

std::string harmless(std::string_view text) {
  // Enough for every message of a well-meaning server.
  constexpr Pegasus::Uint32 most = 400;
  const Pegasus::String whole(text);
  return show::sanitized(whole.subString(0, most), show::Terminal()) +
         (whole.size() > most ? "..." : "");
}

std::string harmlessOnce(std::string_view text) {
  return harmless(show::withNameOnce(text).toUtf8());
}

}  // namespace run
