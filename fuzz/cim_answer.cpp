// Reads the body of an answer as each result that a client can ask for.
#include "xml/response.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/round_trip.h"

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMValue;
using Pegasus::xml::Response;

// The text of the attribute in the first element of that name, so that the answer matches the
// request whatever the fuzzer puts there.
std::string attribute(std::string_view xml, std::string_view begin) {
  const std::size_t found = xml.find(begin);
  if (found == std::string_view::npos) {
    return {};
  }
  const std::string_view value = xml.substr(found + begin.size());
  return std::string(value.substr(0, std::min(value.find('"'), value.size())));
}

// A list with the result of `read`, or an empty one when it refuses the answer. A client does not
// expect any exception other than these two.
template <typename Read>
auto attempt(Read read) -> std::vector<decltype(read())> {
  try {
    return {read()};
  } catch (const Pegasus::XmlValidationError&) {
    return {};
  } catch (const Pegasus::CIMClientResponseException&) {
    return {};
  }
}

// Makes the text of a property, as the tool does. A text of paths may be far longer than the
// answer, and is refused if it is too long.
void takeText(const Response& response) {
  const fuzz::ResourceLimit limit({std::size_t{192} << 20U, 0}, {100'000'000, 0}, 0);
  try {
    static_cast<void>(response.value().toString());
  } catch (const Pegasus::Exception&) {
    return;
  }
}

// False for an answer with references to control characters, which can be read but sent only in
// keys.
bool canBeSent(std::string_view body) {
  try {
    const Pegasus::xml::XmlDocument document{std::string(body)};
    return true;
  } catch (const Pegasus::XmlException&) {
    return false;
  }
}

template <typename T>
void checkResult(const T& result, bool canBeSent) {
  if (canBeSent) {
    fuzz::requireRoundTrip(result);
  }
}

void readAll(const Response& response, bool canBeSent) {
  for (const auto& instances : attempt([&response] { return response.namedInstances(); })) {
    for (const CIMInstance& instance : instances) {
      checkResult(instance, canBeSent);
    }
  }
  for (const auto& names : attempt([&response] { return response.instanceNames(); })) {
    for (const CIMObjectPath& name : names) {
      checkResult(name, canBeSent);
    }
  }
  for (CIMInstance& instance : attempt([&response] { return response.instance(); })) {
    instance.setPath(CIMObjectPath({}, {}, instance.getClassName()));
    checkResult(instance, canBeSent);
  }
  for (const CIMObjectPath& name : attempt([&response] { return response.instanceName(); })) {
    if (name.getClassName().size() != 0) {
      checkResult(name, canBeSent);
    }
  }
  for (const CIMValue& value : attempt([&response] { return response.value(); })) {
    checkResult(value, canBeSent);
  }
}

// Null if it is not an answer.
std::unique_ptr<Response> parse(std::string_view body) {
  try {
    return std::make_unique<Response>(std::string(body), attribute(body, "<MESSAGE ID=\""),
                                      attribute(body, "<IMETHODRESPONSE NAME=\""));
  } catch (const Pegasus::Exception&) {
    return nullptr;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body = fuzz::asText(data, size);
  std::unique_ptr<Response> response;
  {
    const fuzz::ResourceLimit limit({std::size_t{1} << 20U, 128}, {100'000, 300}, size);
    response = parse(body);
    if (!response) {
      return 0;
    }
    readAll(*response, canBeSent(body));
  }
  takeText(*response);
  return 0;
}
