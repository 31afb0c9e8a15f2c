#include "platform/wmi/mof/literal_parser.h"

#include <limits>

namespace kelvarion::platform::wmi::mof {
namespace {

constexpr std::u16string_view kAnyValue = u"a value";

Literal IntegerLiteral(const Token& token) {
  Literal literal{Literal::Kind::kInteger, {}, token.negative};
  const std::uint64_t magnitude = token.magnitude;
  if (token.negative && magnitude > 1ull << 63)
    Fail(token.where, token.text, u"a number of at most 64 bits");
  const std::int64_t number = static_cast<std::int64_t>(token.negative ? 0 - magnitude : magnitude);
  if (magnitude <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()) ||
      (token.negative && magnitude <= 1u << 31)) {
    literal.value = Variant::FromI4(static_cast<std::int32_t>(number));
  } else if (!token.negative && magnitude <= std::numeric_limits<std::uint32_t>::max()) {
    literal.value = Variant::FromUint(static_cast<std::uint32_t>(magnitude));
  } else {
    const std::string digits = token.negative ? std::to_string(number) : std::to_string(magnitude);
    literal.value = Variant::FromString({digits.begin(), digits.end()});
  }
  return literal;
}

Literal StringLiteral(TokenReader& tokens) {
  std::u16string text;
  while (tokens.Peek().kind == Token::Kind::kString)
    text += tokens.Take(Token::Kind::kString, kAnyValue).text;
  return {Literal::Kind::kString, Variant::FromString(std::move(text)), false};
}

Literal ParseLiteral(TokenReader& tokens) {
  using Kind = Literal::Kind;
  const Token token = tokens.Peek();
  switch (token.kind) {
    case Token::Kind::kString:
      return StringLiteral(tokens);
    case Token::Kind::kInteger:
      tokens.Take(token.kind, kAnyValue);
      return IntegerLiteral(token);
    case Token::Kind::kReal:
      tokens.Take(token.kind, kAnyValue);
      return {Kind::kReal, Variant::FromR8(token.real), token.negative};
    case Token::Kind::kCharacter:
      tokens.Take(token.kind, kAnyValue);
      return {Kind::kCharacter, Variant::FromI4(static_cast<std::int32_t>(token.magnitude)), false};
    case Token::Kind::kAlias:
      tokens.Take(token.kind, kAnyValue);
      return {Kind::kAlias, Variant::FromString(token.text), false};
    default:
      break;
  }
  if (tokens.TakeKeyword(u"TRUE")) return {Kind::kBoolean, Variant::FromBool(true), false};
  if (tokens.TakeKeyword(u"FALSE")) return {Kind::kBoolean, Variant::FromBool(false), false};
  if (tokens.TakeKeyword(u"NULL")) return {};
  tokens.FailHere(kAnyValue);
}

// Behind the opening brace.
std::vector<Literal> ParseList(TokenReader& tokens) {
  std::vector<Literal> items;
  if (tokens.TakeSign(u'}')) return items;
  do items.push_back(ParseLiteral(tokens));
  while (tokens.TakeSign(u','));
  if (!tokens.TakeSign(u'}')) tokens.FailHere(u", or }");
  return items;
}

QualifierUse ParseQualifier(TokenReader& tokens) {
  QualifierUse use;
  use.where = tokens.where();
  use.name = tokens.TakeWord(u"the name of a qualifier");
  if (tokens.IsSign(u'{')) {
    use.value = ParseInitializer(tokens);
  } else if (tokens.TakeSign(u'(')) {
    use.value = ParseInitializer(tokens);
    tokens.RequireSign(u')');
  }
  if (!tokens.TakeSign(u':')) return use;
  do ParseFlavor(tokens, use.flavors);
  while (!tokens.IsSign(u',') && !tokens.IsSign(u']'));
  return use;
}

}  // namespace

Initializer ParseInitializer(TokenReader& tokens) {
  Initializer result;
  result.where = tokens.where();
  result.is_list = tokens.TakeSign(u'{');
  if (result.is_list)
    result.items = ParseList(tokens);
  else
    result.items.push_back(ParseLiteral(tokens));
  return result;
}

std::vector<QualifierUse> ParseQualifiers(TokenReader& tokens) {
  std::vector<QualifierUse> uses;
  if (!tokens.TakeSign(u'[')) return uses;
  do uses.push_back(ParseQualifier(tokens));
  while (tokens.TakeSign(u','));
  if (!tokens.TakeSign(u']')) tokens.FailHere(u", or ]");
  return uses;
}

void ParseFlavor(TokenReader& tokens, Flavors& flavors) {
  if (tokens.TakeKeyword(u"EnableOverride"))
    flavors.overridable = true;
  else if (tokens.TakeKeyword(u"DisableOverride"))
    flavors.overridable = false;
  else if (tokens.TakeKeyword(u"ToSubclass"))
    flavors.to_subclass = true;
  else if (tokens.TakeKeyword(u"Restricted"))
    flavors.to_subclass = false;
  else if (!tokens.TakeKeyword(u"ToInstance") && !tokens.TakeKeyword(u"NotToInstance") &&
           !tokens.TakeKeyword(u"Translatable") && !tokens.TakeKeyword(u"Amended"))
    tokens.FailHere(u"a flavor");
}

}  // namespace kelvarion::platform::wmi::mof
