#include "platform/wmi/mof/parser.h"

#include "platform/wmi/definition.h"
#include "platform/wmi/mof/literal_parser.h"
#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi::mof {
namespace {

class Parser {
 public:
  Parser(TokenReader tokens, Schema& schema) : tokens_(std::move(tokens)), schema_(schema) {}

  void ParseFile() {
    while (!tokens_.AtEnd()) {
      if (tokens_.Peek().kind == Token::Kind::kPragma)
        ParsePragma();
      else if (tokens_.IsKeyword(u"Qualifier"))
        ParseQualifierDeclaration();
      else
        ParseClassOrInstance();
    }
  }

 private:
  // Files are compiled into one namespace whatever they say, so only inclusion means something.
  void ParsePragma() {
    const Location where = tokens_.Take(Token::Kind::kPragma, u"#pragma").where;
    const std::u16string name = tokens_.TakeWord(u"the name of a pragma");
    if (!tokens_.TakeSign(u'(')) return;
    const Token value = tokens_.Take(Token::Kind::kString, u"text in quotes");
    tokens_.RequireSign(u')');
    if (EqualNames(name, u"include")) schema_.includes.push_back({where, value.text});
  }

  void ParseClassOrInstance() {
    std::vector<QualifierUse> qualifiers = ParseQualifiers(tokens_);
    if (tokens_.IsKeyword(u"instance"))
      ParseInstance();
    else if (tokens_.IsKeyword(u"class"))
      ParseClass(std::move(qualifiers));
    else
      tokens_.FailHere(qualifiers.empty() ? u"class, instance, Qualifier or #pragma"
                                          : u"class or instance");
  }

  void ParseClass(std::vector<QualifierUse> qualifiers) {
    tokens_.TakeKeyword(u"class");
    ClassDeclaration declaration;
    declaration.where = tokens_.where();
    declaration.qualifiers = std::move(qualifiers);
    declaration.name = tokens_.TakeWord(u"the name of a class");
    if (tokens_.TakeSign(u':')) declaration.superclass = tokens_.TakeWord(u"the name of a class");
    if (!tokens_.TakeSign(u'{')) tokens_.FailHere(u": or {");
    while (!tokens_.TakeSign(u'}')) ParseMember(declaration);
    tokens_.RequireSign(u';');
    schema_.classes.push_back(std::move(declaration));
  }

  void ParseMember(ClassDeclaration& declaration) {
    ValueDeclaration value = ParseValueDeclaration();
    if (tokens_.TakeSign(u'(')) {
      MethodDeclaration method{value.where, std::move(value.qualifiers), value.type,
                               std::move(value.name), ParseParameters()};
      tokens_.RequireSign(u';');
      declaration.methods.push_back(std::move(method));
      return;
    }
    if (value.type.type == CIM_EMPTY) tokens_.FailHere(u"(");
    ParseArrayBrackets(value);
    if (tokens_.TakeSign(u'=')) value.default_value = ParseInitializer(tokens_);
    if (!tokens_.TakeSign(u';')) tokens_.FailHere(value.default_value ? u";" : u"(, [, = or ;");
    declaration.properties.push_back(std::move(value));
  }

  std::vector<ValueDeclaration> ParseParameters() {
    std::vector<ValueDeclaration> parameters;
    if (tokens_.TakeSign(u')')) return parameters;
    do {
      ValueDeclaration parameter = ParseValueDeclaration();
      if (parameter.type.type == CIM_EMPTY)
        Fail(parameter.where, u"a parameter of type void", u"a type that has values");
      ParseArrayBrackets(parameter);
      parameters.push_back(std::move(parameter));
    } while (tokens_.TakeSign(u','));
    if (!tokens_.TakeSign(u')')) tokens_.FailHere(u", or )");
    return parameters;
  }

  // Qualifiers, type and name.
  ValueDeclaration ParseValueDeclaration() {
    ValueDeclaration value;
    value.qualifiers = ParseQualifiers(tokens_);
    value.where = tokens_.where();
    value.type = ParseType();
    value.name = tokens_.TakeWord(u"a name");
    return value;
  }

  TypeName ParseType() {
    const std::u16string word = tokens_.TakeWord(u"a type");
    if (EqualNames(word, u"void")) return {};
    if (tokens_.TakeKeyword(u"ref")) return {CIM_REFERENCE, word};
    const CIMTYPE known = TypeNamed(word);
    if (known != CIM_EMPTY && known != CIM_REFERENCE) return {known, {}};
    return {CIM_OBJECT, word};
  }

  // The length of an array is advice to its writers.
  void ParseArrayBrackets(ValueDeclaration& value) {
    if (!tokens_.TakeSign(u'[')) return;
    if (!tokens_.IsSign(u']')) tokens_.Take(Token::Kind::kInteger, u"] or a length");
    tokens_.RequireSign(u']');
    value.type.type |= CIM_FLAG_ARRAY;
  }

  void ParseInstance() {
    tokens_.TakeKeyword(u"instance");
    if (!tokens_.TakeKeyword(u"of")) tokens_.FailHere(u"of");
    InstanceDeclaration instance;
    instance.where = tokens_.where();
    instance.class_name = tokens_.TakeWord(u"the name of a class");
    if (tokens_.TakeKeyword(u"as"))
      instance.alias = tokens_.Take(Token::Kind::kAlias, u"an alias such as $Name").text;
    tokens_.RequireSign(u'{');
    while (!tokens_.TakeSign(u'}')) {
      ParseQualifiers(tokens_);
      InstanceDeclaration::Value value;
      value.where = tokens_.where();
      value.name = tokens_.TakeWord(u"the name of a property");
      tokens_.RequireSign(u'=');
      value.value = ParseInitializer(tokens_);
      tokens_.RequireSign(u';');
      instance.values.push_back(std::move(value));
    }
    tokens_.RequireSign(u';');
    schema_.instances.push_back(std::move(instance));
  }

  // Qualifier Name : type[] = value, Scope(…), Flavor(…);
  void ParseQualifierDeclaration() {
    tokens_.TakeKeyword(u"Qualifier");
    QualifierDeclaration declaration;
    declaration.where = tokens_.where();
    declaration.name = tokens_.TakeWord(u"the name of a qualifier");
    tokens_.RequireSign(u':');
    declaration.type = TypeNamed(tokens_.TakeWord(u"a type"));
    if (declaration.type == CIM_EMPTY || declaration.type == CIM_OBJECT)
      Fail(declaration.where, u"a qualifier of a class's type", u"a type such as string");
    if (tokens_.TakeSign(u'[')) {
      tokens_.RequireSign(u']');
      declaration.type |= CIM_FLAG_ARRAY;
    }
    if (tokens_.TakeSign(u'=')) declaration.default_value = ParseInitializer(tokens_);
    while (tokens_.TakeSign(u',')) ParseScopeOrFlavor(declaration);
    if (!tokens_.TakeSign(u';')) tokens_.FailHere(u", or ;");
    schema_.qualifiers.push_back(std::move(declaration));
  }

  void ParseScopeOrFlavor(QualifierDeclaration& declaration) {
    const bool scope = tokens_.TakeKeyword(u"Scope");
    if (!scope && !tokens_.TakeKeyword(u"Flavor")) tokens_.FailHere(u"Scope or Flavor");
    if (scope) declaration.scopes = 0;
    tokens_.RequireSign(u'(');
    do {
      if (scope)
        declaration.scopes |= ParseScope();
      else
        ParseFlavor(tokens_, declaration.flavors);
    } while (tokens_.TakeSign(u','));
    tokens_.RequireSign(u')');
  }

  Scopes ParseScope() {
    if (tokens_.TakeKeyword(u"any")) return kAnywhere;
    if (tokens_.TakeKeyword(u"method")) return kOnMethod;
    if (tokens_.TakeKeyword(u"parameter")) return kOnParameter;
    for (const auto* word : {u"property", u"reference"})
      if (tokens_.TakeKeyword(word)) return kOnProperty;
    for (const auto* word : {u"class", u"association", u"indication", u"schema"})
      if (tokens_.TakeKeyword(word)) return kOnClass;
    tokens_.FailHere(u"a scope");
  }

  TokenReader tokens_;
  Schema& schema_;
};

}  // namespace

void Parse(std::u16string_view source, const Location& start, Schema& schema) {
  Parser(TokenReader(Tokenize(source, start)), schema).ParseFile();
}

}  // namespace kelvarion::platform::wmi::mof
