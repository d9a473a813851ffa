// What a MOF file says, as it says it: names are not looked up, values have no types yet.
#pragma once

#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/String.h>

#include <optional>
#include <variant>
#include <vector>

#include "mof/mof_error.h"

namespace cimd::mof {

// One constant.
struct Literal {
  enum Kind { NULL_VALUE, BOOLEAN, INTEGER, REAL, CHAR, STRING, ALIAS };

  Kind kind = NULL_VALUE;
  Position position;
  bool boolean = false;
  // INTEGER: sign and absolute value.
  bool isNegative = false;
  Pegasus::Uint64 magnitude = 0;
  Pegasus::Real64 real = 0;
  // STRING: the pieces joined. CHAR: one code unit. ALIAS: the name without "$".
  Pegasus::String text = {};
};

// A constant, or constants in braces.
struct Value {
  bool isArray = false;
  Position position;
  // One unless isArray.
  std::vector<Literal> literals = {};
};

struct Qualifier {
  Pegasus::String name;
  Position position;
  // Without value it has that of its declaration; for booleans TRUE.
  std::optional<Value> value;
  std::vector<Pegasus::String> flavors;
};

// The type of a property, parameter or method.
struct DataType {
  Pegasus::CIMType type = Pegasus::CIMTYPE_STRING;
  // For references.
  Pegasus::String className;
  bool isArray = false;
  // 0 for any number of elements.
  Pegasus::Uint32 arraySize = 0;
};

struct QualifierType {
  Pegasus::String name;
  Position position;
  DataType type;
  std::optional<Value> defaultValue;
  std::vector<Pegasus::String> scopes;
  std::vector<Pegasus::String> flavors;
};

struct Property {
  std::vector<Qualifier> qualifiers;
  DataType type;
  Pegasus::String name;
  Position position;
  std::optional<Value> defaultValue;
};

struct Parameter {
  std::vector<Qualifier> qualifiers;
  DataType type;
  Pegasus::String name;
  Position position;
};

struct Method {
  std::vector<Qualifier> qualifiers;
  DataType returnType;
  Pegasus::String name;
  Position position;
  std::vector<Parameter> parameters;
};

struct Class {
  std::vector<Qualifier> qualifiers;
  Pegasus::String name;
  Position position;
  // Empty without superclass.
  Pegasus::String superclass;
  std::vector<Property> properties;
  std::vector<Method> methods;
};

struct Assignment {
  Pegasus::String name;
  Position position;
  Value value;
};

// #pragma name ("parameter")
struct Pragma {
  Pegasus::String name;
  Position position;
  Pegasus::String parameter;
};

struct Instance {
  Pegasus::String className;
  Position position;
  // Empty without alias.
  Pegasus::String alias;
  std::vector<Assignment> assignments;
};

using Production = std::variant<Pragma, QualifierType, Class, Instance>;

}  // namespace cimd::mof
