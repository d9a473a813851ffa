#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>
#include <utf8.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <ostream>

namespace Pegasus {

const String String::EMPTY;

namespace {

constexpr Char16 replacementCharacter = 0xFFFD;

const char* checked(const char* text) {
  if (text == nullptr) {
    throw NullPointer();
  }
  return text;
}

bool isAscii(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::u16string widened(std::string_view bytes) {
  std::u16string units(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), units.begin(),
                 [](char byte) { return static_cast<Char16>(static_cast<unsigned char>(byte)); });
  return units;
}

std::u16string fromBytes(std::string_view bytes) {
  if (isAscii(bytes) || !utf8::is_valid(bytes.begin(), bytes.end())) {
    return widened(bytes);
  }
  std::u16string units;
  units.reserve(bytes.size());
  utf8::unchecked::utf8to16(bytes.begin(), bytes.end(), std::back_inserter(units));
  return units;
}

std::string_view firstBytes(const char* text, Uint32 n) {
  return {text, strnlen(checked(text), n)};
}

constexpr bool isLeadSurrogate(Char16 unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isTrailSurrogate(Char16 unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t decodePair(Char16 lead, Char16 trail) {
  return 0x10000U + ((static_cast<char32_t>(lead) - 0xD800U) << 10) + (trail - 0xDC00U);
}

constexpr Char16 lowered(Char16 unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<Char16>(unit - u'A' + u'a') : unit;
}

Uint32 toPosition(std::size_t found) {
  return found == std::u16string::npos ? PEG_NOT_FOUND : static_cast<Uint32>(found);
}

}  // namespace

String::String(const char* text) : units_(fromBytes(checked(text))) {}

String::String(const char* text, Uint32 n) : units_(fromBytes(firstBytes(text, n))) {}

String::String(std::u16string units) : units_(std::move(units)) {}

String::String(std::string_view bytes) : units_(fromBytes(bytes)) {}

String& String::assign(const String& text) {
  return *this = text;
}

String& String::assign(const char* text) {
  units_ = fromBytes(checked(text));
  return *this;
}

String& String::assign(const char* text, Uint32 n) {
  units_ = fromBytes(firstBytes(text, n));
  return *this;
}

void String::clear() {
  units_.clear();
}

String& String::append(Char16 unit) {
  units_ += unit;
  return *this;
}

String& String::append(const String& text) {
  units_ += text.units_;
  return *this;
}

String& String::operator+=(Char16 unit) {
  return append(unit);
}

String& String::operator+=(const String& text) {
  return append(text);
}

Uint32 String::size() const {
  return static_cast<Uint32>(units_.size());
}

Char16 String::operator[](Uint32 position) const {
  if (position >= size()) {
    throw IndexOutOfBoundsException();
  }
  return units_[position];
}

Uint32 String::find(Char16 unit) const {
  return toPosition(units_.find(unit));
}

Uint32 String::find(Uint32 position, Char16 unit) const {
  return toPosition(units_.find(unit, position));
}

Uint32 String::find(const String& text) const {
  return toPosition(units_.find(text.units_));
}

Uint32 String::find(const char* text) const {
  return find(String(text));
}

Uint32 String::reverseFind(Char16 unit) const {
  return toPosition(units_.rfind(unit));
}

String String::subString(Uint32 position, Uint32 length) const {
  return position >= size() ? String() : String(units_.substr(position, length));
}

void String::toLower() {
  std::transform(units_.begin(), units_.end(), units_.begin(), lowered);
}

char* String::allocateCString(Uint32 extraBytes, Boolean noThrow) const {
  if (!noThrow &&
      std::any_of(units_.begin(), units_.end(), [](Char16 unit) { return unit > 0xFF; })) {
    throw TruncatedCharacter();
  }
  char* text = new char[units_.size() + 1 + extraBytes];
  std::transform(units_.begin(), units_.end(), text,
                 [](Char16 unit) { return static_cast<char>(static_cast<unsigned char>(unit)); });
  text[units_.size()] = '\0';
  return text;
}

std::string String::toUtf8() const {
  std::string bytes;
  bytes.reserve(units_.size());
  for (std::size_t i = 0; i < units_.size(); i++) {
    const Char16 unit = units_[i];
    if (unit < 0x80) {
      bytes += static_cast<char>(unit);
    } else if (isLeadSurrogate(unit) && i + 1 < units_.size() && isTrailSurrogate(units_[i + 1])) {
      utf8::unchecked::append(decodePair(unit, units_[++i]), std::back_inserter(bytes));
    } else {
      const bool isAlone = isLeadSurrogate(unit) || isTrailSurrogate(unit);
      utf8::unchecked::append(isAlone ? replacementCharacter : unit, std::back_inserter(bytes));
    }
  }
  return bytes;
}

int String::compare(const String& a, const String& b) {
  return a.units_.compare(b.units_);
}

int String::compareNoCase(const String& a, const String& b) {
  const auto [inA, inB] =
      std::mismatch(a.units_.begin(), a.units_.end(), b.units_.begin(), b.units_.end(),
                    [](Char16 x, Char16 y) { return lowered(x) == lowered(y); });
  if (inA == a.units_.end() || inB == b.units_.end()) {
    return (inA != a.units_.end()) - (inB != b.units_.end());
  }
  return lowered(*inA) < lowered(*inB) ? -1 : 1;
}

Boolean String::equal(const String& a, const String& b) {
  return a.units_ == b.units_;
}

Boolean String::equalNoCase(const String& a, const String& b) {
  return std::equal(a.units_.begin(), a.units_.end(), b.units_.begin(), b.units_.end(),
                    [](Char16 x, Char16 y) { return lowered(x) == lowered(y); });
}

Boolean operator==(const String& a, const String& b) {
  return String::equal(a, b);
}
Boolean operator==(const String& a, const char* b) {
  return a == String(b);
}
Boolean operator==(const char* a, const String& b) {
  return String(a) == b;
}
Boolean operator!=(const String& a, const String& b) {
  return !(a == b);
}
Boolean operator!=(const String& a, const char* b) {
  return !(a == b);
}
Boolean operator!=(const char* a, const String& b) {
  return !(a == b);
}
Boolean operator<(const String& a, const String& b) {
  return String::compare(a, b) < 0;
}

String operator+(const String& a, const String& b) {
  String sum = a;
  return sum += b;
}

std::ostream& operator<<(std::ostream& stream, const String& text) {
  return stream << text.toUtf8();
}

}  // namespace Pegasus
