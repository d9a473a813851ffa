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
  const std::size_t colon = text.find(": ");
  if (colon != std::string_view::npos) {
    const std::string_view name = text.substr(0, colon + 2);
    const std::string_view rest = text.substr(name.size());
    text = rest.starts_with(name) ? rest : text;
  }
  return harmless(text);
}

}  // namespace run
