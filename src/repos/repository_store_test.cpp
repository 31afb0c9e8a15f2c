#include "repos/repository_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "access/permission_model.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "svn/error.h"

namespace kelvarion::repos {
namespace {

using testing::RunProcess;
using ::testing::UnorderedElementsAre;
using testing::WriteFile;
namespace fs = std::filesystem;

class RepositoryStoreTest : public RepositoriesTest {
 protected:
  void AddRepository(const std::string& name, const std::string& compatible = "1.14") {
    Run({"svnadmin", "create", "--compatible-version", compatible, path(name)});
  }
  void MakeFolder(const std::string& repository, const std::string& folder) {
    Run({"svn", "mkdir", "-q", "-m", "", "file://" + path(repository) + folder});
  }
};

TEST_F(RepositoryStoreTest, FoldersAreRepositoriesAndNothingElseIs) {
  AddRepository("real");
  fs::create_directories(path("empty"));
  fs::create_directories(path(".kelvarion/half-made"));
  fs::create_directories(path("not\xFFutf8"));
  fs::create_directory_symlink(path("real"), path("link"));
  WriteFile(path("htpasswd"), "");
  EXPECT_THAT(ListRepositoryNames(context()), UnorderedElementsAre(u"real", u"empty"));
  EXPECT_EQ(home_.events().texts.size(), 1u);
}

TEST_F(RepositoryStoreTest, ARecordSaysWhatTheStoreSays) {
  AddRepository("a b", "1.9");
  MakeFolder("a b", "/trunk");
  const RepositoryRecord record = ReadRepository(context(), u"a b");
  EXPECT_EQ(record.name, u"a b");
  EXPECT_EQ(record.path, platform::Utf16ForDisplay(path("a b")));
  EXPECT_TRUE(record.url.ends_with(u":8080/svn/a%20b/"));
  EXPECT_TRUE(record.inherited_only_permissions);
  EXPECT_EQ(record.type, RepositoryType::Fsfs);
  EXPECT_EQ(record.total_revisions, 1u);
  EXPECT_EQ(record.format_number, 7u);
  EXPECT_EQ(record.uuid->size(), 36u);
  EXPECT_EQ(record.shard_size, 1000u);
  EXPECT_EQ(record.total_shards, 0u);
  EXPECT_EQ(record.packed_shards, 0u);
  EXPECT_EQ(record.log_addressing, 1u);
  EXPECT_EQ(record.suspended, 0u);
  EXPECT_FALSE(record.master_server || record.master_repository);
}

TEST_F(RepositoryStoreTest, ShardsAreCountedWholeAndPackedOnesApart) {
  AddRepository("r");
  // Shards of two revisions, as far as the format file has a say, before there is a revision.
  Run({"sed", "-i", "s/^layout .*/layout sharded 2/", path("r") + "/db/format"});
  for (const char* folder : {"/1", "/2", "/3", "/4"}) MakeFolder("r", folder);
  Run({"svnadmin", "pack", "-q", path("r")});
  const RepositoryRecord record = ReadRepository(context(), u"r");
  EXPECT_EQ(record.shard_size, 2u);
  EXPECT_EQ(record.total_revisions, 4u);
  EXPECT_EQ(record.total_shards, 2u);
  EXPECT_EQ(record.packed_shards, 2u);
}

TEST_F(RepositoryStoreTest, OneBadRepositoryFailsNeitherItsRecordNorTheOthers) {
  AddRepository("good");
  fs::create_directories(path("empty"));
  AddRepository("damaged");
  WriteFile(path("damaged/db/fs-type"), "tape\n");
  AddRepository("misruled");
  WriteFile(path("misruled/conf/Kelvarion-SvnAuthz.ini"), "[/\nnonsense");
  const std::vector<RepositoryRecord> records = ListRepositories(context());
  ASSERT_EQ(records.size(), 4u);
  for (const RepositoryRecord& record : records) {
    const bool opens = record.name == u"good" || record.name == u"misruled";
    EXPECT_EQ(record.type.has_value(), opens);
    EXPECT_EQ(record.total_revisions.has_value(), opens);
    EXPECT_EQ(record.uuid.has_value(), opens);
    EXPECT_FALSE(record.url.empty());
  }
  EXPECT_EQ(home_.events().texts.size(), 1u);
}

TEST_F(RepositoryStoreTest, OnlyRulesOfTheRootPathEndInheritance) {
  CreateRepository(context(), u"r");
  const access::PermissionList rules = {
      {access::Account::Everyone(), access::AccessLevel::ReadOnly}};
  access::SetPathPermissions(context(), {u"r", u"/trunk"}, rules, access::ResetChildren::kNo);
  EXPECT_TRUE(ReadRepository(context(), u"r").inherited_only_permissions);
  access::SetPathPermissions(context(), {u"r", u"/"}, rules, access::ResetChildren::kNo);
  EXPECT_FALSE(ReadRepository(context(), u"r").inherited_only_permissions);
}

TEST_F(RepositoryStoreTest, NamesResolveIgnoringCaseUnlessOneIsExact) {
  fs::create_directories(path("Demo"));
  EXPECT_EQ(FindRepository(context(), u"dEMO"), u"Demo");
  EXPECT_EQ(GetRepositoryDiskName(context(), u"DEMO"), u"Demo");
  fs::create_directories(path("demo"));
  EXPECT_EQ(FindRepository(context(), u"demo"), u"demo");
  EXPECT_EQ(FindRepository(context(), u"Demo"), u"Demo");
  for (const std::u16string missing : {u"", u"other", u"..", u"../repositories/Demo", u"Demo/"})
    EXPECT_EQ(FindRepository(context(), missing), std::nullopt);
  EXPECT_THROW(GetRepositoryDiskName(context(), u"other"), SvnException);
}

}  // namespace
}  // namespace kelvarion::repos
