// The requests of the benchmark, ready to be sent.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

// A request in which a number of always eight digits is the only thing that changes.
class NumberedRequest {
 public:
  // `before` and `after` stand around the number in the body.
  NumberedRequest(std::string_view method, std::string_view before, std::string_view after);

  // Valid until the next call.
  std::string_view withNumber(std::uint32_t number);

 private:
  std::string bytes_;
  std::size_t place_;
};

// Of the field-replaceable unit with this number.
NumberedRequest createUnit();
NumberedRequest readUnitProperty();
NumberedRequest deleteUnit();

// All instances of a class.
std::string enumerateInstances(std::string_view className);

constexpr std::string_view unitClass = "KVAXDT_FRU";
// Has two instances, which make an answer of about 10 KiB (system.mof).
constexpr std::string_view largeClass = "MORVIK_BenchmarkSystem";

}  // namespace bench
