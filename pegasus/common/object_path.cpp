#include "common/object_path.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <charconv>

#include "common/name_check.h"

namespace Pegasus {

namespace {

class PathReader {
 public:
  explicit PathReader(std::u16string_view text) : rest_(text) {}

  CIMObjectPath read() {
    CIMObjectPath path;
    readNameSpace(path);
    path.setClassName(takeName(u".="));
    Array<CIMKeyBinding> keys;
    if (rest_ == u"=@") {  // the only instance of a class without keys
      return path;
    }
    if (accept(u'.')) {
      do {
        const String name = takeName(u"=");
        expect(u'=');
        keys.append(readValue(name));
      } while (accept(u','));
    }
    if (!rest_.empty()) {
      fail();
    }
    if (findRepeated(keys) != nullptr) {
      throw InvalidValueException("duplicate key in the object path");
    }
    path.setKeyBindings(keys);
    return path;
  }

 private:
  [[noreturn]] static void fail() {
    throw InvalidValueException("expected an object path such as Class.key=\"text\"");
  }

  void readNameSpace(CIMObjectPath& path) {
    if (rest_.starts_with(u"//")) {
      rest_.remove_prefix(2);
      const std::size_t end = rest_.find(u'/');
      path.setHost(String(std::u16string(take(end))));
      checkHost(path.getHost());
    }
    // A colon in a key value comes after the first of these.
    const std::u16string_view beforeKeys = rest_.substr(0, rest_.find_first_of(u"=\""));
    const std::size_t colon = beforeKeys.rfind(u':');
    if (colon == std::u16string_view::npos) {
      if (path.getHost().size() != 0) {
        fail();
      }
      return;
    }
    path.setNameSpace(trimNameSpace(String(std::u16string(take(colon)))));
    accept(u':');
    if (!isNameSpaceName(path.getNameSpace())) {
      fail();
    }
  }

  // Clients drop the blanks around a host.
  static void checkHost(const String& host) {
    const std::u16string_view text = host.view();
    if (text.empty() ||
        std::any_of(text.begin(), text.end(), [](char16_t c) { return c <= u' '; })) {
      fail();
    }
  }

  // The next `length` characters; npos is a path without the character that was looked for.
  std::u16string_view take(std::size_t length) {
    if (length == std::u16string_view::npos) {
      fail();
    }
    const std::u16string_view taken = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return taken;
  }

  String takeName(std::u16string_view ends) {
    const std::size_t end = rest_.find_first_of(ends);
    const std::u16string name(take(end == std::u16string_view::npos ? rest_.size() : end));
    if (!isIdentifier(String(name))) {
      fail();
    }
    return String(name);
  }

  bool accept(char16_t c) {
    if (rest_.empty() || rest_.front() != c) {
      return false;
    }
    rest_.remove_prefix(1);
    return true;
  }

  void expect(char16_t c) {
    if (!accept(c)) {
      fail();
    }
  }

  CIMKeyBinding readValue(const String& name) {
    if (accept(u'"')) {
      return {name, readQuoted(), CIMKeyBinding::STRING};
    }
    const std::size_t end = rest_.find(u',');
    const String text(std::u16string(take(end == std::u16string_view::npos ? rest_.size() : end)));
    if (String::equalNoCase(text, "true") || String::equalNoCase(text, "false")) {
      return {name, text, CIMKeyBinding::BOOLEAN};
    }
    Integer number;
    if (readInteger(text.toUtf8(), number) != std::errc()) {
      fail();
    }
    const std::string decimal = (number.isNegative ? "-" : "") + std::to_string(number.magnitude);
    return {name, String(std::string_view(decimal)), CIMKeyBinding::NUMERIC};
  }

  String readQuoted() {
    std::u16string text;
    while (!accept(u'"')) {
      accept(u'\\');
      text += take(rest_.empty() ? std::u16string_view::npos : 1);
    }
    return String(std::move(text));
  }

  std::u16string_view rest_;
};

}  // namespace

CIMObjectPath parseObjectPath(const String& text) {
  return PathReader(text.view()).read();
}

std::errc readInteger(std::string_view text, Integer& integer) {
  const bool isNegative = text.starts_with('-');
  std::string_view digits = text;
  if (isNegative || text.starts_with('+')) {
    digits.remove_prefix(1);
  }
  int base = 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  } else if (digits.ends_with('b') || digits.ends_with('B')) {
    digits.remove_suffix(1);
    base = 2;
  } else if (digits.size() > 1 && digits.front() == '0') {
    digits.remove_prefix(1);
    base = 8;
  }
  Uint64 magnitude = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, magnitude, base);
  if (stop != end) {
    return std::errc::invalid_argument;
  }
  if (error == std::errc()) {
    integer = {isNegative && magnitude != 0, magnitude};
  }
  return error;
}

}  // namespace Pegasus
