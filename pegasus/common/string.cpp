#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <algorithm>
#include <cstring>
#include <ostream>

#include "text/ascii.h"
#include "text/utf16.h"

namespace Pegasus {

const String String::EMPTY;

namespace {

const char* checked(const char* text) {
  if (text == nullptr) {
    throw NullPointer();
  }
  return text;
}

std::string_view firstBytes(const char* text, Uint32 n) {
  return {text, strnlen(checked(text), n)};
}

Uint32 toPosition(std::size_t found) {
  return found == std::u16string::npos ? PEG_NOT_FOUND : static_cast<Uint32>(found);
}

}  // namespace

String::String(const char* text) : units_(text::toUtf16(checked(text))) {}

String::String(const char* text, Uint32 n) : units_(text::toUtf16(firstBytes(text, n))) {}

String::String(std::u16string units) : units_(std::move(units)) {}

String::String(const std::string& bytes) : units_(text::toUtf16(bytes)) {}

String::String(std::string_view bytes) : units_(text::toUtf16(bytes)) {}

String& String::assign(const String& text) {
  return *this = text;
}

String& String::assign(const char* text) {
  units_ = text::toUtf16(checked(text));
  return *this;
}

String& String::assign(const char* text, Uint32 n) {
  units_ = text::toUtf16(firstBytes(text, n));
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
  std::transform(units_.begin(), units_.end(), units_.begin(), text::lowered<Char16>);
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
  return text::toUtf8(units_);
}

int String::compare(const String& a, const String& b) {
  return a.units_.compare(b.units_);
}

int String::compareNoCase(const String& a, const String& b) {
  const auto [inA, inB] =
      std::mismatch(a.units_.begin(), a.units_.end(), b.units_.begin(), b.units_.end(),
                    [](Char16 x, Char16 y) { return text::lowered(x) == text::lowered(y); });
  if (inA == a.units_.end() || inB == b.units_.end()) {
    return (inA != a.units_.end()) - (inB != b.units_.end());
  }
  return text::lowered(*inA) < text::lowered(*inB) ? -1 : 1;
}

Boolean String::equal(const String& a, const String& b) {
  return a.units_ == b.units_;
}

Boolean String::equalNoCase(const String& a, const String& b) {
  return text::equalNoCase(a.view(), b.view());
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
