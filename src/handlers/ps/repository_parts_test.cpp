// The command-line classes for what is in a repository: hooks and items.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using ::testing::StartsWith;
using Words = std::vector<std::string>;

constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;

template <class Objects>
Words Texts(const Objects& objects, const char* first, const char* second) {
  Words texts;
  for (const host::Json& object : objects)
    texts.push_back(object[first].template get<std::string>() + " " +
                    object[second].template get<std::string>());
  return texts;
}

class RepositoryPartsTest : public ::testing::Test {
 protected:
  RepositoryPartsTest() {
    for (const char16_t* name : {u"r10", u"R9"}) repos::CreateRepository(home_.context(), name);
  }
  Answer AddHook(const std::string& repository, int type, const std::string& content,
                 const char* force = "false") {
    return host_.Call("PS_SvnRepositoryHook", "AddByRepositoryName",
                      {"Repository=" + repository, "Type=" + std::to_string(type),
                       "Content=" + content, std::string("Force=") + force});
  }
  Answer Items(const char* method, const Words& paths, const Words& more = {}) {
    Words parameters{"Repository=r9", "Path:=" + host::Json(paths).dump()};
    parameters.insert(parameters.end(), more.begin(), more.end());
    return host_.Call("PS_SvnRepositoryItem", method, parameters);
  }
  std::string Log() { return testing::RunProcess({"svnlook", "log", home_.root() + "/R9"}).out; }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(RepositoryPartsTest, HooksAreListedAsTheyRun) {
  for (const char* repository : {"r10", "r9"})
    for (const int type : {0, 8}) EXPECT_EQ(AddHook(repository, type, "#!/bin/sh\n").status, S_OK);
  EXPECT_EQ(Texts(host_.List("PS_SvnRepositoryHook").all(), "Repository", "TypeName"),
            (Words{"R9 StartCommit", "R9 PostCommit", "r10 StartCommit", "r10 PostCommit"}));

  const Answer exists = AddHook("r9", 0, "new");
  EXPECT_EQ(exists.status, WBEM_E_ALREADY_EXISTS);
  EXPECT_THAT(exists.said(), StartsWith("Cannot add \"PostCommit\" hook to repository \"R9\" "
                                        "because it already exists (use -Force to overwrite)"));
  EXPECT_EQ(AddHook("r9", 0, "new", "true").out()["CmdletOutput"]["Content"], "new");
  EXPECT_EQ(AddHook("r9", 9, "").status, kInvalid);
  EXPECT_EQ(AddHook("none", 0, "").status, WBEM_E_NOT_FOUND);

  testing::WriteFile(home_.root() + "/R9/hooks/pre-lock", "own");
  EXPECT_THAT(AddHook("r9", 5, "").said(),
              StartsWith("Cannot add \"PreLock\" hook to repository \"R9\": '"));
  const struct {
    const char* keys;
    HRESULT got;
    HRESULT removed;
  } rows[] = {
      {"Repository=\"r9\",TypeName=\"PostCommit\"", S_OK, S_OK},
      {"TypeName=\"PostCommit\",Repository=\"R9\"", WBEM_E_NOT_FOUND, S_OK},
      {"Repository=\"r9\",TypeName=\"precommit\"", WBEM_E_INVALID_OBJECT_PATH, kInvalid},
      {"Repository=\"none\",TypeName=\"PostCommit\"", WBEM_E_NOT_FOUND, WBEM_E_NOT_FOUND},
      {"Repository=\"r9\"", WBEM_E_INVALID_OBJECT_PATH, WBEM_E_INVALID_OBJECT_PATH},
  };
  for (const auto& row : rows) {
    const std::string path = std::string("PS_SvnRepositoryHook.") + row.keys;
    EXPECT_EQ(host_.Get(path).status, row.got);
    EXPECT_EQ(host_.Call(path, "Remove").status, row.removed);
  }
}

TEST_F(RepositoryPartsTest, ItemsAreMadeAndRemovedInTheOrderOfTheTree) {
  const Answer made = Items("CreateByRepositoryName", {"/a-b", "/a/b", "/a"}, {"Type=1"});
  EXPECT_EQ(Texts(made.out()["CmdletOutput"], "Path", "Repository"),
            (Words{"/a R9", "/a/b R9", "/a-b R9"}));
  EXPECT_EQ(Log(), "Created folders:\n\n    /a\n    /a/b\n    /a-b\n\n");
  EXPECT_EQ(Items("RemoveByRepositoryName", {"/a", "/a/b"}).status, S_OK);
  EXPECT_EQ(Log(), "Deleted items:\n\n    /a\n    /a/b\n\n");

  const struct {
    const char* path;
    const char* type;
    HRESULT status;
    const char* message;
  } rows[] = {
      {"/d/", "Type=1", kInvalid,
       "Cannot create repository item '/d/' because it specifies a non-canonical path"},
      {"/c", "Type=0", WBEM_E_FAILED, "Creating files is currently not supported."},
      {"/c", "Type=2", WBEM_E_FAILED, "Unknown repository item type (2)."},
  };
  for (const auto& row : rows) {
    const Answer refused = Items("CreateByRepositoryName", {"/e", row.path}, {row.type});
    EXPECT_EQ(refused.status, row.status);
    EXPECT_THAT(refused.said(), StartsWith(row.message));
  }
}

TEST_F(RepositoryPartsTest, ItemsAreListedFoldersFirst) {
  Items("CreateByRepositoryName", {"/trunk", "/Branches", "/b10", "/b9"}, {"Type=1"});
  testing::RunProcess({"svn", "import", "-mfile", "-q",
                       std::string(KELVARION_SOURCE_DIR) + "/Makefile",
                       "file://" + home_.root() + "/R9/a.txt"});
  const auto list = [&](const char* paths) {
    return host_.List("PS_SvnRepositoryItem", {"QueryOption_RepositoryName=r9",
                                               std::string("QueryOption_ParentPath:=") + paths});
  };
  const Words expected{"b9 /b9", "b10 /b10", "Branches /Branches", "trunk /trunk", "a.txt /a.txt"};
  EXPECT_EQ(Texts(host_.List("PS_SvnRepositoryItem").all(), "Name", "Path"), expected);
  EXPECT_EQ(Texts(list(R"(["/"])").all(), "Name", "Path"), expected);
  EXPECT_EQ(Texts(list(R"(["/trunk","/a.txt"])").all(), "Name", "Path"), (Words{"a.txt /a.txt"}));
  EXPECT_EQ(list(R"(["/none"])").said(),
            "Cannot find path '/none' in repository 'R9' because it does not exist.");
  const Answer refused = list(R"(["/","/trunk/"])");
  EXPECT_EQ(refused.status, WBEM_E_INVALID_PARAMETER);
  EXPECT_THAT(refused.said(),
              StartsWith("Cannot get repository items for a non-canonical path '/trunk/'"));
  EXPECT_TRUE(refused.objects.empty());

  const host::Json root =
      host_.Get("Kelvarion_RepositoryEntry.RepositoryName=\"r9\",Path=\"/\"").out();
  EXPECT_EQ(root["Kind"], 1);
  EXPECT_TRUE(root["ParentPath"].is_null());
  EXPECT_EQ(host_.List("Kelvarion_RepositoryEntry").status, WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(host_.Call("Kelvarion_Repository.Name=\"r9\"", "GetChildren", {"Path=/"})
                .out()["Children"]
                .size(),
            5u);
}

}  // namespace
}  // namespace kelvarion
