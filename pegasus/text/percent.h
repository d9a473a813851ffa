// Percent-encoding (RFC 3986, section 2.1), which DSP0200 asks for in the values of HTTP headers.
#pragma once

#include <string>
#include <string_view>

namespace Pegasus::text {

// Encodes everything but letters, digits and "-._~"; so also the slash of a namespace.
std::string percentEncoded(std::string_view text);

// True unless there is a '%' without two hexadecimal digits after it.
bool isPercentEncoded(std::string_view text);

// Takes a '%' without two hexadecimal digits as it stands.
std::string percentDecoded(std::string_view text);

}  // namespace Pegasus::text
