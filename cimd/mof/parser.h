// Reads the productions of a MOF file (DMTF DSP0004 2.x, annex "MOF syntax") one after the other as
// syntax trees: names are not looked up yet, and values have no types.
#pragma once

#include <Pegasus/Common/String.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/object_path.h"
#include "model/schema.h"
#include "mof/lexer.h"

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

class Parser {
 public:
  // `text` must outlive the parser; `file` is its name for messages.
  Parser(std::shared_ptr<const std::string> file, std::string_view text);

  // Nothing at the end of the file. Throws MofError where the text is not MOF; the parser is of no
  // use after that.
  std::optional<Production> next();

 private:
  PragmaSyntax pragma();
  QualifierDeclarationSyntax qualifierDeclaration();
  ClassSyntax classDeclaration(QualifierList qualifiers);
  void classFeature(ClassSyntax& cls);
  MethodSyntax method(QualifierList qualifiers, DataType returnType, const Token& name);
  ParameterSyntax parameter();
  InstanceSyntax instance();

  // Empty where there is none.
  QualifierList qualifierList();
  QualifierSyntax qualifier();
  DataType dataType();
  void arraySuffix(DataType& type);
  std::optional<ValueSyntax> defaultValue();
  ValueSyntax value();
  ValueSyntax arrayValue();
  Literal literal();
  Literal stringLiteral();
  // Identifiers in parentheses.
  std::vector<Pegasus::String> nameList();

  bool atPunctuation(char c) const;
  bool atKeyword(std::string_view keyword) const;
  bool acceptPunctuation(char c);
  bool acceptKeyword(std::string_view keyword);
  void expectPunctuation(char c);
  void expectKeyword(std::string_view keyword);
  Token expectName(std::string_view what);
  Pegasus::String expectAlias();
  // Returns the current token and moves on.
  Token take();
  [[noreturn]] void fail(const std::string& expected) const;

  Lexer lexer_;
  Token token_;
};

}  // namespace cimd::mof
