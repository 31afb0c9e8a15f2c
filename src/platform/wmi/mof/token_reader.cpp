#include "platform/wmi/mof/token_reader.h"

#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi::mof {

bool TokenReader::IsSign(char16_t sign) const {
  return Peek().kind == Token::Kind::kSign && Peek().text.front() == sign;
}

bool TokenReader::IsKeyword(std::u16string_view keyword) const {
  return Peek().kind == Token::Kind::kWord && EqualNames(Peek().text, keyword);
}

bool TokenReader::TakeSign(char16_t sign) {
  if (!IsSign(sign)) return false;
  ++at_;
  return true;
}

bool TokenReader::TakeKeyword(std::u16string_view keyword) {
  if (!IsKeyword(keyword)) return false;
  ++at_;
  return true;
}

Token TokenReader::Take(Token::Kind kind, std::u16string_view expected) {
  if (Peek().kind != kind) FailHere(expected);
  return tokens_[at_++];
}

void TokenReader::RequireSign(char16_t sign) {
  if (!TakeSign(sign)) FailHere(std::u16string_view(&sign, 1));
}

void TokenReader::FailHere(std::u16string_view expected) const {
  Fail(where(), Describe(Peek()), expected);
}

}  // namespace kelvarion::platform::wmi::mof
