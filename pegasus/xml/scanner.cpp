#include "xml/scanner.h"

#include <Pegasus/Common/Exception.h>
#include <utf8.h>
#include "text/ascii.h"
#include "xml/text.h"

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

// True if each of the eight bytes is ASCII and, except for line feeds, not a control character. The
// highest bit of each byte shows this: it is clear in ASCII, and the sums below carry into it but
// not into the next byte.
bool arePlain(const char* eight) {
  constexpr std::uint64_t eachByte = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x80 * eachByte;
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, eight, sizeof bytes);
  const std::uint64_t fromBlankOn = bytes + (0x80 - ' ') * eachByte;
  const std::uint64_t noLineFeed = (bytes ^ ('\n' * eachByte)) + 0x7F * eachByte;
  return (bytes & highBits) == 0 && ((fromBlankOn | ~noLineFeed) & highBits) == highBits;
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

constexpr std::array<bool, 256> listValueCharacters() {
  std::array<bool, 256> isIn{};
  for (unsigned i = 0; i < isIn.size(); ++i) {
    isIn[i] = i != 0 && i != '"' && i != '\'' && i != '<' && i != '&';
  }
  return isIn;
}

// Tables by character, since names and attributes are most of a message. The second has the
// characters without a special meaning in the value of an attribute.
constexpr std::array<bool, 256> nameCharacters = listNameCharacters();
constexpr std::array<bool, 256> valueCharacters = listValueCharacters();

bool isNameCharacter(char c) {
  return nameCharacters[static_cast<unsigned char>(c)];
}

class Scanner {
 public:
  Scanner(const std::string& text, const XmlLimits& limits, ControlReferences controlReferences)
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

  bool mayHaveTextInPieces() const { return mayHaveTextInPieces_; }

 private:
  [[noreturn]] void fail(const std::string& what) const { failAt(position_, what); }
  [[noreturn]] static void failAt(std::size_t position, const std::string& what) {
    throw XmlException("XML error at byte " + std::to_string(position) + ": " + what);
  }

  // Checks all characters at once, so that the scan need not look for invalid ones.
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

  // Skips to the first character that is not ASCII, or a control character other than white space;
  // eight at a time, also where one of them is a tab.
  static const char* skipPlain(const char* place, const char* end) {
    const auto isPlain = [](char c) { return isAscii(c) && (c >= ' ' || text::isSpace(c)); };
    while (end - place >= 8 && (arePlain(place) || std::all_of(place, place + 8, isPlain))) {
      place += 8;
    }
    return std::find_if_not(place, end, isPlain);
  }

  // Checks a row of characters that are not ASCII.
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

  // The next character, or NUL at the end. There is no other NUL in the text.
  char next() const { return text_.data()[position_]; }
  bool skip(char c) {
    const bool found = next() == c;
    position_ += found ? 1 : 0;
    return found;
  }
  void expect(char c) {
    if (!skip(c)) {
      fail(std::string("'") + c + "' expected");
    }
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
    while (text::isSpace(next())) {
      ++position_;
    }
    return position_ > start;
  }
  // Skips the characters in this table, which does not have NUL.
  void skipWhile(const std::array<bool, 256>& characters) {
    const char* place = text_.data() + position_;
    while (characters[static_cast<unsigned char>(*place)]) {
      ++place;
    }
    position_ = offset(place);
  }
  // Skips to the end of the end marker; returns the text before it.
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
      fail("too many elements, attributes and pieces of text");
    }
  }

  std::string_view scanName() {
    const std::size_t start = position_;
    if (!isNameStart(next())) {
      fail("a name expected");
    }
    skipWhile(nameCharacters);
    return text_.substr(start, position_ - start);
  }

  void scanMarkup() {
    const char kind = text_.data()[position_ + 1];
    if (isNameStart(kind)) {
      scanStartTag();
    } else if (kind == '/') {
      position_ += 2;
      scanEndTag();
    } else {
      mayHaveTextInPieces_ = true;
      scanOtherMarkup();
    }
  }

  void scanOtherMarkup() {
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
    } else {
      ++position_;
      fail("a name expected");
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
    if (target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
        (target[2] | 0x20) == 'l') {
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

  // The parts of the declaration come in this order; only the first is required.
  void scanDeclaration() {
    position_ += std::string_view("<?xml").size();
    if (!scanDeclared("version").value_or("").starts_with("1.")) {
      fail("XML version 1.0 expected");
    }
    const String encoding(scanDeclared("encoding").value_or("utf-8"));
    if (!String::equalNoCase(encoding, "utf-8") && !String::equalNoCase(encoding, "us-ascii")) {
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
    if (skip('/')) {
      expect('>');
      return;
    }
    expect('>');
    open_.push_back(name);
  }

  void scanEndTag() {
    if (open_.empty() || !skip(open_.back()) || isNameCharacter(next())) {
      refuseEndTag();
    }
    open_.pop_back();
    skipSpace();
    expect('>');
  }

  [[noreturn]] void refuseEndTag() {
    position_ = text_.rfind('/', position_) + 1;
    const std::string_view name = scanName();
    fail("an end tag without its start tag: " + excerpt(name));
  }

  void scanAttributes() {
    attributes_.clear();
    while (skipSpace() && isNameStart(next())) {
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

  // Starts at the equal sign; returns the text between the quotes unchanged.
  std::string_view scanAttributeValue() {
    skipSpace();
    expect('=');
    skipSpace();
    const char quote = next();
    if (quote != '"' && quote != '\'') {
      fail("a quoted attribute value expected");
    }
    const std::size_t start = ++position_;
    for (;;) {
      skipWhile(valueCharacters);
      if (next() == quote) {
        return text_.substr(start, position_++ - start);
      }
      if (next() == '&') {
        scanReference();
      } else if (next() == '<') {
        fail("'<' in an attribute value");
      } else if (position_ == text_.size()) {
        expect(quote);
      } else {
        ++position_;  // the other quote
      }
    }
  }

  void scanText() {
    if (open_.empty()) {
      if (!skipSpace()) {
        fail("text outside the root element");
      }
      return;
    }
    countNode();
    // Most text is white space between two elements.
    skipSpace();
    if (next() == '<') {
      return;
    }
    const std::string_view text = textBefore('<');
    if (text.find("]]>") != std::string_view::npos) {
      position_ += text.find("]]>");
      fail("']]>' outside a CDATA section");
    }
    scanReferences(text);
  }

  // The text before the next such character, or before the end.
  std::string_view textBefore(char end) const {
    return text_.substr(position_, text_.find(end, position_) - position_);
  }

  // `text` starts at the current position; the scan continues after it.
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
    fail("'&' that does not begin a reference of XML");
  }

  void scanCharacterReference() {
    const std::size_t start = position_;
    position_ += 2;
    const int base = skip("x") ? 16 : 10;
    const char* const digits = text_.data() + position_;
    const char* const end = text_.data() + text_.size();
    std::uint32_t character = 0;
    const auto [stop, error] = std::from_chars(digits, end, character, base);
    // For a number that is too large, from_chars() also stops after the last digit.
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

  // Followed by a NUL that is not part of it.
  std::string_view text_;
  const XmlLimits& limits_;
  ControlReferences controlReferences_;
  std::size_t position_ = 0;
  std::size_t nodes_ = 0;
  bool hasRoot_ = false;
  bool mayHaveTextInPieces_ = false;
  std::vector<std::string_view> open_;
  std::vector<std::string_view> attributes_;
};

}  // namespace

bool checkWellFormed(const std::string& text, const XmlLimits& limits,
                     ControlReferences controlReferences) {
  Scanner scanner(text, limits, controlReferences);
  scanner.scanDocument();
  return scanner.mayHaveTextInPieces();
}

}  // namespace Pegasus::xml
