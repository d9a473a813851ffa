// Reads the productions of a MOF file (DMTF DSP0004 2.x, annex "MOF syntax") one after the other.
#pragma once

#include <optional>
#include <string_view>

#include "mof/mof_lexer.h"
#include "mof/mof_tree.h"

namespace cimd::mof {

class MofParser {
 public:
  // `text` must outlive the parser; `file` is its name for messages.
  MofParser(std::shared_ptr<const std::string> file, std::string_view text);

  // Nothing at the end of the file. Throws MofError at the first thing that is no MOF; the parser
  // is of no use after that.
  std::optional<Production> next();

 private:
  Pragma pragma();
  QualifierType qualifierType();
  Class classDeclaration(std::vector<Qualifier> qualifiers);
  void classFeature(Class& cls);
  Method method(std::vector<Qualifier> qualifiers, DataType returnType, const Token& name);
  Parameter parameter();
  Instance instance();

  std::vector<Qualifier> qualifierList();
  Qualifier qualifier();
  DataType dataType();
  void arraySuffix(DataType& type);
  std::optional<Value> defaultValue();
  Value value();
  Value arrayValue();
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

  MofLexer lexer_;
  Token token_;
};

}  // namespace cimd::mof
