// Cuts MOF text (DMTF DSP0004, annex "MOF syntax") into tokens.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <string>
#include <string_view>

#include "common/object_path.h"
#include "mof/error.h"

namespace cimd::mof {

enum class TokenKind {
  end,
  // Keywords are identifiers too: only the place decides, since a property may be called "class".
  identifier,
  pragma,       // #pragma
  alias,        // $name
  string,       // one piece, "..."
  character,    // 'x'
  integer,      // decimal 15, hexadecimal 0xF, octal 017 or binary 1111b, with or without sign
  real,         // 1.5, -.25, 6.02e23: always with a point and a digit after it
  punctuation,  // one of { } [ ] ( ) , ; : =
};

struct Token {
  TokenKind kind = TokenKind::end;
  Position position;
  // The token as it is in the file, but an alias without its "$". Valid as long as the lexed text.
  std::string_view text = {};
  // For a string, the text, escapes resolved; for a character, one code unit.
  Pegasus::String string = {};
  Pegasus::Integer integer = {};
  // For a real.
  Pegasus::Real64 real = 0;
};

// How the text between the double quotes of a string is read.
enum class StringForm {
  escaped,   // with the escapes of DSP0004
  verbatim,  // a backslash is a backslash, as in the file names of schemas that come from Windows
};

class Lexer {
 public:
  // `text` must outlive the lexer. A byte order mark at its beginning is skipped.
  Lexer(std::shared_ptr<const std::string> file, std::string_view text);

  // The next token; at the end, one of kind `end` again and again. Throws MofError for text that
  // is not a token.
  Token next();

  // For the strings that follow; `escaped` at the beginning.
  void setStringForm(StringForm form) { stringForm_ = form; }

 private:
  Position here() const;
  bool atEnd() const { return offset_ >= text_.size(); }
  char peek(std::size_t ahead = 0) const;
  void advance(std::size_t bytes = 1);
  void skipBlanks();
  void skipBlockComment();
  // Moves past the longest run of name characters, and returns it.
  std::string_view takeWord();
  std::string_view peekNumber() const;

  Token identifier();
  Token directive();
  Token alias();
  Token string();
  Token character();
  Token number();
  // Appends one character or escape, or a longer piece of a string without escapes, to `out`.
  void takeCharacters(char quote, Pegasus::String& out);
  char16_t takeEscape();
  char16_t takeHexEscape();

  std::shared_ptr<const std::string> file_;
  std::string_view text_;
  std::size_t offset_ = 0;
  unsigned line_ = 1;
  unsigned column_ = 1;
  StringForm stringForm_ = StringForm::escaped;
};

// How messages name the token: "'foo'", "end of file", "a string".
std::string describe(const Token& token);

}  // namespace cimd::mof
