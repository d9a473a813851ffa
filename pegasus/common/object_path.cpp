#include "common/object_path.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <charconv>

#include "common/name_check.h"

namespace Pegasus {

namespace {

String quoted(const String& text) {
  String result;
  result += u'"';
  for (const Char16 unit : text.view()) {
    if (unit == u'"' || unit == u'\\') {
      result += u'\\';
    }
    result += unit;
  }
  return result += u'"';
}

// A path in a key is quoted, and so are the quotes and backslashes in it: each level of such keys
// doubles the backslashes of the level inside, so that forty levels would exceed any memory.
void checkTextSize(const String& text) {
  constexpr Uint32 maxTextSize = Uint32{1} << 20U;
  if (text.size() > maxTextSize) {
    throw InvalidValueException("the name of an instance is too long for a text");
  }
}

bool isNumericOrBoolean(CIMKeyBinding::Type type) {
  return type == CIMKeyBinding::BOOLEAN || type == CIMKeyBinding::NUMERIC;
}

bool contains(const Array<CIMKeyBinding>& keys, const CIMKeyBinding& wanted) {
  return std::any_of(keys.begin(), keys.end(),
                     [&wanted](const CIMKeyBinding& key) { return key == wanted; });
}

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

  // The next `length` characters; npos means that the character to find is missing.
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
    return {name, decimal, CIMKeyBinding::NUMERIC};
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

CIMKeyBinding::CIMKeyBinding(String name, String value, Type type)
    : name_(std::move(name)), value_(std::move(value)), type_(type) {}

CIMKeyBinding::CIMKeyBinding(String name, const CIMObjectPath& reference)
    : name_(std::move(name)),
      reference_(std::make_shared<CIMObjectPath>(reference)),
      type_(REFERENCE) {}

String CIMKeyBinding::getValue() const {
  return reference_ ? reference_->toString() : value_;
}

const CIMObjectPath& CIMKeyBinding::getReference() const {
  if (!reference_) {
    throw TypeMismatchException();
  }
  return *reference_;
}

Boolean operator==(const CIMKeyBinding& a, const CIMKeyBinding& b) {
  if (a.type_ != b.type_ || !String::equalNoCase(a.name_, b.name_)) {
    return false;
  }
  if (a.reference_ && b.reference_) {
    return *a.reference_ == *b.reference_;
  }
  return a.type_ == CIMKeyBinding::BOOLEAN ? String::equalNoCase(a.value_, b.value_)
                                           : a.value_ == b.value_;
}

CIMObjectPath::CIMObjectPath(String host, String nameSpace, String className,
                             Array<CIMKeyBinding> keyBindings)
    : host_(std::move(host)),
      nameSpace_(std::move(nameSpace)),
      className_(std::move(className)),
      keyBindings_(std::move(keyBindings)) {}

String CIMObjectPath::toString() const {
  String text;
  if (host_.size() > 0) {
    text += String("//") + host_ + "/";
  }
  if (nameSpace_.size() > 0) {
    text += nameSpace_ + ":";
  }
  text += className_;
  Char16 separator = u'.';
  for (const CIMKeyBinding& key : keyBindings_) {
    text += separator;
    separator = u',';
    if (key.getName().size() > 0) {
      text += key.getName() + "=";
    }
    text += isNumericOrBoolean(key.getType()) ? key.getValue() : quoted(key.getValue());
    checkTextSize(text);
  }
  return text;
}

Boolean operator==(const CIMObjectPath& a, const CIMObjectPath& b) {
  return String::equalNoCase(a.host_, b.host_) && String::equalNoCase(a.nameSpace_, b.nameSpace_) &&
         String::equalNoCase(a.className_, b.className_) &&
         a.keyBindings_.size() == b.keyBindings_.size() &&
         std::all_of(a.keyBindings_.begin(), a.keyBindings_.end(),
                     [&b](const CIMKeyBinding& key) { return contains(b.keyBindings_, key); });
}

CIMObjectPath parseObjectPath(const String& text) {
  return PathReader(text.view()).read();
}

std::errc readInteger(std::string_view text, Integer& integer, LeadingZero leadingZero) {
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
  } else if (leadingZero == LeadingZero::octal && digits.size() > 1 && digits.front() == '0') {
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
