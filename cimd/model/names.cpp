#include "model/names.h"

#include <algorithm>

namespace cimd {

namespace {

using Pegasus::String;

bool isLetter(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80;
}

bool isDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}

}  // namespace

FoldedName fold(const String& name) {
  FoldedName folded(name.view());
  for (char16_t& c : folded) {
    if (c >= u'A' && c <= u'Z') {
      c = static_cast<char16_t>(c - u'A' + u'a');
    }
  }
  return folded;
}

String trimNameSpace(const String& name) {
  std::u16string_view text = name.view();
  while (!text.empty() && text.front() == u'/') {
    text.remove_prefix(1);
  }
  while (!text.empty() && text.back() == u'/') {
    text.remove_suffix(1);
  }
  return String(std::u16string(text));
}

bool isIdentifier(const String& name) {
  const std::u16string_view text = name.view();
  return !text.empty() && isLetter(text.front()) &&
         std::all_of(text.begin(), text.end(),
                     [](char16_t c) { return isLetter(c) || isDigit(c); });
}

bool isNameSpaceName(const String& name) {
  const std::u16string_view text = name.view();
  char16_t previous = u'/';
  for (const char16_t c : text) {
    const bool isPart = isLetter(c) || isDigit(c) || c == u'-' || c == u'.';
    if (!isPart && (c != u'/' || previous == u'/')) {
      return false;
    }
    previous = c;
  }
  return previous != u'/';
}

}  // namespace cimd
