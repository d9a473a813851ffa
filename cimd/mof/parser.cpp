#include "mof/parser.h"

#include <utility>

#include "common/cim_types.h"
#include "text/ascii.h"
#include "xml/values.h"

namespace cimd::mof {

namespace {

using Pegasus::String;
using Pegasus::text::equalNoCase;

std::optional<Pegasus::CIMType> intrinsicType(std::string_view name) {
  if (equalNoCase(name, "reference")) {
    return std::nullopt;
  }
  try {
    return Pegasus::xml::parseType(name);
  } catch (const Pegasus::Exception&) {
    return std::nullopt;
  }
}

}  // namespace

Parser::Parser(std::shared_ptr<const std::string> file, std::string_view text)
    : lexer_(std::move(file), text), token_(lexer_.next()) {}

void Parser::fail(const std::string& expected) const {
  throw MofError(token_.position, "expected " + expected + ", found " + describe(token_));
}

Token Parser::take() {
  return std::exchange(token_, lexer_.next());
}

bool Parser::atPunctuation(char c) const {
  return token_.kind == TokenKind::punctuation && token_.text.front() == c;
}

bool Parser::atKeyword(std::string_view keyword) const {
  return token_.kind == TokenKind::identifier && equalNoCase(token_.text, keyword);
}

bool Parser::acceptPunctuation(char c) {
  if (!atPunctuation(c)) {
    return false;
  }
  take();
  return true;
}

bool Parser::acceptKeyword(std::string_view keyword) {
  if (!atKeyword(keyword)) {
    return false;
  }
  take();
  return true;
}

void Parser::expectPunctuation(char c) {
  if (!acceptPunctuation(c)) {
    fail(std::string("'") + c + "'");
  }
}

void Parser::expectKeyword(std::string_view keyword) {
  if (!acceptKeyword(keyword)) {
    fail("'" + std::string(keyword) + "'");
  }
}

Token Parser::expectName(std::string_view what) {
  if (token_.kind != TokenKind::identifier) {
    fail(std::string(what));
  }
  return take();
}

String Parser::expectAlias() {
  if (token_.kind != TokenKind::alias) {
    fail("an alias such as $name");
  }
  return String(take().text);
}

std::optional<Production> Parser::next() {
  if (token_.kind == TokenKind::end) {
    return std::nullopt;
  }
  if (token_.kind == TokenKind::pragma) {
    return pragma();
  }
  if (atKeyword("qualifier")) {
    return qualifierDeclaration();
  }
  QualifierList qualifiers = qualifierList();
  if (atKeyword("class")) {
    return classDeclaration(std::move(qualifiers));
  }
  if (atKeyword("instance")) {
    return instance();
  }
  fail("a class, an instance, a qualifier or #pragma");
}

PragmaSyntax Parser::pragma() {
  take();
  const Token name = expectName("the name of a pragma");
  PragmaSyntax pragma{String(name.text), name.position, String()};
  // The lexer is one token ahead: taking a parenthesis lexes what follows it.
  lexer_.setStringForm(equalNoCase(name.text, "include") ? StringForm::verbatim
                                                         : StringForm::escaped);
  expectPunctuation('(');
  pragma.parameter = stringLiteral().text;
  lexer_.setStringForm(StringForm::escaped);
  expectPunctuation(')');
  return pragma;
}

QualifierDeclarationSyntax Parser::qualifierDeclaration() {
  take();
  const Token name = expectName("the name of a qualifier");
  QualifierDeclarationSyntax qualifier;
  qualifier.name = String(name.text);
  qualifier.position = name.position;
  expectPunctuation(':');
  qualifier.type = dataType();
  arraySuffix(qualifier.type);
  qualifier.defaultValue = defaultValue();
  expectPunctuation(',');
  expectKeyword("scope");
  qualifier.scopes = nameList();
  if (acceptPunctuation(',')) {
    expectKeyword("flavor");
    qualifier.flavors = nameList();
  }
  expectPunctuation(';');
  return qualifier;
}

std::vector<String> Parser::nameList() {
  std::vector<String> names;
  expectPunctuation('(');
  do {
    names.emplace_back(expectName("a name").text);
  } while (acceptPunctuation(','));
  expectPunctuation(')');
  return names;
}

QualifierList Parser::qualifierList() {
  QualifierList qualifiers;
  if (!acceptPunctuation('[')) {
    return qualifiers;
  }
  do {
    qualifiers.push_back(qualifier());
  } while (acceptPunctuation(','));
  expectPunctuation(']');
  return qualifiers;
}

QualifierSyntax Parser::qualifier() {
  const Token name = expectName("the name of a qualifier");
  QualifierSyntax qualifier{String(name.text), name.position, std::nullopt, {}};
  if (acceptPunctuation('(')) {
    qualifier.value = value();
    expectPunctuation(')');
  } else if (atPunctuation('{')) {
    qualifier.value = arrayValue();
  }
  if (acceptPunctuation(':')) {
    do {
      qualifier.flavors.emplace_back(expectName("a flavor").text);
    } while (token_.kind == TokenKind::identifier);
  }
  return qualifier;
}

ClassSyntax Parser::classDeclaration(QualifierList qualifiers) {
  take();
  const Token name = expectName("the name of a class");
  ClassSyntax cls;
  cls.qualifiers = std::move(qualifiers);
  cls.name = String(name.text);
  cls.position = name.position;
  // Nothing can refer to the alias of a class; older files have them.
  if (acceptKeyword("as")) {
    expectAlias();
  }
  if (acceptPunctuation(':')) {
    cls.superclass = String(expectName("the name of the superclass").text);
  }
  expectPunctuation('{');
  while (!acceptPunctuation('}')) {
    classFeature(cls);
  }
  expectPunctuation(';');
  return cls;
}

void Parser::classFeature(ClassSyntax& cls) {
  QualifierList qualifiers = qualifierList();
  DataType type = dataType();
  const Token name = expectName("the name of a property or method");
  if (atPunctuation('(')) {
    cls.methods.push_back(method(std::move(qualifiers), type, name));
    return;
  }
  arraySuffix(type);
  PropertySyntax property{std::move(qualifiers), type, String(name.text), name.position,
                          defaultValue()};
  expectPunctuation(';');
  cls.properties.push_back(std::move(property));
}

MethodSyntax Parser::method(QualifierList qualifiers, DataType returnType, const Token& name) {
  if (returnType.type == Pegasus::CIMTYPE_REFERENCE) {
    throw MofError(name.position, "a method cannot return a reference");
  }
  MethodSyntax method{
      std::move(qualifiers), std::move(returnType), String(name.text), name.position, {}};
  expectPunctuation('(');
  if (!atPunctuation(')')) {
    do {
      method.parameters.push_back(parameter());
    } while (acceptPunctuation(','));
  }
  expectPunctuation(')');
  expectPunctuation(';');
  return method;
}

ParameterSyntax Parser::parameter() {
  ParameterSyntax parameter;
  parameter.qualifiers = qualifierList();
  parameter.type = dataType();
  const Token name = expectName("the name of a parameter");
  parameter.name = String(name.text);
  parameter.position = name.position;
  arraySuffix(parameter.type);
  return parameter;
}

DataType Parser::dataType() {
  const Token name = expectName("a type");
  const auto type = intrinsicType(name.text);
  if (type) {
    return {*type, String(), false, 0};
  }
  if (!acceptKeyword("ref")) {
    throw MofError(name.position, "expected a type, found " + describe(name));
  }
  return {Pegasus::CIMTYPE_REFERENCE, String(name.text), false, 0};
}

void Parser::arraySuffix(DataType& type) {
  if (!acceptPunctuation('[')) {
    return;
  }
  type.isArray = true;
  if (token_.kind == TokenKind::integer) {
    const auto size =
        Pegasus::toInteger<Pegasus::Uint32>(token_.integer.isNegative, token_.integer.magnitude);
    if (!size || *size == 0) {
      fail("the size of an array");
    }
    type.arraySize = *size;
    take();
  }
  expectPunctuation(']');
}

std::optional<ValueSyntax> Parser::defaultValue() {
  return acceptPunctuation('=') ? std::optional(value()) : std::nullopt;
}

ValueSyntax Parser::value() {
  if (atPunctuation('{')) {
    return arrayValue();
  }
  ValueSyntax value{.position = token_.position};
  value.literals.push_back(literal());
  return value;
}

ValueSyntax Parser::arrayValue() {
  ValueSyntax value{.isArray = true, .position = token_.position};
  expectPunctuation('{');
  if (acceptPunctuation('}')) {
    return value;
  }
  do {
    value.literals.push_back(literal());
  } while (acceptPunctuation(','));
  expectPunctuation('}');
  return value;
}

Literal Parser::literal() {
  Literal literal{.position = token_.position};
  switch (token_.kind) {
    case TokenKind::string:
      return stringLiteral();
    case TokenKind::character:
      literal.kind = Literal::Kind::character;
      literal.text = token_.string;
      break;
    case TokenKind::alias:
      literal.kind = Literal::Kind::alias;
      literal.text = String(token_.text);
      break;
    case TokenKind::integer:
      literal.kind = Literal::Kind::integer;
      literal.integer = token_.integer;
      break;
    case TokenKind::real:
      literal.kind = Literal::Kind::real;
      literal.real = token_.real;
      break;
    default:
      literal.boolean = atKeyword("true");
      literal.kind = atKeyword("null") ? Literal::Kind::null : Literal::Kind::boolean;
      if (!atKeyword("true") && !atKeyword("false") && !atKeyword("null")) {
        fail("a value");
      }
  }
  take();
  return literal;
}

Literal Parser::stringLiteral() {
  if (token_.kind != TokenKind::string) {
    fail("a string");
  }
  Literal literal{.kind = Literal::Kind::string, .position = token_.position};
  while (token_.kind == TokenKind::string) {
    literal.text += take().string;
  }
  return literal;
}

InstanceSyntax Parser::instance() {
  take();
  expectKeyword("of");
  const Token className = expectName("the name of a class");
  InstanceSyntax instance;
  instance.className = String(className.text);
  instance.position = className.position;
  if (acceptKeyword("as")) {
    instance.alias = expectAlias();
  }
  expectPunctuation('{');
  while (!acceptPunctuation('}')) {
    qualifierList();
    const Token name = expectName("the name of a property");
    expectPunctuation('=');
    instance.assignments.push_back({String(name.text), name.position, value()});
    expectPunctuation(';');
  }
  expectPunctuation(';');
  return instance;
}

}  // namespace cimd::mof
