// Where later generations throw, the functions here do what their callers need: at positions and
// lengths past the end of a text, and at 8-bit text that is not UTF-8.
#include <algorithm>
#include <stdexcept>

#include "cim/client.h"

// The stream header precedes the constant so that the standard streams are set up before it is
// built and outlive it.
#include <iostream>

using Pegasus::Char16;
using Pegasus::CIMClient;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;

const String cimNamespace("root/kvasd");

namespace {

unsigned char byteAt(std::string_view bytes, std::size_t position) {
  return static_cast<unsigned char>(bytes[position]);
}

// The length of the UTF-8 sequence that begins the text, by the table of well-formed sequences in
// the Unicode standard; 0 where none does. The limits of the second byte exclude overlong forms,
// surrogates and values past U+10FFFF.
std::size_t sequenceLength(std::string_view bytes) {
  const unsigned char first = byteAt(bytes, 0);
  if (first < 0x80) {
    return 1;
  }
  const std::size_t length = first < 0xC2    ? 0
                             : first <= 0xDF ? 2
                             : first <= 0xEF ? 3
                             : first <= 0xF4 ? 4
                                             : 0;
  if (length == 0 || bytes.size() < length) {
    return 0;
  }
  const unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  const unsigned char second = byteAt(bytes, 1);
  const auto isContinuation = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
  };
  const bool isValid = second >= lowest && second <= highest &&
                       std::all_of(bytes.begin() + 1, bytes.begin() + length, isContinuation);
  return isValid ? length : 0;
}

void appendSequence(String& text, std::string_view sequence) {
  constexpr Uint32 firstBits[] = {0x7F, 0x1F, 0x0F, 0x07};
  Uint32 character = byteAt(sequence, 0) & firstBits[sequence.size() - 1];
  for (std::size_t i = 1; i < sequence.size(); i++) {
    character = (character << 6U) | (byteAt(sequence, i) & 0x3FU);
  }
  if (character > 0xFFFF) {
    text.append(Char16(static_cast<Uint16>(0xD7C0U + (character >> 10U))));
    character = 0xDC00U + (character & 0x3FFU);
  }
  text.append(Char16(static_cast<Uint16>(character)));
}

String byteForByte(std::string_view bytes) {
  String text;
  for (const char byte : bytes) {
    text.append(Char16(static_cast<unsigned char>(byte)));
  }
  return text;
}

}  // namespace

std::unique_ptr<CIMClient> makeClient() {
  const Uint32 timeOutMilliseconds = 20000;
  auto client = std::make_unique<CIMClient>();
  client->setTimeout(timeOutMilliseconds);
  return client;
}

void connectToLocalServer(CIMClient& client) {
  const Uint32 port = 5988;
  client.connect("127.0.0.1", port, String::EMPTY, String::EMPTY);
}

// The library's own conversion takes surrogates and overlong forms for UTF-8, replaces U+FFFE and
// U+FFFF, and throws for everything else that is not UTF-8.
String toText(std::string_view bytes) {
  String text;
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::size_t length = sequenceLength(rest);
    if (length == 0) {
      return byteForByte(bytes);
    }
    appendSequence(text, rest.substr(0, length));
    rest.remove_prefix(length);
  }
  return text;
}

std::string toNarrowText(const String& text) {
  std::string narrow;
  for (Uint32 i = 0; i < text.size(); i++) {
    const Uint16 character = text[i];
    if (character > 0xFF) {
      throw std::range_error("a character does not fit in 8 bits");
    }
    narrow += static_cast<char>(static_cast<unsigned char>(character));
  }
  return narrow;
}

Uint32 findFrom(const String& text, Uint32 position, char character) {
  return position < text.size() ? text.find(position, Char16(static_cast<unsigned char>(character)))
                                : PEG_NOT_FOUND;
}

String cut(const String& text, Uint32 start, Uint32 length) {
  if (start >= text.size()) {
    return String();
  }
  return text.subString(start, std::min(length, text.size() - start));
}
