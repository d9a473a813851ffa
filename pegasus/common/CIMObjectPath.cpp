#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>

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

// A path in a key is quoted in the text, and what is quoted in it is quoted again: each level of
// such keys doubles the backslashes of the one inside, so that forty of them would fill any memory.
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

}  // namespace Pegasus
