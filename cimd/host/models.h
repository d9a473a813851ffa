// Models of machines whose product names have no machine type.
#pragma once

#include <Pegasus/Common/String.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace cimd::host {

struct Models {
  // For every machine, before the others.
  std::optional<Pegasus::String> any = {};
  // By the product name of the firmware, without the blanks around it.
  std::map<Pegasus::String, Pegasus::String> byProduct = {};

  // Nothing if the product name stays what it is.
  std::optional<Pegasus::String> modelOf(const std::optional<std::string_view>& product) const;
};

// Lines of the form "ProServer 5 = 1234-ABC": the first "=" ends the product name, and blanks
// around both are ignored. Blank lines and those that begin with "#" are, too. Throws
// std::runtime_error "FILE:LINE: ..." for a line of another form, a text that is not UTF-8 or has
// control characters, and a product name that an earlier line has.
std::map<Pegasus::String, Pegasus::String> parseModels(std::string_view text,
                                                       const std::string& fileName);

}  // namespace cimd::host
