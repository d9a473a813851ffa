#include "store/instance_text.h"

#include <Pegasus/Common/Exception.h>
#include <utf8.h>
#include "xml/object_decoder.h"
#include "xml/object_encoder.h"
#include "xml/xml_document.h"

#include <iterator>

namespace cimd {

std::string encodeInstance(const Pegasus::CIMInstance& instance) {
  std::string text;
  Pegasus::xml::appendInstance(text, instance);
  // The decoder has limits that the encoder does not know. Better refused now than lost at the next
  // start.
  decodeInstance(text);
  return text;
}

Pegasus::CIMInstance decodeInstance(std::string_view text) {
  const Pegasus::xml::XmlDocument document{std::string(text)};
  return Pegasus::xml::decodeInstance(document.root());
}

std::string encodeText(std::u16string_view text) {
  std::string bytes;
  try {
    utf8::utf16to8(text.begin(), text.end(), std::back_inserter(bytes));
  } catch (const utf8::exception&) {
    throw Pegasus::InvalidValueException("a surrogate without its partner");
  }
  return bytes;
}

// FNV-1a, with a byte between the texts that UTF-8 does not have.
std::int64_t checksum(std::initializer_list<std::string_view> texts) {
  constexpr std::uint64_t prime = 0x100000001B3;
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const std::string_view text : texts) {
    for (const char byte : text) {
      sum = (sum ^ static_cast<unsigned char>(byte)) * prime;
    }
    sum = (sum ^ 0xFF) * prime;
  }
  return static_cast<std::int64_t>(sum);
}

}  // namespace cimd
