// Reads the productions of a MOF file (DMTF DSP0004 2.x, annex "MOF syntax") one after the other.
#pragma once

#include <optional>
#include <string_view>

#include "mof/lexer.h"
#include "mof/syntax.h"

namespace cimd::mof {

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
