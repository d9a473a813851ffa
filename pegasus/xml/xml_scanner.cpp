#include "xml/xml_scanner.h"

#include <Pegasus/Common/Exception.h>
#include <utf8.h>
#include "text/ascii.h"
#include "xml/xml_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace Pegasus::xml {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// True when all eight bytes are ASCII and no control characters: so for each the highest bit is
// clear, and still clear after a blank has been subtracted.
bool arePlain(const char* eight) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  constexpr std::uint64_t blanks = 0x2020202020202020;
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, eight, sizeof bytes);
  return ((bytes | (bytes - blanks)) & highBits) == 0;
}

constexpr bool isNameStart(char c) {
  return text::isLetter(c) || c == '_' || c == ':';
}

constexpr std::array<bool, 256> listNameCharacters() {
  std::array<bool, 256> isIn{};
  for (unsigned i = 0; i < isIn.size(); ++i) {
    const char c = static_cast<char>(i);
    isIn[i] = isNameStart(c) || text::isDigit(c) || c == '-' || c == '.';
  }
  return isIn;
}

// By the character's value: names are a third of a message.
constexpr std::array<bool, 256> nameCharacters = listNameCharacters();

bool isNameCharacter(char c) {
  return nameCharacters[static_cast<unsigned char>(c)];
}

class Scanner {
 public:
  Scanner(std::string_view text, const XmlLimits& limits, ControlReferences controlReferences)
      : text_(text), limits_(limits), controlReferences_(controlReferences) {}

  void scanDocument() {
    checkCharacters();
    skip(byteOrderMark);
    if (startsWith("<?xml") && position_ + 5 < text_.size() &&
        text::isSpace(text_[position_ + 5])) {
      scanDeclaration();
    }
    while (position_ < text_.size()) {
      if (text_[position_] == '<') {
        scanMarkup();
      } else {
        scanText();
      }
    }
    if (!open_.empty()) {
      fail("the text ends inside element " + excerpt(open_.back()));
    }
    if (!hasRoot_) {
      fail("there is no element");
    }
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { failAt(position_, what); }
  [[noreturn]] static void failAt(std::size_t position, const std::string& what) {
    throw XmlException(
        String(std::string_view("XML error at byte " + std::to_string(position) + ": " + what)));
  }

  // All characters at once, so that the scan behind this needs no eye for them. Most of them are
  // ASCII, which is checked eight at a time.
  void checkCharacters() const {
    const char* const end = text_.data() + text_.size();
    for (const char* place = text_.data();;) {
      place = skipPlain(place, end);
      if (place == end) {
        return;
      }
      if (isAscii(*place)) {
        failAt(offset(place), "a control character");
      }
      const char* const wideEnd = std::find_if(place, end, isAscii);
      checkNonAscii(std::string_view(place, static_cast<std::size_t>(wideEnd - place)));
      place = wideEnd;
    }
  }

  static bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

  // To the first character that is not ASCII or a control character other than white space.
  static const char* skipPlain(const char* place, const char* end) {
    while (place != end) {
      if (end - place >= 8 && arePlain(place)) {
        place += 8;
      } else if (isAscii(*place) && (*place >= ' ' || text::isSpace(*place))) {
        ++place;
      } else {
        break;
      }
    }
    return place;
  }

  // Characters past ASCII that stand in a row.
  void checkNonAscii(std::string_view row) const {
    const char* const invalid = utf8::find_invalid(row.data(), row.data() + row.size());
    if (invalid != row.data() + row.size()) {
      failAt(offset(invalid), "not UTF-8");
    }
    for (const std::string_view nonCharacter : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
      const std::size_t position = row.find(nonCharacter);
      if (position != std::string_view::npos) {
        failAt(offset(row.data()) + position, "a character that XML forbids");
      }
    }
  }

  std::size_t offset(const char* place) const {
    return static_cast<std::size_t>(place - text_.data());
  }

  bool startsWith(std::string_view prefix) const {
    return text_.substr(position_).starts_with(prefix);
  }
  bool skip(std::string_view prefix) {
    const bool found = startsWith(prefix);
    position_ += found ? prefix.size() : 0;
    return found;
  }
  void expect(std::string_view token) {
    if (!skip(token)) {
      fail("'" + std::string(token) + "' expected");
    }
  }
  bool skipSpace() {
    const std::size_t start = position_;
    while (position_ < text_.size() && text::isSpace(text_[position_])) {
      ++position_;
    }
    return position_ > start;
  }
  // To the end marker and past it; what stands before it.
  std::string_view skipPast(std::string_view end, const char* what) {
    const std::size_t found = text_.find(end, position_);
    if (found == std::string_view::npos) {
      fail(std::string(what) + " does not end");
    }
    const std::string_view content = text_.substr(position_, found - position_);
    position_ = found + end.size();
    return content;
  }
  void countNode() {
    if (++nodes_ > limits_.nodes) {
      fail("more elements, attributes and pieces of text than any answer has");
    }
  }

  std::string_view scanName() {
    const std::size_t start = position_;
    if (start >= text_.size() || !isNameStart(text_[start])) {
      fail("a name expected");
    }
    while (position_ < text_.size() && isNameCharacter(text_[position_])) {
      ++position_;
    }
    return text_.substr(start, position_ - start);
  }

  void scanMarkup() {
    if (skip("<!--")) {
      scanComment();
    } else if (skip("<?")) {
      scanInstruction();
    } else if (startsWith("<![CDATA[")) {
      scanCData();
    } else if (startsWith("<!DOCTYPE")) {
      throw XmlValidationError("a document type, which CIM-XML messages do not have");
    } else if (startsWith("<!")) {
      fail("a declaration, which CIM-XML messages do not have");
    } else if (skip("</")) {
      scanEndTag();
    } else {
      scanStartTag();
    }
  }

  void scanComment() {
    skipPast("--", "a comment");
    if (!skip(">")) {
      fail("'--' inside a comment");
    }
  }

  void scanInstruction() {
    const std::string_view target = scanName();
    if (text::equalNoCase(target, "xml")) {
      fail("an XML declaration that is not at the start");
    }
    if (!startsWith("?>") && !skipSpace()) {
      fail("white space expected");
    }
    skipPast("?>", "a processing instruction");
  }

  void scanCData() {
    if (open_.empty()) {
      fail("text outside the root element");
    }
    countNode();
    position_ += std::string_view("<![CDATA[").size();
    skipPast("]]>", "a CDATA section");
  }

  // The declaration's parts come in this order, the first of them always.
  void scanDeclaration() {
    position_ += std::string_view("<?xml").size();
    if (!scanDeclared("version").value_or("").starts_with("1.")) {
      fail("XML version 1.0 expected");
    }
    const std::string_view encoding = scanDeclared("encoding").value_or("utf-8");
    if (!text::equalNoCase(encoding, "utf-8") && !text::equalNoCase(encoding, "us-ascii")) {
      fail("an encoding other than UTF-8");
    }
    scanDeclared("standalone");
    skipSpace();
    expect("?>");
  }

  std::optional<std::string_view> scanDeclared(std::string_view name) {
    const std::size_t start = position_;
    if (!skipSpace() || !skip(name)) {
      position_ = start;
      return std::nullopt;
    }
    return scanAttributeValue();
  }

  void scanStartTag() {
    if (open_.empty() && hasRoot_) {
      fail("a second root element");
    }
    if (open_.size() >= limits_.depth) {
      fail("elements nested deeper than " + std::to_string(limits_.depth));
    }
    countNode();
    hasRoot_ = true;
    ++position_;
    const std::string_view name = scanName();
    scanAttributes();
    if (!skip("/>")) {
      expect(">");
      open_.push_back(name);
    }
  }

  void scanEndTag() {
    const std::string_view name = scanName();
    if (open_.empty() || open_.back() != name) {
      fail("an end tag without its start tag: " + excerpt(name));
    }
    open_.pop_back();
    skipSpace();
    expect(">");
  }

  void scanAttributes() {
    attributes_.clear();
    while (skipSpace() && position_ < text_.size() && isNameStart(text_[position_])) {
      const std::string_view name = scanName();
      if (std::find(attributes_.begin(), attributes_.end(), name) != attributes_.end()) {
        fail("a second attribute " + excerpt(name));
      }
      if (attributes_.size() >= limits_.attributes) {
        fail("more than " + std::to_string(limits_.attributes) + " attributes");
      }
      countNode();
      attributes_.push_back(name);
      scanAttributeValue();
    }
  }

  // From the equal sign on; the value between the quotes as it stands.
  std::string_view scanAttributeValue() {
    skipSpace();
    expect("=");
    skipSpace();
    const char quote = position_ < text_.size() ? text_[position_] : '\0';
    if (quote != '"' && quote != '\'') {
      fail("a quoted attribute value expected");
    }
    const std::size_t start = ++position_;
    const std::string_view value = textBefore(quote);
    if (value.find('<') != std::string_view::npos) {
      position_ += value.find('<');
      fail("'<' in an attribute value");
    }
    scanReferences(value);
    expect(std::string_view(&quote, 1));
    return text_.substr(start, position_ - 1 - start);
  }

  void scanText() {
    if (open_.empty()) {
      if (!skipSpace()) {
        fail("text outside the root element");
      }
      return;
    }
    countNode();
    const std::string_view text = textBefore('<');
    if (text.find("]]>") != std::string_view::npos) {
      position_ += text.find("]]>");
      fail("']]>' outside a CDATA section");
    }
    scanReferences(text);
  }

  // What stands here before the next such character, or before the end.
  std::string_view textBefore(char end) const {
    return text_.substr(position_, text_.find(end, position_) - position_);
  }

  // `text` stands here; the scan goes on behind it.
  void scanReferences(std::string_view text) {
    const std::size_t start = position_;
    std::size_t next = 0;
    while ((next = text.find('&', next)) != std::string_view::npos) {
      position_ = start + next;
      scanReference();
      next = position_ - start;
    }
    position_ = start + text.size();
  }

  void scanReference() {
    if (startsWith("&#")) {
      scanCharacterReference();
      return;
    }
    for (const std::string_view entity : {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"}) {
      if (skip(entity)) {
        return;
      }
    }
    fail("'&' that begins no reference XML defines");
  }

  void scanCharacterReference() {
    const std::size_t start = position_;
    position_ += 2;
    const int base = skip("x") ? 16 : 10;
    const char* const digits = text_.data() + position_;
    const char* const end = text_.data() + text_.size();
    std::uint32_t character = 0;
    const auto [stop, error] = std::from_chars(digits, end, character, base);
    // from_chars() also stops where the number is too large, behind its last digit.
    position_ += static_cast<std::size_t>(stop - digits);
    if (error == std::errc::invalid_argument || !skip(";")) {
      failAt(start, "a character reference without number or end");
    }
    const bool isControl = character != 0 && character < 0x20;
    const bool isAllowed = isXmlCharacter(character) ||
                           (isControl && controlReferences_ == ControlReferences::allowed);
    if (error != std::errc() || !isAllowed) {
      failAt(start, "a reference to a character that XML forbids");
    }
  }

  std::string_view text_;
  const XmlLimits& limits_;
  ControlReferences controlReferences_;
  std::size_t position_ = 0;
  std::size_t nodes_ = 0;
  bool hasRoot_ = false;
  std::vector<std::string_view> open_;
  std::vector<std::string_view> attributes_;
};

}  // namespace

void checkWellFormed(std::string_view text, const XmlLimits& limits,
                     ControlReferences controlReferences) {
  Scanner(text, limits, controlReferences).scanDocument();
}

}  // namespace Pegasus::xml
