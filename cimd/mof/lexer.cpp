#include "mof/lexer.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "text/ascii.h"

namespace cimd::mof {

namespace {

using Pegasus::String;
using Pegasus::text::isDigit;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
// U+FFFE and U+FFFF, the only characters of a name that XML does not have.
constexpr std::array<std::string_view, 2> nonCharacters{"\xEF\xBF\xBE", "\xEF\xBF\xBF"};

bool isNameStart(char c) {
  return Pegasus::text::isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isNamePart(char c) {
  return isNameStart(c) || isDigit(c);
}

bool isBlank(char c) {
  return Pegasus::text::isSpace(c) || c == '\f' || c == '\v';
}

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20;
}

// False for the second and later bytes of a UTF-8 character.
bool startsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80;
}

int hexDigit(char c) {
  if (isDigit(c)) {
    return c - '0';
  }
  const char lower = Pegasus::text::lowered(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string quoted(char c) {
  if (isControl(c) || c == 0x7F) {
    constexpr const char* digits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    return std::string("control character 0x") + digits[byte >> 4U] + digits[byte & 15U];
  }
  return std::string("'") + c + "'";
}

// A real always has a point with a digit after it. Errors as of std::from_chars.
std::errc readReal(std::string_view text, Pegasus::Real64& value) {
  const bool isNegative = text.starts_with('-');
  const std::string_view digits = isNegative || text.starts_with('+') ? text.substr(1) : text;
  const std::size_t point = digits.find('.');
  // "inf" and "nan" have no point.
  if (point == std::string_view::npos || point + 1 >= digits.size() ||
      !isDigit(digits[point + 1])) {
    return std::errc::invalid_argument;
  }
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value);
  value = isNegative ? -value : value;
  return stop != end ? std::errc::invalid_argument : error;
}

}  // namespace

std::string describe(const Token& token) {
  constexpr std::size_t longest = 40;
  switch (token.kind) {
    case TokenKind::end:
      return "end of file";
    case TokenKind::string:
      return "a string";
    case TokenKind::pragma:
      return "'#" + std::string(token.text) + "'";
    case TokenKind::alias:
      return "'$" + std::string(token.text.substr(0, longest)) + "'";
    default:
      return "'" + std::string(token.text.substr(0, longest)) + "'";
  }
}

Lexer::Lexer(std::shared_ptr<const std::string> file, std::string_view text)
    : file_(std::move(file)), text_(text) {
  if (text_.starts_with(byteOrderMark)) {
    offset_ = byteOrderMark.size();
  }
}

Position Lexer::here() const {
  return {file_, line_, column_};
}

char Lexer::peek(std::size_t ahead) const {
  return offset_ + ahead < text_.size() ? text_[offset_ + ahead] : '\0';
}

void Lexer::advance(std::size_t bytes) {
  for (; bytes > 0 && !atEnd(); --bytes, ++offset_) {
    if (text_[offset_] == '\n') {
      ++line_;
      column_ = 1;
    } else if (startsCharacter(text_[offset_])) {
      ++column_;
    }
  }
}

void Lexer::skipBlanks() {
  while (!atEnd()) {
    if (isBlank(peek())) {
      advance();
    } else if (peek() == '/' && peek(1) == '/') {
      advance(std::min(text_.find('\n', offset_), text_.size()) - offset_);
    } else if (peek() == '/' && peek(1) == '*') {
      skipBlockComment();
    } else {
      return;
    }
  }
}

void Lexer::skipBlockComment() {
  constexpr std::size_t markLength = 2;
  const std::size_t end = text_.find("*/", offset_ + markLength);
  if (end == std::string_view::npos) {
    throw MofError(here(), "expected '*/' after this, found end of file");
  }
  advance(end + markLength - offset_);
}

Token Lexer::next() {
  skipBlanks();
  if (atEnd()) {
    Token end;
    end.position = here();
    return end;
  }
  const char c = peek();
  if (isNameStart(c)) {
    return identifier();
  }
  if (isDigit(c) || c == '+' || c == '-' || c == '.') {
    return number();
  }
  switch (c) {
    case '"':
      return string();
    case '\'':
      return character();
    case '$':
      return alias();
    case '#':
      return directive();
    default:
      break;
  }
  if (c == '\0' || std::string_view("{}[](),;:=").find(c) == std::string_view::npos) {
    throw MofError(here(), "unexpected " + quoted(c));
  }
  Token token{.kind = TokenKind::punctuation, .position = here(), .text = text_.substr(offset_, 1)};
  advance();
  return token;
}

std::string_view Lexer::takeWord() {
  const std::size_t start = offset_;
  std::size_t end = start;
  while (end < text_.size() && isNamePart(text_[end])) {
    ++end;
  }
  const std::string_view word = text_.substr(start, end - start);
  for (const std::string_view unsendable : nonCharacters) {
    if (word.find(unsendable) != std::string_view::npos) {
      throw MofError(here(), "the name has a character that cannot be sent in CIM-XML");
    }
  }
  advance(end - start);
  return word;
}

Token Lexer::identifier() {
  Token token{.kind = TokenKind::identifier, .position = here()};
  token.text = takeWord();
  return token;
}

Token Lexer::directive() {
  Token token{.kind = TokenKind::pragma, .position = here()};
  advance();
  token.text = takeWord();
  if (!String::equalNoCase(String(token.text), "pragma")) {
    throw MofError(token.position, "expected '#pragma', found '#" + std::string(token.text) + "'");
  }
  return token;
}

Token Lexer::alias() {
  Token token{.kind = TokenKind::alias, .position = here()};
  advance();
  if (!isNameStart(peek())) {
    throw MofError(token.position, "expected a name after '$'");
  }
  token.text = takeWord();
  return token;
}

Token Lexer::string() {
  Token token{.kind = TokenKind::string, .position = here()};
  const std::size_t start = offset_;
  advance();
  while (peek() != '"') {
    takeCharacters('"', token.string);
  }
  advance();
  token.text = text_.substr(start, offset_ - start);
  return token;
}

Token Lexer::character() {
  Token token{.kind = TokenKind::character, .position = here()};
  const std::size_t start = offset_;
  advance();
  if (peek() == '\'' && !atEnd()) {
    throw MofError(here(), "expected a character, found \"'\"");
  }
  takeCharacters('\'', token.string);
  if (peek() != '\'' || token.string.size() != 1) {
    throw MofError(token.position, "expected one 16-bit character between single quotes");
  }
  advance();
  token.text = text_.substr(start, offset_ - start);
  return token;
}

void Lexer::takeCharacters(char quote, String& out) {
  if (atEnd() || peek() == '\n' || peek() == '\r') {
    throw MofError(here(), std::string("expected ") + quote + " before the end of the " +
                               (atEnd() ? "file" : "line"));
  }
  const bool hasEscapes = quote != '"' || stringForm_ == StringForm::escaped;
  if (hasEscapes && peek() == '\\') {
    out += takeEscape();
    return;
  }
  if (isControl(peek()) && peek() != '\t') {
    throw MofError(here(), "unexpected " + quoted(peek()));
  }
  // A string is taken in long pieces, because a piece is UTF-8 or not as a whole; a character
  // constant is taken one character at a time.
  const auto endsPiece = [&](char c) {
    return quote == '"' ? isControl(c) || c == '"' || (hasEscapes && c == '\\')
                        : startsCharacter(c);
  };
  std::size_t end = offset_ + 1;
  while (end < text_.size() && !endsPiece(text_[end])) {
    ++end;
  }
  out += String(text_.substr(offset_, end - offset_));
  advance(end - offset_);
}

char16_t Lexer::takeEscape() {
  constexpr std::string_view names = "btnfr\"'\\";
  constexpr std::u16string_view meanings = u"\b\t\n\f\r\"'\\";
  const char c = peek(1);
  if (c == 'x' || c == 'X') {
    return takeHexEscape();
  }
  const std::size_t found = names.find(c);
  if (found == std::string_view::npos) {
    throw MofError(here(), "unknown escape \\" + std::string(c < 0x20 ? "" : std::string(1, c)));
  }
  advance(2);
  return meanings[found];
}

char16_t Lexer::takeHexEscape() {
  constexpr int mostDigits = 4;
  const Position position = here();
  advance(2);
  unsigned value = 0;
  int digits = 0;
  for (; digits < mostDigits && hexDigit(peek()) >= 0; ++digits) {
    value = value * 16 + static_cast<unsigned>(hexDigit(peek()));
    advance();
  }
  if (value == 0) {
    throw MofError(position, "expected one to four hexadecimal digits, not all zero, after \\x");
  }
  return static_cast<char16_t>(value);
}

// Everything up to the next character that cannot be part of a number, so that "12abc" is one
// malformed number and not two tokens.
std::string_view Lexer::peekNumber() const {
  std::size_t end = offset_ + 1;
  while (end < text_.size() &&
         (isNamePart(text_[end]) || text_[end] == '.' ||
          ((text_[end] == '+' || text_[end] == '-') && (text_[end - 1] | 0x20) == 'e'))) {
    ++end;
  }
  return text_.substr(offset_, end - offset_);
}

Token Lexer::number() {
  Token token{.kind = TokenKind::integer, .position = here()};
  token.text = peekNumber();
  std::errc error = Pegasus::readInteger(token.text, token.integer);
  if (error == std::errc::invalid_argument) {
    token.kind = TokenKind::real;
    error = readReal(token.text, token.real);
  }
  if (error == std::errc::invalid_argument) {
    throw MofError(token.position, "expected a number, found " + describe(token));
  }
  if (error != std::errc()) {
    const bool isReal = token.kind == TokenKind::real;
    throw MofError(token.position, "the number " + std::string(token.text) +
                                       (isReal ? " is too large or too small" : " is too large"));
  }
  advance(token.text.size());
  return token;
}

}  // namespace cimd::mof
