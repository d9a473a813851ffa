// Requirements of a fuzz target beyond not crashing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fuzz {

// Ends the process when the condition does not hold, so that the fuzzer keeps the input.
void require(bool condition, const char* what);

// The input as text.
inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Removes the first byte and returns it; 0 if there is none.
inline unsigned takeByte(std::string_view& input) {
  if (input.empty()) {
    return 0;
  }
  const auto byte = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  return byte;
}

}  // namespace fuzz
