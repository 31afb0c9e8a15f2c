#include "platform/wmi/value.h"

#include <gtest/gtest.h>

#include "tests/support/schema_folder.h"

namespace kelvarion::platform::wmi {
namespace {

Variant Text(const char16_t* text) { return Variant::FromString(text); }
Variant I4(std::int32_t value) { return Variant::FromI4(value); }
Variant R8(double value) { return Variant::FromR8(value); }

struct Row {
  const char* what;
  CIMTYPE type;
  Variant value;
  Variant stored;  // VT_EMPTY when there is no conversion
};

void Check(const Row& row) {
  Variant out;
  const HRESULT hr = ConvertValue(row.value, row.type, {}, out);
  EXPECT_EQ(hr, row.stored.type() == VT_EMPTY ? WBEM_E_TYPE_MISMATCH : S_OK) << row.what;
  EXPECT_TRUE(out == row.stored) << row.what;
}

TEST(ConvertValueTest, IntegersFitTheirTypeAndWideOnesAreDecimalText) {
  const Row rows[] = {
      {"uint8 too great", CIM_UINT8, I4(256), {}},
      {"uint8 negative", CIM_UINT8, I4(-1), {}},
      {"sint32 from text", CIM_SINT32, Text(u"-7"), I4(-7)},
      {"sint32 too great", CIM_SINT32, Text(u"2147483648"), {}},
      {"uint32 greatest as text", CIM_UINT32, Text(u"4294967295"), I4(-1)},
      {"uint32 bits as written by providers", CIM_UINT32, I4(-2147217406), I4(-2147217406)},
      {"uint32 negative text", CIM_UINT32, Text(u"-1"), {}},
      {"uint32 too great", CIM_UINT32, Text(u"4294967296"), {}},
      {"whole double", CIM_UINT32, R8(12), I4(12)},
      {"fraction", CIM_UINT32, R8(1.5), {}},
      {"words", CIM_UINT32, Text(u"many"), {}},
      {"nothing", CIM_UINT32, Variant(), {}},
      {"object", CIM_UINT32, Variant::FromObject(MakeContext()), {}},
      {"greatest", CIM_UINT64, Text(u"18446744073709551615"), Text(u"18446744073709551615")},
      {"beyond", CIM_UINT64, Text(u"18446744073709551616"), {}},
      {"leading zeros", CIM_UINT64, Text(u"007"), Text(u"7")},
      {"blank", CIM_UINT64, Text(u" 7"), {}},
      {"least", CIM_SINT64, Text(u"-9223372036854775808"), Text(u"-9223372036854775808")},
      {"from double", CIM_UINT64, R8(4294967296.0), Text(u"4294967296")},
      {"inexact double", CIM_UINT64, R8(1e18), {}},
      {"boolean", CIM_UINT64, Variant::FromBool(true), {}},
      {"letters that end in a digit's low byte", CIM_UINT64, Text(u"\u0137"), {}},
  };
  for (const Row& row : rows) Check(row);
}

TEST(ConvertValueTest, TextTruthAndTimes) {
  const Row rows[] = {
      {"text", CIM_STRING, Text(u"x"), Text(u"x")},
      {"null stays null", CIM_STRING, Variant::MakeNull(), Variant::MakeNull()},
      {"zero", CIM_BOOLEAN, I4(0), Variant::FromBool(false)},
      {"no truth", CIM_BOOLEAN, Text(u"yes"), {}},
      {"character", CIM_CHAR16, Text(u"x"), I4(u'x')},
      {"two characters", CIM_CHAR16, Text(u"xy"), {}},
      {"time", CIM_DATETIME, Text(u"20240229235959.123456+000"),
       Text(u"20240229235959.123456+000")},
      {"interval", CIM_DATETIME, Text(u"00000001020304.000000:000"),
       Text(u"00000001020304.000000:000")},
      {"any day", CIM_DATETIME, Text(u"******10******.000000-060"),
       Text(u"******10******.000000-060")},
      {"time of another form", CIM_DATETIME, Text(u"2024-02-29 23:59:59"), {}},
      {"digits and asterisks in one field", CIM_DATETIME, Text(u"20**0229235959.123456+000"), {}},
  };
  for (const Row& row : rows) Check(row);
}

TEST(ConvertValueTest, ListsConvertElementByElement) {
  const Variant texts = Variant::FromStrings({u"1", u"2"});
  const Variant numbers = Variant::FromArray(VT_I4, {I4(1), I4(2)});
  const Variant with_null = Variant::FromArray(VT_BSTR, {Text(u"a"), Variant::MakeNull()});
  constexpr CIMTYPE kTexts = CIM_STRING | CIM_FLAG_ARRAY;
  constexpr CIMTYPE kNumbers = CIM_UINT32 | CIM_FLAG_ARRAY;
  const Row rows[] = {
      {"text from numbers", kTexts, numbers, texts},
      {"null among text", kTexts, with_null, with_null},
      {"null among numbers", kNumbers, Variant::FromArray(VT_I4, {Variant::MakeNull()}), {}},
      {"one bad element", kNumbers, Variant::FromStrings({u"1", u"x"}), {}},
      {"empty list takes the declared type", kNumbers, Variant::FromStrings({}),
       Variant::FromArray(VT_I4, {})},
      {"one value for a list", kNumbers, I4(1), {}},
      {"list in a list", kTexts, Variant::FromArray(VT_BSTR, {texts}), {}},
      {"list for one value", CIM_UINT32, numbers, {}},
  };
  for (const Row& row : rows) Check(row);
}

TEST(ConvertValueTest, ObjectsMustBeOfTheDeclaredClass) {
  const ComPtr<IWbemServices> space =
      CompileText("class Base { string A; }; class Derived : Base {}; class Other { string B; };");
  const struct {
    const char16_t* class_name;
    const char16_t* declared;
    HRESULT result;
  } rows[] = {
      {u"Base", u"Base", S_OK},
      {u"Derived", u"base", S_OK},
      {u"Derived", u"", S_OK},
      {u"Base", u"Derived", WBEM_E_TYPE_MISMATCH},
      {u"Other", u"Base", WBEM_E_TYPE_MISMATCH},
  };
  Variant out;
  for (const auto& row : rows) {
    const Variant object = Variant::FromObject(InstanceOf(space, row.class_name));
    EXPECT_EQ(ConvertValue(object, CIM_OBJECT, row.declared, out), row.result);
  }
  EXPECT_EQ(ConvertValue(Variant::FromObject(nullptr), CIM_OBJECT, u"Base", out), S_OK);
  EXPECT_TRUE(out.IsNull());
  EXPECT_EQ(ConvertValue(Variant::FromObject(MakeContext()), CIM_OBJECT, u"", out),
            WBEM_E_TYPE_MISMATCH);
}

}  // namespace
}  // namespace kelvarion::platform::wmi
