#include "mof/mof_parser.h"

#include "text/ascii.h"
#include "xml/object_decoder.h"

#include <utility>

namespace cimd::mof {

namespace {

using Pegasus::String;
using Pegasus::text::equalNoCase;

// Far more than any schema has; bounds what a wrong file can make the server keep.
constexpr Pegasus::Uint64 largestArraySize = 0xFFFFFFFF;

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

MofParser::MofParser(std::shared_ptr<const std::string> file, std::string_view text)
    : lexer_(std::move(file), text), token_(lexer_.next()) {}

void MofParser::fail(const std::string& expected) const {
  throw MofError(token_.position, "expected " + expected + ", found " + describe(token_));
}

Token MofParser::take() {
  return std::exchange(token_, lexer_.next());
}

bool MofParser::atPunctuation(char c) const {
  return token_.kind == TokenKind::PUNCTUATION && token_.text.front() == c;
}

bool MofParser::atKeyword(std::string_view keyword) const {
  return token_.kind == TokenKind::IDENTIFIER && equalNoCase(token_.text, keyword);
}

bool MofParser::acceptPunctuation(char c) {
  if (!atPunctuation(c)) {
    return false;
  }
  take();
  return true;
}

bool MofParser::acceptKeyword(std::string_view keyword) {
  if (!atKeyword(keyword)) {
    return false;
  }
  take();
  return true;
}

void MofParser::expectPunctuation(char c) {
  if (!acceptPunctuation(c)) {
    fail(std::string("'") + c + "'");
  }
}

void MofParser::expectKeyword(std::string_view keyword) {
  if (!acceptKeyword(keyword)) {
    fail("'" + std::string(keyword) + "'");
  }
}

Token MofParser::expectName(std::string_view what) {
  if (token_.kind != TokenKind::IDENTIFIER) {
    fail(std::string(what));
  }
  return take();
}

String MofParser::expectAlias() {
  if (token_.kind != TokenKind::ALIAS) {
    fail("an alias such as $name");
  }
  return String(take().text);
}

std::optional<Production> MofParser::next() {
  if (token_.kind == TokenKind::END) {
    return std::nullopt;
  }
  if (token_.kind == TokenKind::PRAGMA) {
    return pragma();
  }
  if (atKeyword("qualifier")) {
    return qualifierType();
  }
  std::vector<Qualifier> qualifiers;
  if (atPunctuation('[')) {
    qualifiers = qualifierList();
  }
  if (atKeyword("class")) {
    return classDeclaration(std::move(qualifiers));
  }
  if (atKeyword("instance")) {
    return instance();
  }
  fail("a class, an instance, a qualifier or #pragma");
}

Pragma MofParser::pragma() {
  take();
  const Token name = expectName("the name of a pragma");
  Pragma pragma{String(name.text), name.position, String()};
  // Before the parenthesis is taken, for that reads the string after it. When the last piece of the
  // string has been taken, the parenthesis after it has been read, and what follows has not.
  lexer_.setStringForm(equalNoCase(name.text, "include") ? StringForm::verbatim
                                                         : StringForm::escaped);
  expectPunctuation('(');
  pragma.parameter = stringLiteral().text;
  lexer_.setStringForm(StringForm::escaped);
  expectPunctuation(')');
  return pragma;
}

QualifierType MofParser::qualifierType() {
  take();
  const Token name = expectName("the name of a qualifier");
  QualifierType qualifier;
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

std::vector<String> MofParser::nameList() {
  std::vector<String> names;
  expectPunctuation('(');
  do {
    names.emplace_back(expectName("a name").text);
  } while (acceptPunctuation(','));
  expectPunctuation(')');
  return names;
}

std::vector<Qualifier> MofParser::qualifierList() {
  std::vector<Qualifier> qualifiers;
  expectPunctuation('[');
  do {
    qualifiers.push_back(qualifier());
  } while (acceptPunctuation(','));
  expectPunctuation(']');
  return qualifiers;
}

Qualifier MofParser::qualifier() {
  const Token name = expectName("the name of a qualifier");
  Qualifier qualifier{String(name.text), name.position, std::nullopt, {}};
  if (acceptPunctuation('(')) {
    qualifier.value = value();
    expectPunctuation(')');
  } else if (atPunctuation('{')) {
    qualifier.value = arrayValue();
  }
  if (acceptPunctuation(':')) {
    do {
      qualifier.flavors.emplace_back(expectName("a flavor").text);
    } while (token_.kind == TokenKind::IDENTIFIER);
  }
  return qualifier;
}

Class MofParser::classDeclaration(std::vector<Qualifier> qualifiers) {
  take();
  const Token name = expectName("the name of a class");
  Class cls;
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

void MofParser::classFeature(Class& cls) {
  std::vector<Qualifier> qualifiers;
  if (atPunctuation('[')) {
    qualifiers = qualifierList();
  }
  DataType type = dataType();
  const Token name = expectName("the name of a property or method");
  if (atPunctuation('(')) {
    cls.methods.push_back(method(std::move(qualifiers), type, name));
    return;
  }
  arraySuffix(type);
  Property property{std::move(qualifiers), type, String(name.text), name.position, defaultValue()};
  expectPunctuation(';');
  cls.properties.push_back(std::move(property));
}

Method MofParser::method(std::vector<Qualifier> qualifiers, DataType returnType,
                         const Token& name) {
  if (returnType.type == Pegasus::CIMTYPE_REFERENCE) {
    throw MofError(name.position, "a method cannot return a reference");
  }
  Method method{std::move(qualifiers), std::move(returnType), String(name.text), name.position, {}};
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

Parameter MofParser::parameter() {
  Parameter parameter;
  if (atPunctuation('[')) {
    parameter.qualifiers = qualifierList();
  }
  parameter.type = dataType();
  const Token name = expectName("the name of a parameter");
  parameter.name = String(name.text);
  parameter.position = name.position;
  arraySuffix(parameter.type);
  return parameter;
}

DataType MofParser::dataType() {
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

void MofParser::arraySuffix(DataType& type) {
  if (!acceptPunctuation('[')) {
    return;
  }
  type.isArray = true;
  if (token_.kind == TokenKind::INTEGER) {
    if (token_.isNegative || token_.magnitude == 0 || token_.magnitude > largestArraySize) {
      fail("the size of an array");
    }
    type.arraySize = static_cast<Pegasus::Uint32>(take().magnitude);
  }
  expectPunctuation(']');
}

std::optional<Value> MofParser::defaultValue() {
  return acceptPunctuation('=') ? std::optional(value()) : std::nullopt;
}

Value MofParser::value() {
  if (atPunctuation('{')) {
    return arrayValue();
  }
  Value value{.position = token_.position};
  value.literals.push_back(literal());
  return value;
}

Value MofParser::arrayValue() {
  Value value{.isArray = true, .position = token_.position};
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

Literal MofParser::literal() {
  Literal literal{.position = token_.position};
  switch (token_.kind) {
    case TokenKind::STRING:
      return stringLiteral();
    case TokenKind::CHAR:
      literal.kind = Literal::CHAR;
      literal.text = token_.string;
      break;
    case TokenKind::ALIAS:
      literal.kind = Literal::ALIAS;
      literal.text = String(token_.text);
      break;
    case TokenKind::INTEGER:
      literal.kind = Literal::INTEGER;
      literal.isNegative = token_.isNegative;
      literal.magnitude = token_.magnitude;
      break;
    case TokenKind::REAL:
      literal.kind = Literal::REAL;
      literal.real = token_.real;
      break;
    default:
      literal.boolean = atKeyword("true");
      literal.kind = atKeyword("null") ? Literal::NULL_VALUE : Literal::BOOLEAN;
      if (!atKeyword("true") && !atKeyword("false") && !atKeyword("null")) {
        fail("a value");
      }
  }
  take();
  return literal;
}

Literal MofParser::stringLiteral() {
  if (token_.kind != TokenKind::STRING) {
    fail("a string");
  }
  Literal literal{.kind = Literal::STRING, .position = token_.position};
  while (token_.kind == TokenKind::STRING) {
    literal.text += take().string;
  }
  return literal;
}

Instance MofParser::instance() {
  take();
  expectKeyword("of");
  const Token className = expectName("the name of a class");
  Instance instance;
  instance.className = String(className.text);
  instance.position = className.position;
  if (acceptKeyword("as")) {
    instance.alias = expectAlias();
  }
  expectPunctuation('{');
  while (!acceptPunctuation('}')) {
    if (atPunctuation('[')) {
      qualifierList();
    }
    const Token name = expectName("the name of a property");
    expectPunctuation('=');
    instance.assignments.push_back({String(name.text), name.position, value()});
    expectPunctuation(';');
  }
  expectPunctuation(';');
  return instance;
}

}  // namespace cimd::mof
