#include "xml/document.h"

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

namespace Pegasus::xml {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

constexpr std::ptrdiff_t blockSize = 32;

// True if each byte of the block is ASCII and, except for line feeds, not a control character.
// Without an early end, so that the compiler compares many at once.
bool isPlainBlock(const char* block) {
  unsigned char odd = 0;
  for (std::ptrdiff_t i = 0; i < blockSize; ++i) {
    const auto byte = static_cast<signed char>(block[i]);  // negative past ASCII
    odd |= static_cast<unsigned char>((byte < ' ') & (byte != '\n'));
  }
  return odd == 0;
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
    const char c = static_cast<char>(i);
    isIn[i] =
        i != 0 && c != '"' && c != '\'' && c != '<' && c != '&' && (c == ' ' || !text::isSpace(c));
  }
  return isIn;
}

// Tables by character, since names and attributes are most of a message. The second has the
// characters that stand for themselves in the value of an attribute.
constexpr std::array<bool, 256> nameCharacters = listNameCharacters();
constexpr std::array<bool, 256> valueCharacters = listValueCharacters();

bool isNameCharacter(char c) {
  return nameCharacters[static_cast<unsigned char>(c)];
}

class Parser {
 public:
  Parser(std::string& text, const XmlLimits& limits, ControlReferences controlReferences)
      : begin_(text.data()), text_(text), limits_(limits), controlReferences_(controlReferences) {}

  std::vector<XmlNode> parseDocument() {
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
      fail("the text ends inside element " + excerpt(nodes_[open_.back().index].name));
    }
    if (nodes_.empty()) {
      fail("there is no element");
    }
    return std::move(nodes_);
  }

 private:
  // An element whose end tag has not been read.
  struct OpenElement {
    std::size_t index;
    // Its last child element, or 0.
    std::size_t lastChild = 0;
  };

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
  // by blocks, also where there is a tab in one.
  static const char* skipPlain(const char* place, const char* end) {
    const auto isPlain = [](char c) { return isAscii(c) && (c >= ' ' || text::isSpace(c)); };
    while (end - place >= blockSize &&
           (isPlainBlock(place) || std::all_of(place, place + blockSize, isPlain))) {
      place += blockSize;
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
  std::size_t addNode() {
    if (nodes_.size() >= limits_.nodes) {
      fail("too many elements and attributes");
    }
    nodes_.emplace_back();
    return nodes_.size() - 1;
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
    position_ += std::string_view("<![CDATA[").size();
    const std::string_view text = skipPast("]]>", "a CDATA section");
    const std::size_t end = position_;
    addText(rewritten(text, false));
    position_ = end;
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
    const std::string_view value = scanAttributeValue();
    // A reference is longer than its character, so the value then ends before the quote.
    if (offset(value.data()) + value.size() != position_ - 1) {
      failAt(start, "a reference in the XML declaration");
    }
    return value;
  }

  void scanStartTag() {
    if (open_.empty() && !nodes_.empty()) {
      fail("a second root element");
    }
    if (open_.size() >= limits_.depth) {
      fail("elements nested deeper than " + std::to_string(limits_.depth));
    }
    const std::size_t element = addNode();
    if (!open_.empty()) {
      addChild(open_.back(), element);
    }
    ++position_;
    nodes_[element].name = scanName();
    scanAttributes(element);
    if (skip('/')) {
      expect('>');
      return;
    }
    expect('>');
    open_.push_back({element});
  }

  void addChild(OpenElement& parent, std::size_t child) {
    if (parent.lastChild != 0) {
      nodes_[parent.lastChild].next = static_cast<std::uint32_t>(child - parent.lastChild);
    }
    parent.lastChild = child;
    nodes_[parent.index].hasChildren = true;
  }

  void scanEndTag() {
    if (open_.empty() || !skip(nodes_[open_.back().index].name) || isNameCharacter(next())) {
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

  void scanAttributes(std::size_t element) {
    while (skipSpace() && isNameStart(next())) {
      const std::string_view name = scanName();
      const auto first = nodes_.begin() + static_cast<std::ptrdiff_t>(element + 1);
      if (std::any_of(first, nodes_.end(),
                      [name](const XmlNode& each) { return each.name == name; })) {
        fail("a second attribute " + excerpt(name));
      }
      if (nodes_[element].attributeCount >= limits_.attributes) {
        fail("more than " + std::to_string(limits_.attributes) + " attributes");
      }
      const std::size_t attribute = addNode();
      ++nodes_[element].attributeCount;
      nodes_[attribute].name = name;
      nodes_[attribute].text = scanAttributeValue();
    }
  }

  // Starts at the equal sign.
  std::string_view scanAttributeValue() {
    skipSpace();
    expect('=');
    skipSpace();
    const char quote = next();
    if (quote != '"' && quote != '\'') {
      fail("a quoted attribute value expected");
    }
    const std::size_t start = ++position_;
    skipWhile(valueCharacters);
    std::size_t end = position_;
    while (!skip(quote)) {
      if (position_ == text_.size()) {
        expect(quote);
      }
      if (next() == '<') {
        fail("'<' in an attribute value");
      }
      end = next() == '&' ? writeReference(end) : write(end, takeCharacter(' '));
    }
    return text_.substr(start, end - start);
  }

  // The next character, or `space` for a line end or, in an attribute, for any white space.
  char takeCharacter(char space) {
    const char c = begin_[position_++];
    if (c == '\r') {
      skip('\n');
    }
    return c == '\r' || (space == ' ' && text::isSpace(c)) ? space : c;
  }

  // Each writes to `end`, the end of the text that has been rewritten in its place, and returns its
  // new end. Nothing takes more than what it is written for.
  std::size_t write(std::size_t end, char c) {
    begin_[end] = c;
    return end + 1;
  }
  std::size_t writeReference(std::size_t end) {
    const char32_t character = scanReference();
    return offset(utf8::unchecked::append(static_cast<std::uint32_t>(character), begin_ + end));
  }

  void scanText() {
    if (open_.empty()) {
      if (!skipSpace()) {
        fail("text outside the root element");
      }
      return;
    }
    // Most text is white space between two elements.
    const std::size_t start = position_;
    while (next() == '\n' || next() == ' ') {
      ++position_;
    }
    if (next() == '<') {
      addText(text_.substr(start, position_ - start), false);
      return;
    }
    const std::string_view text = text_.substr(start, text_.find('<', position_) - start);
    if (text.find("]]>") != std::string_view::npos) {
      position_ = start + text.find("]]>");
      fail("']]>' outside a CDATA section");
    }
    addText(rewritten(text, true));
  }

  // Text of an element with its references resolved and its line ends as line feeds; the scan
  // continues after it.
  std::string_view rewritten(std::string_view text, bool hasReferences) {
    constexpr auto npos = std::string_view::npos;
    const std::size_t start = offset(text.data());
    const std::size_t stop = start + text.size();
    if (text.find('\r') == npos && (!hasReferences || text.find('&') == npos)) {
      position_ = stop;
      return text;
    }
    std::size_t end = start;
    for (position_ = start; position_ < stop;) {
      end = hasReferences && next() == '&' ? writeReference(end) : write(end, takeCharacter('\n'));
    }
    return text_.substr(start, end - start);
  }

  void addText(std::string_view text) {
    addText(text, !std::all_of(text.begin(), text.end(), text::isSpace<char>));
  }
  // Adds to the text of the innermost open element, moving it down to the piece before. The text of
  // an element with child elements is not needed: it is white space, or the element is refused.
  void addText(std::string_view text, bool isMoreThanSpace) {
    XmlNode& element = nodes_[open_.back().index];
    element.hasText = element.hasText || isMoreThanSpace;
    if (element.text.empty()) {
      element.text = text;
    } else if (!element.hasChildren) {
      const std::size_t start = offset(element.text.data());
      std::memmove(begin_ + start + element.text.size(), text.data(), text.size());
      element.text = text_.substr(start, element.text.size() + text.size());
    }
  }

  char32_t scanReference() {
    static constexpr std::array<std::pair<std::string_view, char32_t>, 5> entities{
        {{"&amp;", U'&'}, {"&lt;", U'<'}, {"&gt;", U'>'}, {"&quot;", U'"'}, {"&apos;", U'\''}}};
    if (startsWith("&#")) {
      return scanCharacterReference();
    }
    for (const auto& [entity, character] : entities) {
      if (skip(entity)) {
        return character;
      }
    }
    fail("'&' that does not begin a reference of XML");
  }

  char32_t scanCharacterReference() {
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
    return character;
  }

  char* const begin_;
  // Followed by a NUL that is not part of it.
  const std::string_view text_;
  const XmlLimits& limits_;
  const ControlReferences controlReferences_;
  std::size_t position_ = 0;
  std::vector<XmlNode> nodes_;
  std::vector<OpenElement> open_;
};

}  // namespace

XmlDocument::XmlDocument(std::string text, ControlReferences controlReferences,
                         const XmlLimits& limits)
    : text_(std::move(text)), nodes_(Parser(text_, limits, controlReferences).parseDocument()) {}

}  // namespace Pegasus::xml
