// Object paths as texts: //host/namespace:Class.key="text",other=5
#include "common/name_check.h"
#include "xml/object_decoder.h"

#include <algorithm>

#include "model/names.h"
#include "mof/mof_number.h"
#include "mof/mof_values.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMKeyBinding;
using Pegasus::CIMObjectPath;
using Pegasus::String;

class PathReader {
 public:
  PathReader(std::u16string_view text, const Position& position)
      : rest_(text), position_(position) {}

  CIMObjectPath read() {
    CIMObjectPath path;
    readNameSpace(path);
    path.setClassName(takeName(u".="));
    Pegasus::Array<CIMKeyBinding> keys;
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
    checkKeys(keys);
    path.setKeyBindings(keys);
    return path;
  }

 private:
  [[noreturn]] void fail() const {
    throw MofError(position_, "expected an object path such as Class.key=\"text\"");
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
  void checkHost(const String& host) const {
    const std::u16string_view text = host.view();
    if (text.empty() ||
        std::any_of(text.begin(), text.end(), [](char16_t c) { return c <= u' '; })) {
      fail();
    }
  }

  // What clients refuse.
  void checkKeys(const Pegasus::Array<CIMKeyBinding>& keys) const {
    if (keys.size() > Pegasus::xml::maxKeyBindings || Pegasus::findRepeated(keys) != nullptr) {
      throw MofError(position_, "the object path has a key twice, or too many keys");
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
    bool isNegative = false;
    Pegasus::Uint64 magnitude = 0;
    const std::string bytes = text.toUtf8();
    if (bytes.empty() || readInteger(bytes, isNegative, magnitude) != NumberCheck::GOOD) {
      fail();
    }
    const std::string decimal = (isNegative ? "-" : "") + std::to_string(magnitude);
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
  const Position& position_;
};

}  // namespace

CIMObjectPath parseObjectPath(const String& text, const Position& position) {
  return PathReader(text.view(), position).read();
}

}  // namespace cimd::mof
