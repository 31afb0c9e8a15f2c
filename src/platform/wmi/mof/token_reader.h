// Takes the tokens of a file one by one, and says what was expected when another one comes.
#pragma once

#include "platform/wmi/mof/lexer.h"

namespace kelvarion::platform::wmi::mof {

class TokenReader {
 public:
  // `tokens` ends with the token of the end.
  explicit TokenReader(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  const Token& Peek() const { return tokens_[at_]; }
  const Location& where() const { return Peek().where; }
  bool AtEnd() const { return Peek().kind == Token::Kind::kEnd; }

  bool IsSign(char16_t sign) const;
  // Keywords are words in any letter case.
  bool IsKeyword(std::u16string_view keyword) const;

  // Steps over the token if it is the one meant.
  bool TakeSign(char16_t sign);
  bool TakeKeyword(std::u16string_view keyword);

  // The token, or CompileError with `expected`.
  Token Take(Token::Kind kind, std::u16string_view expected);
  std::u16string TakeWord(std::u16string_view expected) {
    return Take(Token::Kind::kWord, expected).text;
  }
  void RequireSign(char16_t sign);
  [[noreturn]] void FailHere(std::u16string_view expected) const;

 private:
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
};

}  // namespace kelvarion::platform::wmi::mof
