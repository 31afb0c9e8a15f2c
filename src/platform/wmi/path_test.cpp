#include <gtest/gtest.h>

#include "platform/com/class_object.h"
#include "platform/wmi/interfaces.h"

namespace kelvarion {
namespace {

class PathTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterWbemClasses(); }

  static ComPtr<IWbemPath> NewPath() {
    ComPtr<IWbemPath> path;
    CoCreateInstance(CLSID_WbemDefPath, IWbemPath::kIid, path.PutVoid());
    return path;
  }
  static ComPtr<IWbemPath> Parsed(const std::u16string& text) {
    ComPtr<IWbemPath> path = NewPath();
    return path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text) == S_OK ? path : nullptr;
  }
  static std::u16string TextOf(const ComPtr<IWbemPath>& path) {
    std::u16string text;
    path->GetText(0, &text);
    return text;
  }
  static ComPtr<IWbemPathKeyList> KeysOf(const ComPtr<IWbemPath>& path) {
    ComPtr<IWbemPathKeyList> keys;
    path->GetKeyList(keys.Put());
    return keys;
  }
};

TEST_F(PathTest, TextBecomesCanonicalAndStaysSo) {
  constexpr std::uint64_t kInstance = WBEMPATH_INFO_IS_INST_REF;
  const struct {
    std::u16string text;
    std::u16string canonical;
    std::uint64_t info;
    std::uint32_t keys;
  } rows[] = {
      {u"Some_Class", u"Some_Class", WBEMPATH_INFO_IS_CLASS_REF, 0},
      {u"C=@", u"C=@", kInstance | WBEMPATH_INFO_IS_SINGLETON, 0},
      {u" C . Name = 'x' , B = true ", u"C.Name=\"x\",B=TRUE", kInstance, 2},
      {u"C=\"x\"", u"C=\"x\"", kInstance, 1},
      {u"C.A=\"a\\\"b\\\\c\"", u"C.A=\"a\\\"b\\\\c\"", kInstance, 1},
      {u"C.A=0x1F,B=-7,D=False", u"C.A=31,B=-7,D=FALSE", kInstance, 3},
      {u"C.A=18446744073709551615", u"C.A=18446744073709551615", kInstance, 1},
      {u"C.A=-9223372036854775808", u"C.A=-9223372036854775808", kInstance, 1},
      {u"root\\cimv2:C.A=\"root:x=1,y\"", u"root\\cimv2:C.A=\"root:x=1,y\"", kInstance, 1},
      {u"\\\\.\\root\\ns:C", u"\\\\.\\root\\ns:C", WBEMPATH_INFO_IS_CLASS_REF, 0},
      {u"//server/root:C=1", u"//server/root:C=1", kInstance, 1},
      {u"C.A=\"\u00E4\n\U0001F600\"", u"C.A=\"\u00E4\n\U0001F600\"", kInstance, 1},
  };
  for (const auto& row : rows) {
    const std::string what(row.text.begin(), row.text.end());
    const ComPtr<IWbemPath> path = Parsed(row.text);
    ASSERT_TRUE(path) << what;
    EXPECT_EQ(TextOf(path), row.canonical) << what;
    EXPECT_EQ(TextOf(Parsed(row.canonical)), row.canonical) << what;
    std::uint64_t info = 0;
    std::uint32_t keys = 0;
    path->GetInfo(0, &info);
    KeysOf(path)->GetCount(&keys);
    EXPECT_EQ(info, row.info) << what;
    EXPECT_EQ(keys, row.keys) << what;
  }
}

TEST_F(PathTest, WhatIsNoPathIsRefusedAndChangesNothing) {
  const ComPtr<IWbemPath> path = Parsed(u"Before=@");
  const auto refuse = [&](const std::vector<std::u16string>& texts) {
    for (const std::u16string& text : texts) {
      EXPECT_EQ(path->SetText(WBEMPATH_CREATE_ACCEPT_ALL, text), WBEM_E_INVALID_PARAMETER)
          << std::string(text.begin(), text.end());
      EXPECT_EQ(TextOf(path), u"Before=@");
    }
  };
  refuse({u"", u" ", u"1C", u"C.", u"C=", u"C D", u"C-D", u":C", u"n s:C", u"\\\\server:C",
          u"\\\\\\ns:C", u"a\\\\b:C"});
  refuse({u"C.A", u"C.A=", u"C.A=x", u"C.A=\"x", u"C.A=\"x\\", u"C.A=\"\\n\"", u"C.A=1,",
          u"C.A=1,A=2", u"C.A=1 B=2", u"C.A=1;", u"C=1,2", u"C=@.A=1", u"C.\"x\"", u"C.A=@"});
  refuse({u"C.A=18446744073709551616", u"C.A=0x", u"C.A=1.5", u"C.A=-"});
}

TEST_F(PathTest, KeysCarryTheirTypes) {
  const struct {
    CIMTYPE type;
    Variant value;
  } rows[] = {
      {CIM_STRING, Variant::FromString(u"a\"b")},
      {CIM_SINT32, Variant::FromI4(-2147483647 - 1)},
      {CIM_SINT64, Variant::FromString(u"2147483648")},
      {CIM_UINT64, Variant::FromString(u"9223372036854775808")},
      {CIM_BOOLEAN, Variant::FromBool(true)},
  };
  const ComPtr<IWbemPathKeyList> keys =
      KeysOf(Parsed(u"C.S=\"a\\\"b\",I=-2147483648,W=2147483648,U=9223372036854775808,B=TRUE"));
  for (std::uint32_t i = 0; i < std::size(rows); ++i) {
    Variant value;
    CIMTYPE type = CIM_EMPTY;
    ASSERT_EQ(keys->GetKey2(i, 0, nullptr, &value, &type), S_OK);
    EXPECT_EQ(type, rows[i].type) << i;
    EXPECT_TRUE(value == rows[i].value) << i;
  }
  EXPECT_EQ(keys->GetKey2(std::size(rows), 0, nullptr, nullptr, nullptr), WBEM_E_INVALID_PARAMETER);
}

TEST_F(PathTest, IsBuiltFromClassAndKeys) {
  const ComPtr<IWbemPath> path = NewPath();
  std::u16string name;
  EXPECT_EQ(path->GetClassName(&name), WBEM_E_NOT_FOUND);
  EXPECT_EQ(path->SetClassName(u"not a name"), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(path->SetClassName(u"Folder"), S_OK);
  EXPECT_TRUE(path->IsSameClassName(u"FOLDER"));
  EXPECT_FALSE(path->IsSameClassName(u"Folders"));

  const ComPtr<IWbemPathKeyList> keys = KeysOf(path);
  EXPECT_EQ(keys->SetKey2(u"Name", 0, CIM_STRING, Variant::FromString(u"old")), S_OK);
  EXPECT_EQ(keys->SetKey2(u"Size", 0, CIM_UINT32, Variant::FromI4(-1)), S_OK);
  EXPECT_EQ(keys->SetKey2(u"NAME", 0, CIM_STRING, Variant::FromString(u"a\\b")), S_OK);
  EXPECT_EQ(TextOf(path), u"Folder.NAME=\"a\\\\b\",Size=4294967295");

  const auto refused = [&](const char16_t* key, CIMTYPE type, const Variant& value) {
    return keys->SetKey2(key, 0, type, value) == WBEM_E_INVALID_PARAMETER;
  };
  const Variant text = Variant::FromString(u"x");
  EXPECT_TRUE(refused(u"Name", CIM_UINT32, text) &&
              refused(u"Name", CIM_STRING, Variant::MakeNull()));
  EXPECT_TRUE(refused(u"Name", CIM_STRING | CIM_FLAG_ARRAY, Variant::FromStrings({})));
  EXPECT_TRUE(refused(u"a=b", CIM_STRING, text)) << "it cannot be written";
  EXPECT_TRUE(refused(u"", CIM_STRING, text)) << "there are others";
  EXPECT_EQ(TextOf(path), u"Folder.NAME=\"a\\\\b\",Size=4294967295");
}

TEST_F(PathTest, AKeyMakesASingletonAnOrdinaryInstance) {
  const ComPtr<IWbemPath> path = Parsed(u"C=@");
  KeysOf(path)->SetKey2(u"", 0, CIM_STRING, Variant::FromString(u"x"));
  EXPECT_EQ(TextOf(path), u"C=\"x\"");
  EXPECT_EQ(KeysOf(path)->SetKey2(u"Name", 0, CIM_STRING, Variant::FromString(u"x")),
            WBEM_E_INVALID_PARAMETER);
}

}  // namespace
}  // namespace kelvarion
