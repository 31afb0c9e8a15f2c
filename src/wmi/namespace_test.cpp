// Classes, object paths and contexts.
#include "wmi/namespace.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "tests/support/schema_folder.h"
#include "wmi/context.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::u16string> kText{u"Text"};
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

template <class Failure, class Action>
void ExpectFailure(Action action, HRESULT code, const std::u16string& text) {
  try {
    action();
    ADD_FAILURE() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.text(), text);
    if constexpr (std::is_same_v<Failure, WMIException>)
      EXPECT_EQ(failure.status(), code);
    else
      EXPECT_EQ(failure.hresult(), code);
  }
}

TEST_F(WMINamespaceTest, ClassesSpawnWhatIsAskedOfThem) {
  const WMIClass item = Load(u"item");
  EXPECT_EQ(item.ClassName(), u"Item");
  EXPECT_EQ(&item.GetClass(), &item);
  EXPECT_TRUE(item.InheritsFrom(u"BASE"));
  EXPECT_FALSE(Load(u"Base").InheritsFrom(u"Item"));
  EXPECT_EQ(item.SpawnInstance().ClassName(), u"Item");
  EXPECT_TRUE(item.SpawnMethodOutput(u"count").IsNull(kReturnValue));
  ExpectFailure<ComException>([&] { item.SpawnMethodOutput(u"Missing"); }, WBEM_E_NOT_FOUND,
                              u"Cannot get signature for WMI method 'Item.Missing'");
  ExpectFailure<ComException>([&] { item.SpawnMethodOutput(u"Nothing"); }, WBEM_E_NOT_FOUND,
                              u"Cannot get signature for WMI method 'Item.Nothing'");
  ExpectFailure<ComException>([&] { Load(u"Missing"); }, WBEM_E_NOT_FOUND,
                              u"Cannot get WMI class 'Missing'");
}

TEST_F(WMINamespaceTest, QualifiersOfAClassReadAsText) {
  EXPECT_EQ(Load(u"Base").QualifierText(u"classversion"), u"2.0");
  ExpectFailure<ComException>([&] { Load(u"Item").QualifierText(u"ClassVersion"); },
                              WBEM_E_NOT_FOUND, u"Cannot get qualifier 'ClassVersion'");
  ExpectFailure<ComException>([&] { Load(u"Base").QualifierText(u"singleton"); },
                              WBEM_E_TYPE_MISMATCH, u"");
}

// An error object is a class of its own below the declared one, and is named last.
TEST_F(WMINamespaceTest, DerivedClassesBecomeErrorObjects) {
  WMIObject error = Load(u"Base").SpawnDerivedClass();
  error.Set(kText, u"went wrong");
  error.Set(Property<std::uint32_t>{u"Code"}, 0x80041001u);
  error.Set(Property<std::uint32_t>{u"Extra"}, 0x80041001u);
  error.Set(Property<WMIObject>{u"Detail"}, Load(u"Item").SpawnInstance());
  error.Set(Property<std::u16string>{u"__CLASS"}, u"CIM_Error");
  EXPECT_EQ(error.ClassName(), u"CIM_Error");
  EXPECT_EQ(error.Get(kText), u"went wrong");
  EXPECT_EQ(error.Get(Property<std::uint32_t>{u"Extra"}), 0x80041001u);
  EXPECT_EQ(error.Get(Property<WMIObject>{u"Detail"}).ClassName(), u"Item");
  EXPECT_EQ(error.object()->InheritsFrom(u"Base"), S_OK);
  EXPECT_TRUE(Load(u"Base").IsNull(kText));
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
  EXPECT_EQ(space_->ParsePath(u"Item.Name=\"n\"").Key(kName), u"n");
  EXPECT_EQ(space_->ParsePath(u"Item=@").KeyCount(), 0u);
  EXPECT_TRUE(space_->ParsePath(u"Item=@").IsInstance());
  EXPECT_FALSE(space_->ParsePath(u"Item").IsInstance());
}

TEST_F(WMINamespaceTest, PathsWithOtherKeysThanExpectedAreRefused) {
  for (const char16_t* text :
       {u"Item", u"Item=@", u"Item=\"x\"", u"Item.Path=\"x\"", u"Item.Name=\"x\",Path=\"y\""})
    ExpectFailure<WMIException>([&] { space_->ParsePath(text).Key(kName); },
                                WBEM_E_INVALID_OBJECT_PATH, u"");
  ExpectFailure<WMIException>([&] { space_->ParsePath(u"Item.Name=x"); },
                              WBEM_E_INVALID_OBJECT_PATH,
                              u"Cannot parse WMI object path 'Item.Name=x'");
}

TEST_F(WMINamespaceTest, PathsAreBuiltForOtherObjects) {
  ParsedObjectPath path = space_->NewPath();
  path.SetClassName(u"Item");
  path.SetKey(kName, u"a\"b");
  EXPECT_EQ(path.KeyCount(), 1u);
  path.SetKey(kPath, u"\\");
  EXPECT_EQ(path.KeyCount(), 2u);
  EXPECT_EQ(path.Text(), u"Item.Name=\"a\\\"b\",Path=\"\\\\\"");
  EXPECT_THROW(path.SetClassName(u"no name"), ComException);
  EXPECT_THROW(space_->NewPath().ClassName(), ComException);
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
  ExpectFailure<ComException>([&] { ContextText(context.Get(), u"List"); }, WBEM_E_TYPE_MISMATCH,
                              u"");
  ExpectFailure<ComException>([&] { ContextTexts(context.Get(), u"Id"); }, WBEM_E_TYPE_MISMATCH,
                              u"");
}

}  // namespace
}  // namespace kelvarion
