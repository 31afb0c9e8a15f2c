#include "platform/registry/registry.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

using Names = std::vector<std::u16string>;

constexpr const char16_t* kSid = u"S-1-22-1-1000";

class RegistryTest : public ::testing::Test {
 protected:
  std::unique_ptr<Registry> Open(const char16_t* sid = kSid) const {
    std::unique_ptr<Registry> registry;
    EXPECT_EQ(OpenRegistryFile(file_, sid, registry), ERROR_SUCCESS);
    return registry;
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
  const std::string file_ = folder_ + "/registry.db";
};

RegistryValue Text(const char16_t* text) { return RegistryValue::String(text); }

std::vector<std::uint8_t> Data(const Registry& registry, const KeyPath& key,
                               const std::u16string& name) {
  RegistryValue value;
  EXPECT_EQ(registry.Query(key, name, value), ERROR_SUCCESS);
  return value.data;
}

const KeyPath kKey{RootKey::kLocalMachine, u"Software\\Test"};

TEST(RegistryValueTest, HoldsTheBytesThatOtherToolsExpect) {
  using Bytes = std::vector<std::uint8_t>;
  EXPECT_EQ(RegistryValue::String(u"a\u20AC").data, (Bytes{'a', 0, 0xAC, 0x20, 0, 0}));
  EXPECT_EQ(RegistryValue::String(u"").data, (Bytes{0, 0}));
  EXPECT_EQ(RegistryValue::Dword(0x01020304).data, (Bytes{4, 3, 2, 1}));
  EXPECT_EQ(RegistryValue::MultiString({u"a", u"b"}).data,
            (Bytes{'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}));
  EXPECT_EQ(RegistryValue::MultiString({}).data, (Bytes{0, 0}));
}

TEST_F(RegistryTest, ValuesOfEveryTypeComeBackAfterReopening) {
  const std::pair<std::u16string, RegistryValue> rows[] = {
      {u"text", Text(u"caf\u00E9 \U0001F600")},
      {u"number", RegistryValue::Dword(0xFFFFFFFF)},
      {u"list", RegistryValue::MultiString({u"127.0.0.1", u"::1"})},
      {u"", Text(u"default value")},
      {u"empty", {RegistryType::kBinary, {}}},
      {u"odd", {RegistryType::kExpandString, {0, 0xD8, 1}}},
  };
  {
    const auto registry = Open();
    ASSERT_EQ(registry->CreateKey(kKey), ERROR_SUCCESS);
    for (const auto& [name, value] : rows) EXPECT_EQ(registry->Set(kKey, name, value), 0u);
  }
  const auto registry = Open();
  for (const auto& [name, value] : rows) {
    RegistryValue found;
    EXPECT_EQ(registry->Query(kKey, name, found), ERROR_SUCCESS);
    EXPECT_EQ(found, value);
  }
  Names names;
  EXPECT_EQ(registry->EnumerateValues(kKey, names), ERROR_SUCCESS);
  EXPECT_EQ(names, (Names{u"", u"empty", u"list", u"number", u"odd", u"text"}));
}

TEST_F(RegistryTest, WhatIsMissingIsNotFound) {
  const auto registry = Open();
  const KeyPath missing{RootKey::kLocalMachine, u"None"};
  const KeyPath root{RootKey::kLocalMachine, u""};
  RegistryValue value;
  Names names{u"old"};
  for (const Win32Error error :
       {registry->Set(missing, u"a", Text(u"x")), registry->OpenKey(missing),
        registry->Query(missing, u"a", value), registry->DeleteValue(missing, u"a"),
        registry->DeleteTree(missing), registry->EnumerateKeys(missing, names),
        registry->CreateKey({RootKey::kPerformanceData, u"Software"})})
    EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(names.empty());
  EXPECT_EQ(registry->OpenKey(root), ERROR_SUCCESS);
  EXPECT_EQ(registry->DeleteTree(root), ERROR_ACCESS_DENIED);
  EXPECT_EQ(registry->CreateKey({RootKey::kLocalMachine, u"a\xD800"}), ERROR_INVALID_PARAMETER);
  ASSERT_EQ(registry->CreateKey(kKey), ERROR_SUCCESS);
  EXPECT_EQ(registry->Set(kKey, std::u16string(u"a\0b", 3), Text(u"")), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(registry->DeleteValue(kKey, u"a"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, NamesCompareIgnoringCaseAndKeepTheirFirstForm) {
  const auto registry = Open();
  ASSERT_EQ(registry->CreateKey({RootKey::kLocalMachine, u"Software\\\u00C4pfel"}), ERROR_SUCCESS);
  const KeyPath other{RootKey::kLocalMachine, u"SOFTWARE\\\u00E4PFEL\\"};
  EXPECT_EQ(registry->CreateKey(other), ERROR_SUCCESS);
  EXPECT_EQ(registry->Set(other, u"UseSSL", Text(u"0")), ERROR_SUCCESS);
  EXPECT_EQ(registry->Set(other, u"usessl", Text(u"1")), ERROR_SUCCESS);
  EXPECT_EQ(Data(*registry, other, u"USESSL"), Text(u"1").data);
  Names names;
  EXPECT_EQ(registry->EnumerateValues(other, names), ERROR_SUCCESS);
  EXPECT_EQ(names, Names{u"UseSSL"});
  EXPECT_EQ(registry->EnumerateKeys({RootKey::kLocalMachine, u"software"}, names), ERROR_SUCCESS);
  EXPECT_EQ(names, Names{u"\u00C4pfel"});
}

TEST_F(RegistryTest, ADeletedTreeTakesWhatIsBelowAndNoNeighbour) {
  const auto registry = Open();
  for (const char16_t* path : {u"A\\B\\C", u"A\\B]", u"A\\B C", u"A\\BB"}) {
    const KeyPath key{RootKey::kLocalMachine, path};
    ASSERT_EQ(registry->CreateKey(key), ERROR_SUCCESS);
    ASSERT_EQ(registry->Set(key, u"v", Text(path)), ERROR_SUCCESS);
  }
  EXPECT_EQ(registry->DeleteTree({RootKey::kLocalMachine, u"a\\b"}), ERROR_SUCCESS);
  Names names;
  EXPECT_EQ(registry->EnumerateKeys({RootKey::kLocalMachine, u"A"}, names), ERROR_SUCCESS);
  EXPECT_EQ(names, (Names{u"B C", u"B]", u"BB"}));
  for (const std::u16string& name : names)
    EXPECT_NE(Data(*registry, {RootKey::kLocalMachine, u"A\\" + name}, u"v").size(), 0u);
  // Nothing of a deleted key shows up in a new one of its name.
  const KeyPath again{RootKey::kLocalMachine, u"A\\B\\C"};
  ASSERT_EQ(registry->CreateKey(again), ERROR_SUCCESS);
  RegistryValue value;
  EXPECT_EQ(registry->Query(again, u"v", value), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, TheUsersKeyIsTheOneOfTheirSid) {
  const auto registry = Open();
  const KeyPath mine{RootKey::kCurrentUser, u"Software"};
  ASSERT_EQ(registry->CreateKey(mine), ERROR_SUCCESS);
  EXPECT_EQ(registry->Set(mine, u"v", Text(u"x")), ERROR_SUCCESS);
  EXPECT_EQ(registry->Set({RootKey::kCurrentUser, u""}, u"top", Text(u"y")), ERROR_SUCCESS);
  const KeyPath full{RootKey::kUsers, std::u16string(kSid) + u"\\Software"};
  EXPECT_EQ(Data(*registry, full, u"v"), Text(u"x").data);
  EXPECT_EQ(Open(u"S-1-22-1-1001")->OpenKey(mine), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, ClassesAreTheUsersOverTheMachines) {
  const auto registry = Open();
  const KeyPath classes{RootKey::kClassesRoot, u"CLSID"};
  const KeyPath user{RootKey::kCurrentUser, u"Software\\Classes\\CLSID"};
  const KeyPath machine{RootKey::kLocalMachine, u"Software\\Classes\\CLSID"};
  ASSERT_EQ(registry->CreateKey(classes), ERROR_SUCCESS);
  EXPECT_EQ(registry->OpenKey(user), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(registry->Set(classes, u"where", Text(u"machine")), ERROR_SUCCESS);
  EXPECT_EQ(Data(*registry, machine, u"where"), Text(u"machine").data);
  ASSERT_EQ(registry->CreateKey({RootKey::kCurrentUser, u"Software\\Classes\\CLSID\\Mine"}), 0u);
  ASSERT_EQ(registry->CreateKey({RootKey::kClassesRoot, u"CLSID\\mine"}), ERROR_SUCCESS);
  ASSERT_EQ(registry->Set(user, u"Where", Text(u"user")), ERROR_SUCCESS);
  EXPECT_EQ(Data(*registry, classes, u"where"), Text(u"user").data);
  Names names;
  EXPECT_EQ(registry->EnumerateKeys(classes, names), ERROR_SUCCESS);
  EXPECT_EQ(names, Names{u"Mine"});
}

TEST_F(RegistryTest, FilesAreTheOwnersAloneAndNothingElseRemains) {
  const auto registry = Open();
  ASSERT_EQ(registry->CreateKey(kKey), ERROR_SUCCESS);
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    EXPECT_EQ(entry.status().permissions(), std::filesystem::perms(0600)) << entry.path();
    EXPECT_TRUE(entry.path().string().starts_with(file_)) << entry.path();
    EXPECT_EQ(entry.hard_link_count(), 1u);
  }
}

TEST_F(RegistryTest, AFileThatIsNoRegistryIsRefusedAndLeftAlone) {
  std::ofstream(file_) << std::string(5000, 'x');
  std::unique_ptr<Registry> registry;
  EXPECT_EQ(OpenRegistryFile(file_, kSid, registry), ERROR_BADDB);
  EXPECT_EQ(registry, nullptr);
  EXPECT_EQ(std::filesystem::file_size(file_), 5000u);
  EXPECT_EQ(OpenRegistryFile(folder_ + "/none/registry.db", kSid, registry), ERROR_PATH_NOT_FOUND);
}

// Eight processes start on an empty folder: one makes the file, all write.
TEST_F(RegistryTest, ProcessesThatStartTogetherLoseNoWrite) {
  constexpr std::uint32_t kProcesses = 8;
  constexpr std::uint32_t kWrites = 10;
  std::vector<pid_t> children;
  for (std::uint32_t process = 0; process < kProcesses; ++process) {
    children.push_back(fork());
    if (children.back() != 0) continue;
    std::unique_ptr<Registry> registry;
    if (OpenRegistryFile(file_, kSid, registry) || registry->CreateKey(kKey)) _exit(1);
    for (std::uint32_t i = 0; i < kWrites; ++i) {
      const std::u16string name = {static_cast<char16_t>(u'a' + process),
                                   static_cast<char16_t>(u'0' + i)};
      if (registry->Set(kKey, name, RegistryValue::Dword(i))) _exit(2);
    }
    _exit(0);
  }
  for (const pid_t child : children) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  Names names;
  EXPECT_EQ(Open()->EnumerateValues(kKey, names), ERROR_SUCCESS);
  EXPECT_EQ(names.size(), kProcesses * kWrites);
}

}  // namespace
}  // namespace kelvarion::platform
