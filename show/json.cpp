#include "json.h"

#include <utf8.h>

#include <cstdio>
#include <iterator>

#include "text.h"

using Pegasus::String;

namespace show {

namespace {

void appendUnit(std::string& out, unsigned unit) {
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", unit);
  out += escape;
}

void appendEscape(std::string& out, char32_t c) {
  if (c < 0x10000) {
    appendUnit(out, static_cast<unsigned>(c));
  } else {  // as its UTF-16 surrogates
    appendUnit(out, 0xD7C0U + static_cast<unsigned>(c >> 10));
    appendUnit(out, 0xDC00U + static_cast<unsigned>(c & 0x3FF));
  }
}

}  // namespace

void JsonWriter::begin(bool isStructure) {
  if (isAfterKey_ || levels_.empty()) {
    isAfterKey_ = false;
    return;
  }
  Level& level = levels_.back();
  if (level.isFilled) {
    out_ << ',';
  }
  if (isStructure) {
    out_ << '\n';
  } else if (level.isFilled) {
    out_ << ' ';
  }
  level.isFilled = true;
  level.isOfLines = isStructure;
}

JsonWriter& JsonWriter::openObject() {
  begin(true);
  out_ << '{';
  levels_.emplace_back();
  return *this;
}

JsonWriter& JsonWriter::closeObject() {
  levels_.pop_back();
  out_ << '}';
  if (levels_.empty()) {
    out_ << '\n';
  }
  return *this;
}

JsonWriter& JsonWriter::openArray() {
  begin(true);
  out_ << '[';
  levels_.emplace_back();
  return *this;
}

JsonWriter& JsonWriter::closeArray() {
  if (levels_.back().isOfLines) {
    out_ << '\n';
  }
  levels_.pop_back();
  out_ << ']';
  return *this;
}

JsonWriter& JsonWriter::key(const char* name) {
  begin(false);
  writeText(name);
  out_ << ": ";
  isAfterKey_ = true;
  return *this;
}

JsonWriter& JsonWriter::value(const String& text) {
  begin(false);
  writeText(text);
  return *this;
}

JsonWriter& JsonWriter::value(const std::optional<String>& text) {
  if (text) {
    return value(*text);
  }
  begin(false);
  out_ << "null";
  return *this;
}

JsonWriter& JsonWriter::value(bool truth) {
  begin(false);
  out_ << (truth ? "true" : "false");
  return *this;
}

JsonWriter& JsonWriter::value(std::uint64_t number) {
  begin(false);
  out_ << number;
  return *this;
}

void JsonWriter::writeText(const String& text) {
  const std::string bytes = text.toUtf8();
  std::string escaped;
  for (auto position = bytes.begin(); position != bytes.end();) {
    const char32_t c = utf8::next(position, bytes.end());
    if (c == '"' || c == '\\') {
      escaped += '\\';
      escaped += static_cast<char>(c);
    } else if (isHarmful(c) || (c >= 0x80 && hasOnlyAscii_)) {
      appendEscape(escaped, c);
    } else {
      utf8::append(c, std::back_inserter(escaped));
    }
  }
  out_ << '"' << escaped << '"';
}

}  // namespace show
