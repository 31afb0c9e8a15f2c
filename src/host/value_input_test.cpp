#include "host/value_input.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "host/text.h"
#include "tests/support/failure.h"

namespace kelvarion::host {
namespace {

const Schema& TheSchema() {
  static const Schema schema(KELVARION_SOURCE_DIR "/schema");
  return schema;
}

Declaration Declared(CIMTYPE type, const std::u16string& embedded = {}) {
  Declaration declaration;
  declaration.name = u"Value";
  declaration.type = type;
  declaration.embedded_class = embedded;
  return declaration;
}

// What a value converts to, or the message that refuses it.
struct Row {
  const char* what;
  CIMTYPE type;
  const char* text;
  std::optional<Variant> expected;
};

template <std::size_t kCount, class Convert>
void Expect(const Row (&rows)[kCount], const Convert& convert) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Declaration declaration = Declared(row.type);
    const Target target{declaration, u"parameter 'Value'"};
    if (row.expected)
      EXPECT_EQ(convert(target, row.text), *row.expected);
    else
      EXPECT_THROW(convert(target, row.text), WMIException);
  }
}

TEST(ValueFromTextTest, ConvertsToTheDeclaredTypeAndRefusesTheRest) {
  const auto i4 = [](std::int32_t number) { return Variant::FromI4(number); };
  const auto text = [](const char16_t* value) { return Variant::FromString(value); };
  const Row rows[] = {
      {"text", CIM_STRING, "a=b ü", text(u"a=b ü")},
      {"empty text", CIM_STRING, "", text(u"")},
      {"byte overflow", CIM_UINT8, "256", std::nullopt},
      {"largest uint32 keeps its bits", CIM_UINT32, "4294967295", i4(-1)},
      {"uint32 overflow", CIM_UINT32, "4294967296", std::nullopt},
      {"negative uint32", CIM_UINT32, "-1", std::nullopt},
      {"sint32 underflow", CIM_SINT32, "-2147483649", std::nullopt},
      {"largest uint64", CIM_UINT64, "18446744073709551615", text(u"18446744073709551615")},
      {"uint64 overflow", CIM_UINT64, "18446744073709551616", std::nullopt},
      {"leading zeros", CIM_UINT32, "007", i4(7)},
      {"nothing", CIM_UINT32, "", std::nullopt},
      {"blank before", CIM_UINT32, " 1", std::nullopt},
      {"plus sign", CIM_UINT32, "+1", std::nullopt},
      {"fraction", CIM_UINT32, "1.5", std::nullopt},
      {"text behind", CIM_UINT32, "1x", std::nullopt},
      {"true", CIM_BOOLEAN, "True", Variant::FromBool(true)},
      {"one is no boolean", CIM_BOOLEAN, "1", std::nullopt},
      {"real", CIM_REAL64, "-2.5e1", Variant::FromR8(-25)},
      {"object", CIM_OBJECT, "alice", std::nullopt},
      {"only element", CIM_STRING | CIM_FLAG_ARRAY, "a,b", Variant::FromStrings({u"a,b"})},
      {"bad element", CIM_UINT32 | CIM_FLAG_ARRAY, "x", std::nullopt},
  };
  Expect(rows, [](const Target& target, const char* given) {
    return ValueFromText(target, Utf16(given));
  });
}

TEST(ValueFromJsonTest, ConvertsToTheDeclaredTypeAndRefusesTheRest) {
  const Row rows[] = {
      {"null list", CIM_STRING | CIM_FLAG_ARRAY, "null", Variant::MakeNull()},
      {"number", CIM_UINT32, "4294967295", Variant::FromI4(-1)},
      {"number as text", CIM_UINT32, "\"1\"", std::nullopt},
      {"fraction", CIM_UINT32, "1.0", std::nullopt},
      {"beyond all integers", CIM_UINT64, "18446744073709551616", std::nullopt},
      {"64 bits as they are shown", CIM_UINT64, "\"7\"", Variant::FromString(u"7")},
      {"64 bits as a number", CIM_UINT64, "7", Variant::FromString(u"7")},
      {"boolean", CIM_BOOLEAN, "true", Variant::FromBool(true)},
      {"single value for a list", CIM_STRING | CIM_FLAG_ARRAY, "\"a\"", std::nullopt},
      {"boolean as text", CIM_BOOLEAN, "\"true\"", std::nullopt},
      {"number for a text", CIM_STRING, "1", std::nullopt},
      {"list", CIM_STRING | CIM_FLAG_ARRAY, "[\"a\",\"b\"]", Variant::FromStrings({u"a", u"b"})},
      {"empty list", CIM_STRING | CIM_FLAG_ARRAY, "[]", Variant::FromStrings({})},
      {"mixed list", CIM_STRING | CIM_FLAG_ARRAY, "[\"a\",1]", std::nullopt},
      {"list for a single value", CIM_STRING, "[\"a\"]", std::nullopt},
      {"object without class", CIM_OBJECT, "{\"Name\":\"alice\"}", std::nullopt},
      {"object of no class", CIM_OBJECT, "{\"__CLASS\":\"Nobody\"}", std::nullopt},
      {"unknown property", CIM_OBJECT, "{\"__CLASS\":\"Kelvarion_User\",\"X\":1}", std::nullopt},
      {"bad property", CIM_OBJECT, "{\"__CLASS\":\"Kelvarion_User\",\"Name\":1}", std::nullopt},
  };
  Expect(rows, [](const Target& target, const char* given) {
    return ValueFromJson(target, Json::parse(given), TheSchema());
  });
}

TEST(ValueFromJsonTest, ObjectsNestAndTakeTheDeclaredClassWhenTheyNameNone) {
  const Declaration declaration =
      Declared(CIM_OBJECT | CIM_FLAG_ARRAY, u"Kelvarion_PermissionEntry");
  const Json json =
      Json::parse(R"([{"account":{"__CLASS":"Kelvarion_Group","Name":"devs"},"AccessLevel":1}])");
  const Variant list = ValueFromJson({declaration, u"parameter"}, json, TheSchema());
  const auto entry = list.AsArray().items.at(0).AsObject().As<IWbemClassObject>();
  ASSERT_TRUE(entry);
  EXPECT_EQ(ClassNameOf(*entry), u"Kelvarion_PermissionEntry");
  Variant account;
  ASSERT_EQ(entry->Get(u"Account", 0, &account, nullptr), S_OK);
  const auto group = account.AsObject().As<IWbemClassObject>();
  EXPECT_EQ(ClassNameOf(*group), u"Kelvarion_Group");

  const Json other = Json::parse(R"([{"__CLASS":"Kelvarion_User","Name":"alice"}])");
  EXPECT_THROW(ValueFromJson({declaration, u"parameter"}, other, TheSchema()), WMIException);
}

TEST(ValueFromTextTest, TheMessageNamesTheValueAndWhatWouldFit) {
  const Declaration declaration = Declared(CIM_UINT16);
  EXPECT_EQ(
      kelvarion::testing::MessageOf<WMIException>([&] {
        ValueFromText({declaration, u"parameter 'Port' of X.Y"}, u"many");
      }),
      u"The parameter 'Port' of X.Y takes a whole number from 0 to 65535, not 'many': Invalid "
      u"method parameters (0x8004102F)");
}

TEST(ContextValueTest, TakesItsTypeFromTheJson) {
  const auto value = [](const char* text) { return ContextValue(ParseArgument(text)); };
  EXPECT_EQ(value("A=1"), Variant::FromString(u"1"));
  EXPECT_EQ(value("A="), Variant::FromString(u""));
  EXPECT_EQ(value("A:=1"), Variant::FromI4(1));
  EXPECT_EQ(value("A:=true"), Variant::FromBool(true));
  EXPECT_EQ(value("A:=null"), Variant::MakeNull());
  EXPECT_EQ(value("A:=[\"x\",\"y\"]"), Variant::FromStrings({u"x", u"y"}));
  for (const char* text : {"A:=[1]", "A:={}", "A:=2147483648"})
    EXPECT_THROW(value(text), WMIException) << text;
}

TEST(ParseArgumentTest, SplitsAtTheFirstEqualsSign) {
  const Argument text = ParseArgument("Password=a:=b=c");
  EXPECT_EQ(text.name, u"Password");
  EXPECT_EQ(std::get<std::u16string>(text.value), u"a:=b=c");
  const Argument json = ParseArgument("Folders:=[\"/a=b\"]");
  EXPECT_EQ(json.name, u"Folders");
  EXPECT_EQ(std::get<Json>(json.value), Json::parse("[\"/a=b\"]"));
  EXPECT_THROW(ParseArgument("Folders:=["), WMIException);
  for (const char* wrong : {"", "Name", "=x", ":=1", "N\xFF=1", "N=\xFF"})
    EXPECT_THROW(ParseArgument(wrong), UsageError) << wrong;
  EXPECT_THROW(ParseArguments({"Name=a", "NAME=b"}), UsageError);
}

}  // namespace
}  // namespace kelvarion::host
