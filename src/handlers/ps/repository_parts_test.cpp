// The command-line classes for what is in a repository: hooks and items.
#include <gtest/gtest.h>

#include "handlers/ps/repository_hook_class_handler.h"
#include "handlers/ps/repository_item_class_handler.h"
#include "platform/wmi/interfaces.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Strings = std::vector<std::u16string>;

class RepositoryPartsTest : public ::testing::Test {
 protected:
  RepositoryPartsTest() {
    for (const char16_t* name : {u"r10", u"R9"}) repos::CreateRepository(home_.context(), name);
  }
  Answer AddHook(const char16_t* repository, std::uint32_t type, const char16_t* content,
                 bool force = false) {
    return host_.Call(u"PS_SvnRepositoryHook", u"AddByRepositoryName", [&](WMIObject& in) {
      in.Set(Property<std::u16string>{u"Repository"}, repository);
      in.Set(Property<std::uint32_t>{u"Type"}, type);
      in.Set(Property<std::u16string>{u"Content"}, content);
      in.Set(Property<bool>{u"Force"}, force);
    });
  }
  Answer Items(const char16_t* method, const Strings& paths, std::uint32_t type = 1) {
    return host_.Call(u"PS_SvnRepositoryItem", method, [&](WMIObject& in) {
      in.Set(Property<std::u16string>{u"Repository"}, u"r9");
      in.Set(Property<Strings>{u"Path"}, paths);
      if (std::u16string_view(method).starts_with(u"Create"))
        in.Set(Property<std::uint32_t>{u"Type"}, type);
    });
  }
  static Strings Texts(const std::vector<WMIObject>& objects, const char16_t* first,
                       const char16_t* second) {
    Strings texts;
    for (const WMIObject& object : objects)
      texts.push_back(object.Get(Property<std::u16string>{first}) + u" " +
                      object.Get(Property<std::u16string>{second}));
    return texts;
  }
  std::string Log() { return testing::RunProcess({"svnlook", "log", home_.root() + "/R9"}).out; }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(RepositoryPartsTest, HooksAreListedAsTheyRun) {
  for (const char16_t* repository : {u"r10", u"r9"})
    for (const std::uint32_t type : {0u, 8u})
      EXPECT_EQ(AddHook(repository, type, u"#!/bin/sh\n").status, S_OK);
  EXPECT_EQ(Texts(host_.Enumerate(u"PS_SvnRepositoryHook").objects, u"Repository", u"TypeName"),
            (Strings{u"R9 StartCommit", u"R9 PostCommit", u"r10 StartCommit", u"r10 PostCommit"}));

  const Answer exists = AddHook(u"r9", 0, u"new");
  EXPECT_EQ(exists.status, WBEM_E_ALREADY_EXISTS);
  EXPECT_TRUE(exists.Message().starts_with(
      u"Cannot add \"PostCommit\" hook to repository \"R9\" because it already exists (use -Force "
      u"to overwrite)"));
  const Answer forced = AddHook(u"r9", 0, u"new", true);
  const WMIObject hook = forced.object().Get(Property<WMIObject>{u"CmdletOutput"});
  EXPECT_EQ(hook.Get(Property<std::u16string>{u"Content"}), u"new");
  EXPECT_EQ(AddHook(u"r9", 9, u"").status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_EQ(AddHook(u"none", 0, u"").status, WBEM_E_NOT_FOUND);

  testing::WriteFile(home_.root() + "/R9/hooks/pre-lock", "own");
  EXPECT_TRUE(AddHook(u"r9", 5, u"")
                  .Message()
                  .starts_with(u"Cannot add \"PreLock\" hook to repository \"R9\": '"));
  const struct {
    const char16_t* keys;
    HRESULT got;
    HRESULT removed;
  } rows[] = {
      {u".Repository=\"r9\",TypeName=\"PostCommit\"", S_OK, S_OK},
      {u".TypeName=\"PostCommit\",Repository=\"R9\"", WBEM_E_NOT_FOUND, S_OK},
      {u".Repository=\"r9\",TypeName=\"precommit\"", WBEM_E_INVALID_OBJECT_PATH,
       WBEM_E_INVALID_METHOD_PARAMETERS},
      {u".Repository=\"none\",TypeName=\"PostCommit\"", WBEM_E_NOT_FOUND, WBEM_E_NOT_FOUND},
      {u".Repository=\"r9\"", WBEM_E_INVALID_OBJECT_PATH, WBEM_E_INVALID_OBJECT_PATH},
  };
  for (const auto& row : rows) {
    const std::u16string path = std::u16string(u"PS_SvnRepositoryHook") + row.keys;
    EXPECT_EQ(host_.Get(path).status, row.got);
    EXPECT_EQ(host_.Call(path, u"Remove").status, row.removed);
  }
}

TEST_F(RepositoryPartsTest, ItemsAreMadeAndRemovedInTheOrderOfTheTree) {
  const Answer made = Items(u"CreateByRepositoryName", {u"/a-b", u"/a/b", u"/a"});
  ASSERT_EQ(made.status, S_OK);
  EXPECT_EQ(Texts(made.object().Get(Property<std::vector<WMIObject>>{u"CmdletOutput"}), u"Path",
                  u"Repository"),
            (Strings{u"/a R9", u"/a/b R9", u"/a-b R9"}));
  EXPECT_EQ(Log(), "Created folders:\n\n    /a\n    /a/b\n    /a-b\n\n");
  EXPECT_EQ(Items(u"RemoveByRepositoryName", {u"/a", u"/a/b"}).status, S_OK);
  EXPECT_EQ(Log(), "Deleted items:\n\n    /a\n    /a/b\n\n");

  const struct {
    Strings paths;
    std::uint32_t type;
    HRESULT status;
    const char16_t* message;
  } rows[] = {
      {{u"/c", u"/d/"},
       1,
       WBEM_E_INVALID_METHOD_PARAMETERS,
       u"Cannot create repository item '/d/' because it specifies a non-canonical path"},
      {{u"/c"}, 0, WBEM_E_FAILED, u"Creating files is currently not supported."},
      {{u"/c"}, 2, WBEM_E_FAILED, u"Unknown repository item type (2)."},
  };
  for (const auto& row : rows) {
    const Answer refused = Items(u"CreateByRepositoryName", row.paths, row.type);
    EXPECT_EQ(refused.status, row.status);
    EXPECT_TRUE(refused.Message().starts_with(row.message));
  }
}

TEST_F(RepositoryPartsTest, ItemsAreListedFoldersFirst) {
  Items(u"CreateByRepositoryName", {u"/trunk", u"/Branches", u"/b10", u"/b9"});
  testing::RunProcess({"svn", "import", "-mfile", "-q",
                       std::string(KELVARION_SOURCE_DIR) + "/Makefile",
                       "file://" + home_.root() + "/R9/a.txt"});
  const auto enumerate = [&](const Strings& paths) {
    const ComPtr<IWbemContext> context = MakeContext();
    context->SetValue(u"QueryOption_RepositoryName", 0, Variant::FromString(u"r9"));
    context->SetValue(u"QueryOption_ParentPath", 0, Variant::FromStrings(paths));
    return host_.Enumerate(u"PS_SvnRepositoryItem", context.Get());
  };
  const Strings expected{u"b9 /b9", u"b10 /b10", u"Branches /Branches", u"trunk /trunk",
                         u"a.txt /a.txt"};
  EXPECT_EQ(Texts(host_.Enumerate(u"PS_SvnRepositoryItem").objects, u"Name", u"Path"), expected);
  EXPECT_EQ(Texts(enumerate({u"/"}).objects, u"Name", u"Path"), expected);
  EXPECT_EQ(Texts(enumerate({u"/trunk", u"/a.txt"}).objects, u"Name", u"Path"),
            (Strings{u"a.txt /a.txt"}));
  EXPECT_EQ(enumerate({u"/none"}).Message(),
            u"Cannot find path '/none' in repository 'R9' because it does not exist.");
  const Answer refused = enumerate({u"/", u"/trunk/"});
  EXPECT_EQ(refused.status, WBEM_E_INVALID_PARAMETER);
  EXPECT_TRUE(refused.Message().starts_with(
      u"Cannot get repository items for a non-canonical path '/trunk/'"));
  EXPECT_TRUE(refused.objects.empty());

  const Answer root = host_.Get(u"Kelvarion_RepositoryEntry.RepositoryName=\"r9\",Path=\"/\"");
  ASSERT_EQ(root.status, S_OK);
  EXPECT_EQ(root.object().Get(Property<std::uint32_t>{u"Kind"}), 1u);
  EXPECT_TRUE(root.object().IsNull(Property<std::u16string>{u"ParentPath"}));
  EXPECT_EQ(host_.Enumerate(u"Kelvarion_RepositoryEntry").status, WBEM_E_NOT_SUPPORTED);
  const Answer children =
      host_.Call(u"Kelvarion_Repository.Name=\"r9\"", u"GetChildren",
                 [](WMIObject& in) { in.Set(Property<std::u16string>{u"Path"}, u"/"); });
  EXPECT_EQ(children.object().Get(Property<std::vector<WMIObject>>{u"Children"}).size(), 5u);
}

}  // namespace
}  // namespace kelvarion
