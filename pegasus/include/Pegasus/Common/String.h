// Text as the CIM data model has it: a sequence of UTF-16 code units (DMTF DSP0004, type string).
#pragma once

#include <Pegasus/Common/Config.h>

#include <iosfwd>
#include <string>
#include <string_view>

namespace Pegasus {

// A value: copies are independent. Positions count code units from 0 and all arithmetic on them is
// that of Uint32. No operation fails on a position outside the text unless it says so.
//
// 8-bit text becomes a String so: valid UTF-8 is decoded (characters past U+FFFF become surrogate
// pairs); text that is not valid UTF-8 as a whole is taken byte for byte, 0x80-0xFF becoming
// U+0080-U+00FF. Nothing is lost and nothing throws but std::bad_alloc. A null `const char*`
// throws NullPointer everywhere.
class String {
 public:
  static const String EMPTY;

  String() = default;
  String(const char* text);  // NOLINT: callers pass literals where a String is wanted
  // At most n bytes of text, fewer if a zero byte ends it before.
  String(const char* text, Uint32 n);
  // UTF-16 code units, taken as they are.
  explicit String(std::u16string units);
  // 8-bit text in which NUL is an ordinary character.
  String(
      const std::string& bytes);  // NOLINT: composed messages are passed where a String is wanted
  explicit String(std::string_view bytes);

  String& assign(const String& text);
  String& assign(const char* text);
  // At most n bytes of text, fewer if a zero byte ends it before.
  String& assign(const char* text, Uint32 n);
  void clear();

  String& append(Char16 unit);
  String& append(const String& text);
  String& operator+=(Char16 unit);
  String& operator+=(const String& text);

  Uint32 size() const;
  // Throws IndexOutOfBoundsException when position >= size().
  Char16 operator[](Uint32 position) const;

  // The position of the first occurrence (at or after `position`, where given), or PEG_NOT_FOUND;
  // also when `position` is at or past the end. An empty text is found at 0.
  Uint32 find(Char16 unit) const;
  Uint32 find(Uint32 position, Char16 unit) const;
  Uint32 find(const String& text) const;
  Uint32 find(const char* text) const;
  // The position of the last occurrence, or PEG_NOT_FOUND.
  Uint32 reverseFind(Char16 unit) const;

  // The units from `position` on, at most `length` of them. A start at or past the end gives the
  // empty text; a length that runs past the end is clamped to it.
  String subString(Uint32 position, Uint32 length = PEG_NOT_FOUND) const;

  // Folds A-Z to a-z in place; other letters stay.
  void toLower();

  // The text as bytes with a terminating zero, one byte per code unit (ISO 8859-1). The caller owns
  // the array and frees it with delete[]. `extraBytes` are allocated after the terminating zero.
  // A unit above 255 throws TruncatedCharacter, or with `noThrow` is cut to its low byte.
  char* allocateCString(Uint32 extraBytes = 0, Boolean noThrow = false) const;

  // The text as UTF-8; a surrogate without its partner becomes U+FFFD.
  std::string toUtf8() const;
  // The code units; valid as long as the String is neither changed nor destroyed.
  std::u16string_view view() const { return units_; }

  // Negative, 0 or positive as `a` sorts before, with or after `b`, unit by unit.
  static int compare(const String& a, const String& b);
  // The same when A-Z and a-z are taken as the same letters.
  static int compareNoCase(const String& a, const String& b);
  static Boolean equal(const String& a, const String& b);
  // Equal when A-Z and a-z are taken as the same letters, over the whole text.
  static Boolean equalNoCase(const String& a, const String& b);

 private:
  std::u16string units_;
};

Boolean operator==(const String& a, const String& b);
Boolean operator==(const String& a, const char* b);
Boolean operator==(const char* a, const String& b);
Boolean operator!=(const String& a, const String& b);
Boolean operator!=(const String& a, const char* b);
Boolean operator!=(const char* a, const String& b);
Boolean operator<(const String& a, const String& b);
String operator+(const String& a, const String& b);
// Writes UTF-8.
std::ostream& operator<<(std::ostream& stream, const String& text);

}  // namespace Pegasus
