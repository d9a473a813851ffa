// Cuts MOF text (DMTF DSP0004, annex "MOF syntax") into tokens.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <string>
#include <string_view>

#include "mof/mof_error.h"

namespace cimd::mof {

enum class TokenKind {
  END,
  // Keywords are identifiers too: which ones they are depends on the place, for classes have
  // properties called "class".
  IDENTIFIER,
  PRAGMA,   // #pragma
  ALIAS,    // $name
  STRING,   // one piece, "..."
  CHAR,     // 'x'
  INTEGER,  // decimal, hexadecimal, octal or binary
  REAL,
  PUNCTUATION,  // one of { } [ ] ( ) , ; : =
};

struct Token {
  TokenKind kind = TokenKind::END;
  Position position;
  // The token as it stands in the file; valid as long as the lexed text. Without "$" for ALIAS.
  std::string_view text = {};
  // STRING: the text with its escapes resolved. CHAR: one code unit.
  Pegasus::String string = {};
  // INTEGER: sign and absolute value. -0 is 0.
  bool isNegative = false;
  Pegasus::Uint64 magnitude = 0;
  // REAL.
  Pegasus::Real64 real = 0;
};

// How the text between the double quotes of a string is read.
enum class StringForm {
  escaped,   // with the escapes of DSP0004
  verbatim,  // a backslash is a backslash: file names, which schemas write as on the system they
             // come from
};

class MofLexer {
 public:
  // `text` must outlive the lexer. A byte order mark at its beginning is passed over.
  MofLexer(std::shared_ptr<const std::string> file, std::string_view text);

  // The next token; END for ever at the end. Throws MofError for what is no token.
  Token next();

  // For the strings that follow; escaped at the beginning.
  void setStringForm(StringForm form) { stringForm_ = form; }

 private:
  Position here() const;
  bool atEnd() const { return offset_ >= text_.size(); }
  char peek(std::size_t ahead = 0) const;
  void advance(std::size_t bytes = 1);
  void skipBlanks();
  void skipBlockComment();
  // Moves behind the longest run of name characters; the run.
  std::string_view takeWord();
  std::string_view takeNumber() const;

  Token identifier();
  Token directive();
  Token alias();
  Token string();
  Token character();
  Token number();
  // One character or escape up to `quote`, appended to `out`.
  void takeCharacter(char quote, Pegasus::String& out);
  char16_t takeEscape();
  char16_t takeHexEscape();

  std::shared_ptr<const std::string> file_;
  std::string_view text_;
  std::size_t offset_ = 0;
  unsigned line_ = 1;
  unsigned column_ = 1;
  StringForm stringForm_ = StringForm::escaped;
};

// How messages name the token: "'foo'", "end of file", "string".
std::string describe(const Token& token);

}  // namespace cimd::mof
