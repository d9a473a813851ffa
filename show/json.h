// Writes JSON (RFC 8259).
#pragma once

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace show {

// One document, written as it comes. Whoever calls opens and closes in pairs, and gives a key
// before each value inside an object; commas, escapes and line ends are put here.
//
// Control characters and others that are not to reach a terminal are always written as \u escapes.
class JsonWriter {
 public:
  // With `hasOnlyAscii` all characters past ASCII are escaped, too.
  JsonWriter(std::ostream& out, bool hasOnlyAscii) : out_(out), hasOnlyAscii_(hasOnlyAscii) {}

  JsonWriter& openObject();
  JsonWriter& closeObject();
  JsonWriter& openArray();
  JsonWriter& closeArray();
  JsonWriter& key(const char* name);

  JsonWriter& value(const Pegasus::String& text);
  JsonWriter& value(const char* text) { return value(Pegasus::String(text)); }
  // Nothing is null.
  JsonWriter& value(const std::optional<Pegasus::String>& text);
  JsonWriter& value(bool truth);
  JsonWriter& value(std::uint64_t number);

 private:
  void begin(bool isStructure);
  void writeText(const Pegasus::String& text);

  std::ostream& out_;
  bool hasOnlyAscii_;
  bool isAfterKey_ = false;
  // Each open object or array: whether it has something in it, and whether the last of that is a
  // structure. Inside arrays these stand on lines of their own.
  struct Level {
    bool isFilled = false;
    bool isOfLines = false;
  };
  std::vector<Level> levels_;
};

}  // namespace show
