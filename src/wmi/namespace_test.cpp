// Classes, object paths and contexts.
#include "wmi/namespace.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "tests/support/failure.h"
#include "tests/support/schema_folder.h"
#include "wmi/context.h"

namespace kelvarion {
namespace {

using testing::MessageOf;

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::uint32_t> kReturnValue{u"ReturnValue"};

class WMINamespaceTest : public ::testing::Test {
 protected:
  WMINamespaceTest() {
    RegisterWbemClasses();
    services_ = CompileText(R"(
      [ClassVersion("2.0"), singleton] class Base { string Text; uint32 Code; };
      class Item : Base { void Nothing(); uint32 Count([In] string What); };
    )");
    space_ = std::make_unique<WMINamespace>(services_.Get());
  }

  WMIClass Load(const char16_t* name) const { return space_->LoadClass(name, nullptr); }

  ComPtr<IWbemServices> services_;
  std::unique_ptr<WMINamespace> space_;
};

TEST_F(WMINamespaceTest, ClassesSpawnWhatIsAskedOfThem) {
  const WMIClass item = Load(u"item");
  EXPECT_EQ(item.ClassName(), u"Item");
  EXPECT_EQ(&item.GetClass(), &item);
  EXPECT_TRUE(item.InheritsFrom(u"BASE"));
  EXPECT_FALSE(Load(u"Base").InheritsFrom(u"Item"));
  EXPECT_EQ(item.SpawnInstance().ClassName(), u"Item");
  EXPECT_TRUE(item.SpawnMethodOutput(u"count").IsNull(kReturnValue));
  EXPECT_EQ(MessageOf<ComException>([&] { item.SpawnMethodOutput(u"Nothing"); }),
            u"Cannot get signature for WMI method 'Item.Nothing': Not found (0x80041002)");
  EXPECT_EQ(MessageOf<ComException>([&] { Load(u"Missing"); }),
            u"Cannot get WMI class 'Missing': Not found (0x80041002)");
}

TEST_F(WMINamespaceTest, QualifiersOfAClassReadAsText) {
  EXPECT_EQ(Load(u"Base").QualifierText(u"classversion"), u"2.0");
  EXPECT_THROW(Load(u"Item").QualifierText(u"ClassVersion"), ComException);
  EXPECT_THROW(Load(u"Base").QualifierText(u"singleton"), ComException);
}

TEST_F(WMINamespaceTest, PathsYieldTheirKeysByName) {
  const ParsedObjectPath path =
      space_->ParsePath(u"Item.PATH=\"/a\\\"b\",name='x',Number=12,Flag=TRUE");
  EXPECT_EQ(path.ClassName(), u"Item");
  EXPECT_TRUE(path.IsSameClass(u"ITEM"));
  EXPECT_TRUE(path.IsInstance());
  EXPECT_EQ(path.KeyCount(), 4u);
  EXPECT_EQ(path.KeyAt(2).name, u"Number");
  EXPECT_EQ(path.KeyAt(2).value, u"12");
  EXPECT_EQ(path.KeyAt(3).value, u"True");
  EXPECT_THROW(path.KeyAt(4), ComException);

  const auto [name, where] = space_->ParsePath(u"Item.path=\"p\",NAME=\"n\"").Keys(kName, kPath);
  EXPECT_EQ(name, u"n");
  EXPECT_EQ(where, u"p");
  EXPECT_EQ(space_->ParsePath(u"Item=@").KeyCount(), 0u);
  EXPECT_TRUE(space_->ParsePath(u"Item=@").IsInstance());
  EXPECT_FALSE(space_->ParsePath(u"Item").IsInstance());
}

TEST_F(WMINamespaceTest, PathsWithOtherKeysThanExpectedAreRefused) {
  for (const char16_t* text :
       {u"Item", u"Item=@", u"Item=\"x\"", u"Item.Path=\"x\"", u"Item.Name=\"x\",Path=\"y\""})
    EXPECT_EQ(MessageOf<WMIException>([&] { space_->ParsePath(text).Key(kName); }),
              u"Invalid object path (0x8004103A)");
  EXPECT_EQ(MessageOf<WMIException>([&] { space_->ParsePath(u"Item.Name=x"); }),
            u"Cannot parse WMI object path 'Item.Name=x': Invalid object path (0x8004103A)");
}

TEST_F(WMINamespaceTest, PathsAreBuiltForOtherObjects) {
  ParsedObjectPath path = space_->NewPath();
  EXPECT_THROW(path.ClassName(), ComException);
  EXPECT_THROW(path.SetClassName(u"no name"), ComException);
  path.SetClassName(u"Item");
  path.SetKey(kName, u"a\"b");
  EXPECT_EQ(path.Text(), u"Item.Name=\"a\\\"b\"");
}

TEST_F(WMINamespaceTest, ContextValuesAreOptionalButTyped) {
  const ComPtr<IWbemContext> context = MakeContext();
  context->SetValue(u"Id", 0, Variant::FromString(u"7"));
  context->SetValue(u"List", 0,
                    Variant::FromArray(VT_BSTR, {Variant::FromString(u"a"), Variant::MakeNull()}));
  EXPECT_EQ(ContextText(context.Get(), u"id"), u"7");
  EXPECT_EQ(ContextTexts(context.Get(), u"List"), (std::vector<std::u16string>{u"a", u""}));
  EXPECT_EQ(ContextText(context.Get(), u"Other"), std::nullopt);
  EXPECT_EQ(ContextTexts(nullptr, u"List"), std::nullopt);
  EXPECT_THROW(ContextText(context.Get(), u"List"), ComException);
  EXPECT_THROW(ContextTexts(context.Get(), u"Id"), ComException);
}

}  // namespace
}  // namespace kelvarion
