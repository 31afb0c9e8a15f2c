#include "repos/content.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "access/permission_model.h"
#include "errors/exception.h"
#include "platform/ormu/ormu.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "svn/error.h"
#include "svn/replica_role.h"

namespace kelvarion::repos {
namespace {

using testing::RunProcess;
using ::testing::UnorderedElementsAre;

class ContentTest : public RepositoriesTest {
 protected:
  ContentTest() { CreateRepository(context(), u"demo"); }

  std::string url(const std::string& path) { return "file://" + home_.root() + "/demo" + path; }
  void Svn(std::vector<std::string> words) {
    words.insert(words.begin(), {"svn", "--non-interactive"});
    const auto result = RunProcess(words);
    ASSERT_EQ(result.exit_code, 0) << result.all();
  }
  std::string Log(const char* field) {
    return RunProcess({"svnlook", field, home_.root() + "/demo"}).out;
  }
  std::vector<std::u16string> Children(const char16_t* path) {
    std::vector<std::u16string> found;
    const auto folder = ReadFolder(context(), {u"demo", path});
    for (const RepositoryEntry& child : folder->children)
      found.push_back(child.path + (child.kind == NodeKind::Folder ? u"/" : u""));
    return found;
  }
};

TEST_F(ContentTest, EntriesSayWhatTheyAreAndWhetherRulesNameThem) {
  CreateFolders(context(), {u"demo", {u"/trunk", u"/trunk/\u00fc %41"}, u"New"});
  Svn({"cp", "-mcopy", url("/trunk"), url("/copy")});
  Svn({"import", "-mfile", "-q", std::string(KELVARION_SOURCE_DIR) + "/Makefile",
       url("/trunk/a.txt")});
  Svn({"rm", "-mgone", url("/copy/\u00fc %2541")});
  access::SetPathPermissions(context(), {u"demo", u"/trunk"},
                             {{access::Account::User(u"alice"), access::AccessLevel::ReadOnly}},
                             access::ResetChildren::kNo);
  const struct {
    const char16_t* path;
    const char16_t* name;
    const char16_t* parent;
    const char16_t* url_end;
    NodeKind kind;
    bool inherited;
  } rows[] = {
      {u"/", u"demo", u"", u"/svn/demo/", NodeKind::Folder, true},
      {u"/trunk", u"trunk", u"/", u"/demo/trunk", NodeKind::Folder, false},
      {u"/trunk/a.txt", u"a.txt", u"/trunk", u"/demo/trunk/a.txt", NodeKind::File, true},
      {u"/trunk/\u00fc %41", u"\u00fc %41", u"/trunk", u"/demo/trunk/%C3%BC%20%2541",
       NodeKind::Folder, true},
  };
  for (const auto& row : rows) {
    const auto entry = ReadEntry(context(), {u"demo", row.path});
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, row.name);
    EXPECT_EQ(entry->parent_path, row.parent);
    EXPECT_TRUE(entry->url.ends_with(row.url_end)) << platform::Utf8ForDisplay(entry->url);
    EXPECT_EQ(entry->kind, row.kind);
    EXPECT_EQ(entry->inherited_only_permissions, row.inherited);
  }
  EXPECT_THAT(Children(u"/"), UnorderedElementsAre(u"/trunk/", u"/copy/"));
  EXPECT_THAT(Children(u"/trunk"), UnorderedElementsAre(u"/trunk/a.txt", u"/trunk/\u00fc %41/"));
  EXPECT_THAT(Children(u"/copy"), UnorderedElementsAre());
  EXPECT_THAT(Children(u"/trunk/a.txt"), UnorderedElementsAre());
  for (const char16_t* gone : {u"/copy/\u00fc %41", u"/Trunk", u"/trunk/a.txt/b", u"/.."})
    EXPECT_FALSE(ReadEntry(context(), {u"demo", gone}));
  const auto root = ReadFolder(context(), {u"demo", u"/"});
  for (const RepositoryEntry& child : root->children)
    EXPECT_EQ(child.inherited_only_permissions, child.name != u"trunk");
}

TEST_F(ContentTest, OneCommitDoesAllOrNothing) {
  CreateFolders(context(), {u"demo", {u"/a", u"/a/b"}, u"First\r\nline\r\n"});
  EXPECT_EQ(Log("youngest"), "1\n");
  EXPECT_EQ(Log("author"), "Kelvarion Server\n");
  EXPECT_EQ(Log("log"), "First\nline\n\n");
  using Paths = std::vector<std::u16string>;
  for (const Paths& paths :
       {Paths{u"/c", u"/x/y"}, Paths{u"/c", u"/a"}, Paths{u"/c", u"/"}, Paths{u"/c", u"/c/.."}})
    EXPECT_THROW(CreateFolders(context(), {u"demo", paths, u""}), SvnException);
  EXPECT_THROW(DeleteFolders(context(), {u"demo", {u"/a", u"/a/b"}, u""}), SvnException);
  EXPECT_THROW(CreateFolders(context(), {u"demo", {u"/c"}, u"mixed\r\nline\nends"}), SvnException);
  for (const char16_t* path : {u"", u"a", u"/c/", u"//c", u"/./c"}) {
    EXPECT_THROW(CreateFolders(context(), {u"demo", {u"/c", path}, u""}), WMIException);
    EXPECT_THROW(ReadFolder(context(), {u"demo", path}), WMIException);
  }
  EXPECT_EQ(Log("youngest"), "1\n");
  EXPECT_EQ(RunProcess({"svnadmin", "lstxns", home_.root() + "/demo"}).out, "");
  DeleteFolders(context(), {u"demo", {u"/a/b", u"/a"}, u""});
  EXPECT_EQ(Log("youngest"), "2\n");
  EXPECT_THAT(Children(u"/"), UnorderedElementsAre());
}

TEST_F(ContentTest, ASlaveTakesNoCommitAndNamesItsMaster) {
  CreateFolders(context(), {u"demo", {u"/a"}, u""});
  const svn::Pool pool(context().root_pool());
  svn::WriteReplicaRole(home_.root() + "/demo", {false, false, "m.example:81", "origin"}, pool);
  for (const auto change :
       {+[](const ServerContext&c, const FolderCommit&commit) { CreateFolders(c, commit); },
        +[](const ServerContext&c, const FolderCommit&commit) { DeleteFolders(c, commit); }}) {
    try {
      change(context(), {u"demo", {u"/a"}, u""});
      ADD_FAILURE() << "A slave was changed";
    } catch (const SvnException& refusal) {
      EXPECT_EQ(refusal.code(), ORMU_ERR_SLAVE_READ_ONLY);
      EXPECT_TRUE(refusal.Message().ends_with(u"origin on m.example:81"));
    }
  }
  EXPECT_EQ(Log("youngest"), "1\n");
}

}  // namespace
}  // namespace kelvarion::repos
