// The syntax tree of a MOF file: names are not looked up yet, and values have no types.
#pragma once

#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/String.h>

#include <optional>
#include <variant>
#include <vector>

#include "common/object_path.h"
#include "mof/error.h"

namespace cimd::mof {

// One constant.
struct Literal {
  enum class Kind { null, boolean, integer, real, character, string, alias };

  Kind kind = Kind::null;
  Position position;
  bool boolean = false;
  Pegasus::Integer integer = {};
  Pegasus::Real64 real = 0;
  // For a string, its pieces joined; for a character, one code unit; for an alias, its name without
  // "$".
  Pegasus::String text = {};
};

// A constant, or constants in braces.
struct ValueSyntax {
  bool isArray = false;
  Position position;
  // One unless isArray.
  std::vector<Literal> literals = {};
};

struct QualifierSyntax {
  Pegasus::String name;
  Position position;
  // Without value it has that of its declaration; for booleans TRUE.
  std::optional<ValueSyntax> value;
  std::vector<Pegasus::String> flavors;
};

using QualifierList = std::vector<QualifierSyntax>;

// The type of a property, parameter or method.
struct DataType {
  Pegasus::CIMType type = Pegasus::CIMTYPE_STRING;
  // For a reference, the class that it points to.
  Pegasus::String className;
  bool isArray = false;
  // 0 for any number of elements.
  Pegasus::Uint32 arraySize = 0;
};

struct QualifierDeclarationSyntax {
  Pegasus::String name;
  Position position;
  DataType type;
  std::optional<ValueSyntax> defaultValue;
  std::vector<Pegasus::String> scopes;
  std::vector<Pegasus::String> flavors;
};

struct PropertySyntax {
  QualifierList qualifiers;
  DataType type;
  Pegasus::String name;
  Position position;
  std::optional<ValueSyntax> defaultValue;
};

struct ParameterSyntax {
  QualifierList qualifiers;
  DataType type;
  Pegasus::String name;
  Position position;
};

struct MethodSyntax {
  QualifierList qualifiers;
  DataType returnType;
  Pegasus::String name;
  Position position;
  std::vector<ParameterSyntax> parameters;
};

struct ClassSyntax {
  QualifierList qualifiers;
  Pegasus::String name;
  Position position;
  // Empty without superclass.
  Pegasus::String superclass;
  std::vector<PropertySyntax> properties;
  std::vector<MethodSyntax> methods;
};

struct AssignmentSyntax {
  Pegasus::String name;
  Position position;
  ValueSyntax value;
};

struct InstanceSyntax {
  Pegasus::String className;
  Position position;
  // Empty without alias.
  Pegasus::String alias;
  std::vector<AssignmentSyntax> assignments;
};

// #pragma name ("parameter")
struct PragmaSyntax {
  Pegasus::String name;
  Position position;
  Pegasus::String parameter;
};

using Production =
    std::variant<PragmaSyntax, QualifierDeclarationSyntax, ClassSyntax, InstanceSyntax>;

}  // namespace cimd::mof
