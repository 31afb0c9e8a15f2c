// What the compiler accepts, and how it says what it does not.
#include <gtest/gtest.h>

#include "tests/support/schema_folder.h"

namespace kelvarion {
namespace {

Variant Text(const char16_t* text) { return Variant::FromString(text); }

Variant DefaultOf(const std::string& declaration) {
  Variant value;
  ClassNamed(CompileText("class C { " + declaration + " };"), u"C")->Get(u"P", 0, &value, nullptr);
  return value;
}

TEST(CompilerTest, LiteralsHaveTheirValues) {
  const struct {
    const char* declaration;
    Variant value;
  } rows[] = {
      {"string P;", Variant::MakeNull()},
      {"string P = NULL;", Variant::MakeNull()},
      {"string P = \"a\" /* and */ \"b\" // c\n \"\";", Text(u"ab")},
      {R"(string P = "\b\t\n\f\r\"\'\\\x41\x0142z";)", Text(u"\b\t\n\f\r\"'\\A\u0142z")},
      {"string P = \"\xC3\xA4\xF0\x9F\x98\x80 /* // */\";", Text(u"\u00E4\U0001F600 /* // */")},
      {"uint32 P = 4294967295;", Variant::FromI4(-1)},
      {"sint32 P = -2147483648;", Variant::FromI4(-2147483647 - 1)},
      {"sint32 P = +017;", Variant::FromI4(15)},
      {"uint8 P = 0xfE;", Variant::FromI4(254)},
      {"uint16 P = 1010b;", Variant::FromI4(10)},
      {"uint64 P = 0xFFFFFFFFFFFFFFFF;", Text(u"18446744073709551615")},
      {"sint64 P = -9223372036854775808;", Text(u"-9223372036854775808")},
      {"real64 P = -1.25e+2;", Variant::FromR8(-125)},
      {"real32 P = 3;", Variant::FromR8(3)},
      {"boolean P = true;", Variant::FromBool(true)},
      {"char16 P = '\\'';", Variant::FromI4(u'\'')},
      {"datetime P = \"20240101000000.000000+000\";", Text(u"20240101000000.000000+000")},
      {"string P[] = {};", Variant::FromStrings({})},
      {"string P[3] = {\"a\", \"b\" \"c\"};", Variant::FromStrings({u"a", u"bc"})},
      {"C P;", Variant::MakeNull()},
  };
  for (const auto& row : rows)
    EXPECT_TRUE(DefaultOf(row.declaration) == row.value) << row.declaration;
}

TEST(CompilerTest, QualifiersTakeAllTheirForms) {
  const ComPtr<IWbemServices> space = CompileText(R"(
    #pragma namespace("\\\\.\\root\\x")
    #pragma autorecover
    Qualifier Rank : uint32 = 3, Scope(class, property), Flavor(DisableOverride, ToSubclass);
    QUALIFIER Local : boolean, Scope(any), Flavor(Restricted);
    [Rank, Local, ClassVersion("2.0")] CLASS Base {
      [Rank(5), ValueMap{"0", "1"}, Values{"Off", "On"} : Amended ToSubclass Translatable,
       Local : ToSubclass] uint32 Mode;
    };
    class Below : base { [key] string Name; };
    class Other { [EmbeddedInstance("below")] string Held[]; object Any; Base Ref Link; };
    instance of Below as $B { Name = "x"; Mode = 1; };
    instance of Other { Link = $B; };
  )");
  const auto qualifier = [&](const char16_t* class_name, const char16_t* property,
                             const char16_t* name) {
    ComPtr<IWbemQualifierSet> set;
    const ComPtr<IWbemClassObject> found = ClassNamed(space, class_name);
    if (property)
      found->GetPropertyQualifierSet(property, set.Put());
    else
      found->GetQualifierSet(set.Put());
    Variant value;
    set->Get(name, &value);
    return value;
  };
  EXPECT_TRUE(qualifier(u"Base", nullptr, u"rank") == Variant::FromI4(3));
  EXPECT_TRUE(qualifier(u"Base", nullptr, u"Local") == Variant::FromBool(true));
  EXPECT_TRUE(qualifier(u"Base", nullptr, u"ClassVersion") == Text(u"2.0"));
  EXPECT_TRUE(qualifier(u"Below", nullptr, u"Rank") == Variant::FromI4(3));
  EXPECT_TRUE(qualifier(u"Below", nullptr, u"Local") == Variant());
  EXPECT_TRUE(qualifier(u"Below", u"Mode", u"Rank") == Variant::FromI4(5));
  EXPECT_TRUE(qualifier(u"Below", u"Mode", u"Local") == Variant::FromBool(true));
  EXPECT_TRUE(qualifier(u"Below", u"Mode", u"Values") == Variant::FromStrings({u"Off", u"On"}));
  EXPECT_TRUE(qualifier(u"Other", u"Held", u"CIMTYPE") == Text(u"object:Below"));
  EXPECT_TRUE(qualifier(u"Other", u"Any", u"CIMTYPE") == Text(u"object"));
  EXPECT_TRUE(qualifier(u"Other", u"Link", u"CIMTYPE") == Text(u"ref:Base"));
}

// "LINE: WHAT, expected …" of each text.
void ExpectErrors(const std::vector<std::pair<std::string, std::string>>& rows) {
  for (const auto& [text, expected] : rows) {
    std::string error;
    EXPECT_FALSE(SchemaFolder(SchemaFolder::Files{{"a.mof", text}}).Open(error)) << text;
    EXPECT_EQ(error, "a.mof:" + expected.substr(0, 3) + "found " + expected.substr(3)) << text;
  }
}

TEST(CompilerErrorTest, WhatIsNotTheLanguage) {
  ExpectErrors({
      {"clas C {};", "1: clas, expected class, instance, Qualifier or #pragma"},
      {"[Description(\"d\")]\nC {};", "2: C, expected class or instance"},
      {"class C { string A; }", "1: the end of the file, expected ;"},
      {"class C { void A(string B string C); };", "1: string, expected , or )"},
      {"/*\n*/ class C { string A = \"b\n\"; };", "2: the end of the line, expected \""},
      {"class C { string A = \"b", "1: the end of the file, expected \""},
      {"\n/* class", "2: an open comment, expected */"},
      {"class C { string A = \"\\q\"; };",
       "1: \\q, expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ \\x"},
      {"class C { uint32 A = 089; };", "1: 089, expected a number of at most 64 bits"},
      {"class C { char16 A = 'ab'; };", "1: more than one character, expected '"},
      {"class C { void A(void B); };",
       "1: a parameter of type void, expected a type that has values"},
      {"class C {}; ?", "1: the character ?, expected a declaration"},
      {"class C {\n\n string \xFF; };", "3: bytes that are no text, expected UTF-8"},
      {"#pragma include(\"b.mof\")", "1: the name of no file, \"b.mof\", expected a schema file"},
  });
}

TEST(CompilerErrorTest, NamesThatAreUnknownOrTwice) {
  ExpectErrors({
      {"class C : D {};", "1: superclass D, expected a declared class"},
      {"class C : D {};\nclass D : C {};",
       "1: class C above itself, expected a superclass that is not derived from it"},
      {"class C {};\nclass c {};",
       "2: a second class c, expected each name once; the first is at a.mof:1"},
      {"class C { string A;\nuint8 a; };",
       "2: a second property a, expected each name once; the first is at a.mof:1"},
      {"class C { [key, KEY] string A; };", "1: a second qualifier KEY, expected each name once"},
      {"class C { [Descripton(\"x\")] string A; };",
       "1: qualifier Descripton, expected a qualifier that is declared or built in"},
      {"Qualifier Q : string;\nQualifier q : string;",
       "2: a second declaration of qualifier q, expected one only; the first is at a.mof:1"},
      {"[key] class C {};", "1: qualifier key on a class, expected a qualifier for a class"},
      {"class C { Strin A; };", "1: type Strin, expected a type or a declared class"},
      {"class C { string A; };\ninstance of C { B = 1; };",
       "2: property B, expected a property of C"},
      {"class C { C Ref A; };\ninstance of C { A = $X; };",
       "2: alias $X, expected the alias of an instance"},
  });
}

TEST(CompilerErrorTest, ValuesThatAreNotOfTheirType) {
  ExpectErrors({
      {"class C { uint32 A = \"1\"; };", "1: \"1\", expected a value of type uint32"},
      {"class C { uint8 A = 256; };", "1: 256, expected a value of type uint8"},
      {"class C { string A = {\"x\"}; };", "1: a list, expected one value of type string"},
      {"class C { [Description] string A; };",
       "1: qualifier Description without a value, expected a value of type string"},
      {"class C { string A[] = \"x\"; };", "1: \"x\", expected a list in braces"},
      {"class C { datetime A = \"today\"; };", "1: \"today\", expected a value of type datetime"},
      {"class C { [key] string A[]; };",
       "1: key A of type string, expected a single text, integer or boolean"},
      {"class C {}; class D { [EmbeddedInstance(\"C\")] D A; };",
       "1: EmbeddedInstance C on type object:D, expected the class that is the type"},
      {"class C { void M([In(false)] string A); };",
       "1: parameter A that goes neither in nor out, expected In or Out"},
  });
}

TEST(CompilerErrorTest, OverridesThatContradict) {
  const std::string base = "class B { [key] string A; uint32 N; void M([In] string P); };\n";
  const std::string other =
      "2: method M with other parameters, expected the parameters and type that the superclass "
      "gives it";
  ExpectErrors({
      {base + "class C : B { uint32 A; };",
       "2: property A of type uint32, expected the superclass's type string"},
      {base + "class C : B { [key(false)] string A; };",
       "2: another value of qualifier key, expected the value of the superclass"},
      {base + "class C : B { void M([In] uint32 P); };", other},
      {base + "class C : B { uint32 M([In] string P); };", other},
  });
  EXPECT_NO_THROW(CompileText(base + "class C : B { string A; uint32 N = 4; void M(string P); };"));
}

}  // namespace
}  // namespace kelvarion
