#include "wmi/object.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "tests/support/failure.h"
#include "tests/support/schema_folder.h"
#include "wmi/namespace.h"

namespace kelvarion {
namespace {

using testing::MessageOf;
using Texts = std::vector<std::u16string>;

constexpr Property<std::u16string> kText{u"Text"};
constexpr Property<bool> kFlag{u"Flag"};
constexpr Property<std::uint32_t> kNumber{u"Number"};
constexpr Property<std::uint64_t> kWide{u"Wide"};
constexpr Property<WMIObject> kHeld{u"Held"};
constexpr Property<std::vector<WMIObject>> kAll{u"All"};
constexpr Property<Texts> kTexts{u"Texts"};
constexpr Property<std::u16string> kMissing{u"Missing"};

constexpr const char16_t* kNoConversion = u"Type mismatch. (0x80020005)";
constexpr const char16_t* kOtherType = u"Type mismatch (0x80041005)";

class WMIObjectTest : public ::testing::Test {
 protected:
  static WMIObject Spawn() {
    RegisterWbemClasses();
    static const ComPtr<IWbemServices> space = CompileText(
        "class Thing { string Text; boolean Flag; uint32 Number; uint64 Wide; Thing Held;"
        "              Thing All[]; string Texts[]; datetime Changed; };");
    return WMINamespace(space.Get()).LoadClass(u"Thing", nullptr).SpawnInstance();
  }

  static Variant Raw(const WMIObject& object, const char16_t* name) {
    Variant value;
    object.object()->Get(name, 0, &value, nullptr);
    return value;
  }
};

TEST_F(WMIObjectTest, WhatIsSetIsWhatClientsSeeAndWeRead) {
  WMIObject thing = Spawn();
  thing.Set(kText, u"some");
  thing.Set(kFlag, true);
  thing.Set(kNumber, 0x80041002u);
  thing.Set(kWide, 18446744073709551615u);
  thing.Set(kTexts, {u"a", u""});
  WMIObject held = Spawn();
  held.Set(kText, u"inner");
  thing.Set(kHeld, held);
  thing.Set(kAll, {held, Spawn()});

  EXPECT_EQ(thing.ClassName(), u"Thing");
  EXPECT_EQ(thing.Get(kText), u"some");
  EXPECT_TRUE(thing.Get(kFlag));
  EXPECT_EQ(thing.Get(kNumber), 0x80041002u);
  EXPECT_EQ(thing.Get(kTexts), (Texts{u"a", u""}));
  EXPECT_EQ(thing.Get(kHeld).Get(kText), u"inner");
  ASSERT_EQ(thing.Get(kAll).size(), 2u);
  EXPECT_EQ(thing.Get(kAll)[0].Get(kText), u"inner");
  EXPECT_TRUE(Raw(thing, u"Number") == Variant::FromI4(static_cast<std::int32_t>(0x80041002u)));
  EXPECT_TRUE(Raw(thing, u"Wide") == Variant::FromString(u"18446744073709551615"));
  EXPECT_TRUE(Raw(thing, u"Flag") == Variant::FromBool(true));
}

TEST_F(WMIObjectTest, NullsReadAsTheirTypeDemands) {
  WMIObject thing = Spawn();
  EXPECT_TRUE(thing.IsNull(kText));
  EXPECT_EQ(thing.GetOptional(kText), std::nullopt);
  EXPECT_EQ(thing.GetOptional(kTexts), std::nullopt);
  const std::u16string missing = u"Not found (0x80041002)";
  EXPECT_EQ(MessageOf([&] { thing.Get(kText); }), missing);
  EXPECT_EQ(MessageOf([&] { thing.Get(kFlag); }), u"Cannot get property 'Flag': " + missing);
  EXPECT_EQ(MessageOf([&] { thing.Get(kNumber); }), u"Cannot get property 'Number': " + missing);
  EXPECT_EQ(MessageOf([&] { thing.Get(kHeld); }), kNoConversion);
  EXPECT_EQ(MessageOf([&] { thing.Get(kTexts); }), kOtherType);
  EXPECT_EQ(MessageOf([&] { thing.Get(kAll); }), kOtherType);

  const std::vector<Variant> null{Variant::MakeNull()};
  thing.object()->Put(u"Texts", 0, Variant::FromArray(VT_BSTR, null), 0);
  thing.object()->Put(u"All", 0, Variant::FromArray(VT_UNKNOWN, null), 0);
  EXPECT_EQ(thing.Get(kTexts), Texts{u""});
  EXPECT_EQ(MessageOf([&] { thing.Get(kAll); }), kOtherType);
}

TEST_F(WMIObjectTest, EmptyListsAndOptionalsAreNotConfusedWithNull) {
  WMIObject thing = Spawn();
  thing.Set(kAll, {});
  thing.Set(kTexts, {});
  thing.SetOptional(kText, u"here");
  EXPECT_TRUE(Raw(thing, u"All") == Variant::FromArray(VT_UNKNOWN, {}));
  EXPECT_EQ(thing.Get(kTexts), Texts{});
  EXPECT_EQ(thing.GetOptional(kText), u"here");
  thing.SetOptional(kText, std::nullopt);
  thing.SetNull(kTexts);
  EXPECT_TRUE(thing.IsNull(kText) && thing.IsNull(kTexts));
}

TEST_F(WMIObjectTest, UndeclaredPropertiesSayWhichOneIsMissing) {
  WMIObject thing = Spawn();
  const std::u16string get = u"Cannot get property 'Missing': Not found (0x80041002)";
  EXPECT_EQ(MessageOf([&] { thing.Get(kMissing); }), get);
  EXPECT_EQ(MessageOf([&] { thing.GetOptional(kMissing); }), get);
  EXPECT_EQ(MessageOf([&] { thing.IsNull(kMissing); }), get);
  EXPECT_EQ(MessageOf([&] { WMIObject().Get(kMissing); }), get);
  EXPECT_EQ(MessageOf([&] { thing.Set(kMissing, u"x"); }),
            u"Cannot set property 'Missing': Not found (0x80041002)");
  EXPECT_THROW(WMIObject().Set(kMissing, u"x"), ComException);
}

TEST_F(WMIObjectTest, OnlyTruthAndNumbersConvertOnReading) {
  WMIObject thing = Spawn();
  thing.Set(kNumber, 5);
  thing.Set(kText, u"words");
  thing.Set(kTexts, {u"a"});
  const auto as = [](auto type, const char16_t* name) { return Property<decltype(type)>{name}; };
  EXPECT_TRUE(thing.Get(as(bool{}, u"Number")));
  EXPECT_EQ(MessageOf([&] { thing.Get(as(bool{}, u"Text")); }), kNoConversion);
  EXPECT_EQ(MessageOf([&] { thing.Get(as(std::uint32_t{}, u"Text")); }), kNoConversion);
  EXPECT_EQ(MessageOf([&] { thing.Get(as(std::u16string{}, u"Number")); }), kOtherType);
  EXPECT_EQ(MessageOf([&] { thing.Get(as(Texts{}, u"Text")); }), kOtherType);
  EXPECT_EQ(MessageOf([&] { thing.Get(as(std::vector<WMIObject>{}, u"Texts")); }), kOtherType);
  EXPECT_EQ(MessageOf([&] { thing.Get(as(WMIObject{}, u"Text")); }), kNoConversion);
  EXPECT_EQ(MessageOf([&] { thing.Set(as(std::u16string{}, u"Number"), u"x"); }),
            u"Cannot set property 'Number': " + std::u16string(kOtherType));
}

}  // namespace
}  // namespace kelvarion
