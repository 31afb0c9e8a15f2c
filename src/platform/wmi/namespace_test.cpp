#include <gtest/gtest.h>

#include <thread>

#include "tests/support/schema_folder.h"

namespace kelvarion {
namespace {

std::vector<std::u16string> ClassesBelow(const ComPtr<IWbemServices>& space,
                                         const std::u16string& superclass, std::int32_t flags = 0) {
  std::vector<ComPtr<IWbemClassObject>> classes;
  EXPECT_EQ(space->CreateClassEnum(superclass, flags, nullptr, &classes), S_OK);
  std::vector<std::u16string> names;
  for (const ComPtr<IWbemClassObject>& found : classes) {
    Variant name;
    found->Get(u"__CLASS", 0, &name, nullptr);
    names.push_back(name.AsString());
  }
  return names;
}

TEST(NamespaceTest, ListsClassesByNameAndByDescent) {
  using Names = std::vector<std::u16string>;
  const ComPtr<IWbemServices> space =
      CompileText("class d : C {}; class C : a {}; class B {}; class a {};");
  EXPECT_EQ(ClassesBelow(space, u""), (Names{u"a", u"B", u"C", u"d"}));
  EXPECT_EQ(ClassesBelow(space, u"", 1), (Names{u"a", u"B"}));
  EXPECT_EQ(ClassesBelow(space, u"A"), (Names{u"C", u"d"}));
  EXPECT_EQ(ClassesBelow(space, u"A", 1), (Names{u"C"}));
  std::vector<ComPtr<IWbemClassObject>> none;
  EXPECT_EQ(space->CreateClassEnum(u"X", 0, nullptr, &none), WBEM_E_INVALID_CLASS);
}

TEST(NamespaceTest, AnswersClassPathsAndNothingElse) {
  const ComPtr<IWbemServices> space = CompileText("class C {};");
  const std::pair<const char16_t*, HRESULT> rows[] = {{u"c", S_OK},
                                                      {u"root\\x:C", S_OK},
                                                      {u"D", WBEM_E_NOT_FOUND},
                                                      {u"C.", WBEM_E_INVALID_OBJECT_PATH},
                                                      {u"C=@", WBEM_E_NOT_SUPPORTED}};
  for (const auto& [path, result] : rows) {
    ComPtr<IWbemClassObject> found;
    EXPECT_EQ(space->GetObject(path, 0, nullptr, found.Put()), result);
    EXPECT_EQ(static_cast<bool>(found), result == S_OK);
  }
  EXPECT_EQ(space->GetObjectAsync(u"C", 0, nullptr, nullptr), WBEM_E_NOT_SUPPORTED);
}

TEST(NamespaceTest, FilesOfAFolderMakeOneSchema) {
  // The superclass comes in the later file; the shared one is named twice and compiled once.
  const SchemaFolder folder(
      SchemaFolder::Files{{"a.mof", "#pragma include(\"shared.inc\")\nclass A : Z { S Held; };"},
                          {"shared.inc", "class S {};"},
                          {"z.mof", "\xEF\xBB\xBF#pragma include(\"shared.inc\")\nclass Z {};"},
                          {"readme.txt", "no schema"}});
  std::string error;
  const ComPtr<IWbemServices> space = folder.Open(error);
  ASSERT_TRUE(space) << error;
  EXPECT_EQ(ClassesBelow(space, u""), (std::vector<std::u16string>{u"A", u"S", u"Z"}));
}

TEST(NamespaceTest, AFolderWithoutASchemaIsAnError) {
  std::string error;
  const SchemaFolder empty(SchemaFolder::Files{});
  EXPECT_FALSE(empty.Open(error));
  EXPECT_EQ(error, empty.path() + ": found no file *.mof, expected schema files");
  SchemaError missing;
  EXPECT_FALSE(OpenNamespaceFolder(empty.path() + "/none", missing));
  EXPECT_NE(missing.text.find("found a folder that cannot be read"), std::string::npos);
}

TEST(NamespaceTest, ManyThreadsSpawnFromOneClass) {
  const ComPtr<IWbemServices> space = CompileText("class C { uint32 N = 1; };");
  const ComPtr<IWbemClassObject> shared = ClassNamed(space, u"C");
  const auto work = [&](std::uint32_t number) {
    for (int i = 0; i < 500; ++i) {
      ComPtr<IWbemClassObject> instance;
      ASSERT_EQ(shared->SpawnInstance(0, instance.Put()), S_OK);
      ASSERT_EQ(instance->Put(u"N", 0, Variant::FromUint(number), 0), S_OK);
      ComPtr<IWbemClassObject> derived;
      ASSERT_EQ(shared->SpawnDerivedClass(0, derived.Put()), S_OK);
      ASSERT_EQ(derived->Put(u"N", 0, Variant::FromUint(number), 0), S_OK);
    }
  };
  std::thread other(work, 2u);
  work(3);
  other.join();
  Variant value;
  shared->Get(u"N", 0, &value, nullptr);
  EXPECT_TRUE(value == Variant::FromI4(1));
}

// The classes that clients are promised. A class that does not compile fails the whole folder.
TEST(SchemaTest, TheSystemsOwnSchemaCompilesAndDescribesItself) {
  SchemaError error;
  const ComPtr<IWbemServices> space = OpenNamespaceFolder(KELVARION_SOURCE_DIR "/schema", error);
  ASSERT_TRUE(space) << error.text;
  std::vector<ComPtr<IWbemClassObject>> classes;
  space->CreateClassEnum(u"", 0, nullptr, &classes);
  EXPECT_GE(classes.size(), 24u);
  for (const ComPtr<IWbemClassObject>& found : classes) {
    Variant name;
    found->Get(u"__CLASS", 0, &name, nullptr);
    const std::string what(name.AsString().begin(), name.AsString().end());
    ComPtr<IWbemQualifierSet> set;
    found->GetQualifierSet(set.Put());
    EXPECT_EQ(set->Get(u"Description", nullptr), S_OK) << what;
    std::vector<std::u16string> names;
    found->GetNames(&names);
    for (const std::u16string& property : names) {
      ASSERT_EQ(found->GetPropertyQualifierSet(property, set.Put()), S_OK);
      EXPECT_EQ(set->Get(u"Description", nullptr), S_OK)
          << what << '.' << std::string(property.begin(), property.end());
    }
    found->GetMethodNames(&names);
    for (const std::u16string& method : names) {
      ASSERT_EQ(found->GetMethodQualifierSet(method, set.Put()), S_OK);
      EXPECT_EQ(set->Get(u"Description", nullptr), S_OK)
          << what << '.' << std::string(method.begin(), method.end());
    }
  }
}

}  // namespace
}  // namespace kelvarion
