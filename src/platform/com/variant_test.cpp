#include "platform/com/variant.h"

#include <gtest/gtest.h>

namespace kelvarion {
namespace {

TEST(ChangeTypeTest, ConvertsAsAutomationDoes) {
  const Variant untouched = Variant::FromString(u"untouched");
  const struct {
    const char* what;
    Variant from;
    VARTYPE type;
    HRESULT expected;
    Variant to;
  } rows[] = {
      {"true is all bits", Variant::FromBool(true), VT_I4, S_OK, Variant::FromI4(-1)},
      {"nonzero is true", Variant::FromI4(2), VT_BOOL, S_OK, Variant::FromBool(true)},
      {"word", Variant::FromString(u"fAlSe"), VT_BOOL, S_OK, Variant::FromBool(false)},
      {"numeric text is true", Variant::FromString(u"-1"), VT_BOOL, S_OK, Variant::FromBool(true)},
      {"no word", Variant::FromString(u"maybe"), VT_BOOL, DISP_E_TYPEMISMATCH, untouched},
      {"text with blanks", Variant::FromString(u" +42 "), VT_I4, S_OK, Variant::FromI4(42)},
      {"text with rest", Variant::FromString(u"42x"), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"hexadecimal", Variant::FromString(u"0x10"), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"infinite", Variant::FromString(u"inf"), VT_R8, DISP_E_TYPEMISMATCH, untouched},
      {"empty text", Variant::FromString(u""), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"not ASCII", Variant::FromString(u"\u0664"), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"half to even, down", Variant::FromR8(2.5), VT_I4, S_OK, Variant::FromI4(2)},
      {"half to even, up", Variant::FromR8(3.5), VT_I4, S_OK, Variant::FromI4(4)},
      {"too large", Variant::FromUint(0x80000000), VT_I4, DISP_E_OVERFLOW, untouched},
      {"too small", Variant::FromString(u"-1"), VT_UINT, DISP_E_OVERFLOW, untouched},
      {"bits of I4", Variant::FromI4(-2), VT_UINT, S_OK, Variant::FromUint(0xFFFFFFFE)},
      {"number to text", Variant::FromI4(-7), VT_BSTR, S_OK, Variant::FromString(u"-7")},
      {"fraction to text", Variant::FromR8(0.1), VT_BSTR, S_OK, Variant::FromString(u"0.1")},
      {"boolean to text", Variant::FromBool(true), VT_BSTR, S_OK, Variant::FromString(u"True")},
      {"empty to text", Variant(), VT_BSTR, S_OK, Variant::FromString(u"")},
      {"empty to number", Variant(), VT_I4, S_OK, Variant::FromI4(0)},
      {"null", Variant::MakeNull(), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"array", Variant::FromStrings({u"1"}), VT_I4, DISP_E_TYPEMISMATCH, untouched},
      {"same", Variant::FromStrings({u"1"}), VT_ARRAY | VT_BSTR, S_OK,
       Variant::FromStrings({u"1"})},
  };
  for (const auto& row : rows) {
    Variant out = untouched;
    EXPECT_EQ(ChangeType(row.from, row.type, out), row.expected) << row.what;
    EXPECT_EQ(out, row.to) << row.what;
  }
}

}  // namespace
}  // namespace kelvarion
