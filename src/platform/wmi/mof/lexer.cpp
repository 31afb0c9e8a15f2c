#include "platform/wmi/mof/lexer.h"

#include <algorithm>

#include "platform/wmi/mof/number.h"

namespace kelvarion::platform::wmi::mof {
namespace {

constexpr std::u16string_view kSigns = u"[]{}():;,=";

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsWordStart(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
}
bool IsWordPart(char16_t c) { return IsWordStart(c) || IsDigit(c); }

class Lexer {
 public:
  Lexer(std::u16string_view source, Location start) : source_(source), where_(std::move(start)) {}

  Token Next() {
    SkipBlanks();
    token_ = Token{};
    token_.where = where_;
    const char16_t c = Peek();
    if (at_ == source_.size()) return token_;
    if (IsWordStart(c) || c == u'$' || c == u'#')
      ReadWord();
    else if (c == u'"')
      ReadString();
    else if (c == u'\'')
      ReadCharacter();
    else if (IsDigit(c) || c == u'-' || c == u'+')
      ReadNumber();
    else if (kSigns.find(c) != kSigns.npos)
      Finish(Token::Kind::kSign, 1);
    else
      Fail(where_, u"the character " + std::u16string(1, c), u"a declaration");
    return std::move(token_);
  }

 private:
  char16_t Peek(std::size_t ahead = 0) const {
    return at_ + ahead < source_.size() ? source_[at_ + ahead] : u'\0';
  }

  void Finish(Token::Kind kind, std::size_t length) {
    token_.kind = kind;
    token_.text = source_.substr(at_, length);
    at_ += length;
  }

  void SkipBlanks() {
    while (at_ < source_.size()) {
      const char16_t c = source_[at_];
      if (c == u'/' && Peek(1) == u'/') {
        at_ = std::min(source_.find(u'\n', at_), source_.size());
      } else if (c == u'/' && Peek(1) == u'*') {
        SkipComment();
      } else if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n') {
        if (c == u'\n') ++where_.line;
        ++at_;
      } else {
        return;
      }
    }
  }

  void SkipComment() {
    const std::size_t end = source_.find(u"*/", at_ + 2);
    if (end == source_.npos) Fail(where_, u"an open comment", u"*/");
    for (; at_ < end; ++at_)
      if (source_[at_] == u'\n') ++where_.line;
    at_ += 2;
  }

  void ReadWord() {
    std::size_t length = 1;
    while (IsWordPart(Peek(length))) ++length;
    Finish(Token::Kind::kWord, length);
    if (token_.text.front() == u'$') token_.kind = Token::Kind::kAlias;
    if (token_.text.front() != u'#') return;
    if (token_.text != u"#pragma") Fail(where_, token_.text, u"#pragma");
    token_.kind = Token::Kind::kPragma;
  }

  void ReadString() {
    token_.kind = Token::Kind::kString;
    ++at_;
    for (;;) {
      // Most of a schema is text that stands for itself.
      const std::size_t special = source_.find_first_of(u"\"\\\r\n", at_);
      token_.text += source_.substr(at_, special - at_);
      at_ = std::min(special, source_.size());
      if (Peek() == u'"') break;
      token_.text += ReadCharacterOf(u"\"");
    }
    ++at_;
  }

  void ReadCharacter() {
    token_.kind = Token::Kind::kCharacter;
    ++at_;
    token_.magnitude = ReadCharacterOf(u"'");
    if (Peek() != u'\'') Fail(where_, u"more than one character", u"'");
    ++at_;
  }

  char16_t ReadCharacterOf(std::u16string_view end) {
    const char16_t c = Peek();
    if (at_ == source_.size()) Fail(where_, u"the end of the file", end);
    if (c == u'\n' || c == u'\r') Fail(where_, u"the end of the line", end);
    ++at_;
    return c == u'\\' ? ReadEscape() : c;
  }

  char16_t ReadEscape() {
    constexpr std::u16string_view kLetters = u"btnfr\"'\\";
    constexpr std::u16string_view kMeanings = u"\b\t\n\f\r\"'\\";
    const char16_t c = Peek();
    if (c == u'x' || c == u'X') return ReadHexEscape();
    const std::size_t found = kLetters.find(c);
    if (found == kLetters.npos)
      Fail(where_, u"\\" + std::u16string(1, c), u"one of \\b \\t \\n \\f \\r \\\" \\' \\\\ \\x");
    ++at_;
    return kMeanings[found];
  }

  char16_t ReadHexEscape() {
    ++at_;
    std::uint64_t code = 0;
    std::size_t length = 0;
    while (length < 4 && IsHexDigit(Peek(length))) ++length;
    if (!ReadDigits(source_.substr(at_, length), 16, code))
      Fail(where_, u"\\x" + std::u16string(1, Peek()), u"one to four hexadecimal digits");
    at_ += length;
    return static_cast<char16_t>(code);
  }

  void ReadNumber() {
    std::size_t length = 1;
    const bool hex = source_.substr(at_, 4).find_first_of(u"xX") < 3;
    for (;; ++length) {
      const char16_t c = Peek(length);
      const char16_t before = Peek(length - 1);
      const bool exponent_sign =
          !hex && (c == u'+' || c == u'-') && (before == u'e' || before == u'E');
      if (!IsWordPart(c) && c != u'.' && !exponent_sign) break;
    }
    Finish(Token::Kind::kInteger, length);
    token_.negative = token_.text.front() == u'-';
    const bool sign = token_.negative || token_.text.front() == u'+';
    const std::u16string_view digits = std::u16string_view(token_.text).substr(sign);
    if (ReadReal(digits, token_.real)) {
      token_.kind = Token::Kind::kReal;
      if (token_.negative) token_.real = -token_.real;
    } else if (!ReadInteger(digits, token_.magnitude)) {
      Fail(where_, token_.text, u"a number of at most 64 bits");
    }
  }

  std::u16string_view source_;
  std::size_t at_ = 0;
  Location where_;
  Token token_;
};

}  // namespace

std::vector<Token> Tokenize(std::u16string_view source, const Location& start) {
  Lexer lexer(source, start);
  std::vector<Token> tokens;
  do tokens.push_back(lexer.Next());
  while (tokens.back().kind != Token::Kind::kEnd);
  return tokens;
}

std::u16string Describe(const Token& token) {
  switch (token.kind) {
    case Token::Kind::kEnd:
      return u"the end of the file";
    case Token::Kind::kString:
      return u'"' + token.text + u'"';
    case Token::Kind::kCharacter:
      return u"a character";
    default:
      return token.text;
  }
}

}  // namespace kelvarion::platform::wmi::mof
