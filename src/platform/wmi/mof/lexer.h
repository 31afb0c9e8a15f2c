// The words, literals and signs of a schema file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/wmi/mof/source.h"

namespace kelvarion::platform::wmi::mof {

struct Token {
  enum class Kind {
    kEnd,
    kWord,
    kAlias,      // $Name
    kString,     // one quoted part
    kCharacter,  // 'x'
    kInteger,
    kReal,
    kSign,  // one of []{}():;,=
    kPragma,
  };

  Kind kind = Kind::kEnd;
  Location where;
  // The word, the alias with its $, the contents of the string, or the sign; a number as written.
  std::u16string text;
  bool negative = false;
  std::uint64_t magnitude = 0;  // of an integer; the code of a character
  double real = 0;
};

// The last token is the end of the file. Throws CompileError.
std::vector<Token> Tokenize(std::u16string_view source, const Location& start);

// How a message calls the token.
std::u16string Describe(const Token& token);

}  // namespace kelvarion::platform::wmi::mof
