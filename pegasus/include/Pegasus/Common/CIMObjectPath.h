// The name of an instance: host, namespace, class and keys (DMTF DSP0004, object names).
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>

#include <memory>

namespace Pegasus {

class CIMObjectPath;

// One key of an instance name. The value is kept as the text that the server gave, so that it goes
// back unchanged.
class CIMKeyBinding {
 public:
  enum Type { BOOLEAN, STRING, NUMERIC, REFERENCE };

  // For REFERENCE use the other constructor. `name` may be empty: CIM-XML allows a single key
  // without a name.
  CIMKeyBinding(String name, String value, Type type);
  CIMKeyBinding(String name, const CIMObjectPath& reference);

  const String& getName() const { return name_; }
  Type getType() const { return type_; }
  // The key's text; of a REFERENCE the referenced path's toString(), which may throw.
  String getValue() const;
  // The referenced path; throws TypeMismatchException unless the type is REFERENCE. Lives as long
  // as any copy of this key.
  const CIMObjectPath& getReference() const;

  // Names without regard to case; boolean values without regard to case; numeric values by their
  // text; references as paths.
  friend Boolean operator==(const CIMKeyBinding& a, const CIMKeyBinding& b);

 private:
  String name_;
  String value_;
  std::shared_ptr<const CIMObjectPath> reference_;
  Type type_;
};

// A value. Host and namespace are empty where the name does not carry them.
class CIMObjectPath {
 public:
  CIMObjectPath() = default;
  CIMObjectPath(String host, String nameSpace, String className,
                Array<CIMKeyBinding> keyBindings = Array<CIMKeyBinding>());

  const String& getHost() const { return host_; }
  const String& getNameSpace() const { return nameSpace_; }
  const String& getClassName() const { return className_; }
  const Array<CIMKeyBinding>& getKeyBindings() const { return keyBindings_; }

  void setHost(String host) { host_ = std::move(host); }
  void setNameSpace(String nameSpace) { nameSpace_ = std::move(nameSpace); }
  void setClassName(String className) { className_ = std::move(className); }
  void setKeyBindings(Array<CIMKeyBinding> keyBindings) { keyBindings_ = std::move(keyBindings); }

  // The untyped form of DSP0207/DSP0004: //host/namespace:Class.key="text",other=5
  // with " and \ in texts escaped by \. Throws InvalidValueException when that is longer than 1 Mi
  // code units, as a few keys can make it that are paths with such keys themselves.
  String toString() const;

  // Host, namespace, class and key names without regard to case, keys in any order.
  friend Boolean operator==(const CIMObjectPath& a, const CIMObjectPath& b);

 private:
  String host_;
  String nameSpace_;
  String className_;
  Array<CIMKeyBinding> keyBindings_;
};

}  // namespace Pegasus
