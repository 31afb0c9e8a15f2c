#include "repos/replication.h"

#include <gtest/gtest.h>
#include <svn_error.h>
#include <svn_error_codes.h>

#include <filesystem>

#include "platform/ormu/ormu.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/delete.h"
#include "repos/engine_errors.h"
#include "repos/import.h"
#include "repos/maintenance.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "svn/error.h"
#include "svn/replica_role.h"

namespace kelvarion::repos {
namespace {

namespace fs = std::filesystem;

svn_error_t* Chain(int code, int cause) {
  return svn_error_create(
      code, svn_error_create(cause, svn_error_create(9, nullptr, "third"), "second"), "first");
}

TEST(EngineErrorsTest, TheProbableReasonIsToldFromTheFirstTwoCodes) {
  const struct {
    int code;
    int cause;
    std::uint32_t reason;  // 0: not explained.
  } rows[] = {
      {570003, 721722, 1}, {570003, 721753, 1}, {570003, 720005, 0}, {570004, 721722, 2},
      {570004, 721753, 2}, {570004, 720005, 4}, {570004, 721745, 6}, {570004, 720002, 0},
      {570005, 1, 3},      {570006, 720005, 5}, {570008, 721722, 0}, {720005, 570004, 0},
  };
  svn::Initialize();
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.code) + " over " + std::to_string(row.cause));
    try {
      CheckConsistencyRequest(Chain(row.code, row.cause), u"demo");
      FAIL();
    } catch (const LocalServerAdminException& explained) {
      EXPECT_EQ(explained.probable_reason(), row.reason);
      EXPECT_EQ(explained.summary(), u"first");
      EXPECT_EQ(explained.details(), u"second\r\nthird");
      EXPECT_EQ(explained.description(), u"first\nsecond\nthird");
    } catch (const SvnException& failure) {
      EXPECT_EQ(row.reason, 0u);
      EXPECT_EQ(failure.code(), row.code);
      EXPECT_EQ(failure.FullText(),
                u"Consistency check for repository 'demo' failed:\nfirst\nsecond\nthird");
    }
  }
}

class ReplicationTest : public RepositoriesTest {
 protected:
  ReplicationTest() { fs::create_directories(home_.install_folder() + "/conf"); }
  std::string Folder(const std::string& name) { return home_.root() + "/" + name; }
  std::u16string Path(const std::string& native) { return platform::Utf16ForDisplay(native); }
  bool HasSettings(const std::string& folder, const char* name) {
    return fs::exists(folder + "/conf/Kelvarion-" + name + ".ini");
  }
  bool IsServed() { return fs::exists(home_.install_folder() + "/conf/replication.conf"); }
  // No service runs in this home.
  template <class Operation>
  void ExpectServiceIsMissed(Operation&& operation) {
    try {
      operation();
      ADD_FAILURE() << "It did without the service";
    } catch (const LocalServerAdminException& failure) {
      EXPECT_EQ(failure.probable_reason(), 1u);
    }
  }
};

TEST_F(ReplicationTest, MastersAreMadeServedAndRemoved) {
  CreateRepository(context(), u"plain");
  EXPECT_FALSE(IsServed());
  CreateOrmuMaster(context(), u"made");
  EXPECT_TRUE(IsServed());
  EXPECT_TRUE(testing::ReadFile(Folder("made") + "/conf/Kelvarion-Replication.ini")
                  .ends_with(".\r\n\r\n\r\n[general]\r\nenabled = yes\r\n"));
  ImportOrmuMaster(context(), u"imported", {Path(Folder("plain")), true, true, true}, nullptr);
  for (const char* name : {"made", "imported"}) {
    EXPECT_EQ(GetRepositoryType(context(), Path(Folder(name))), RepositoryType::OrmuMaster);
    EXPECT_TRUE(HasSettings(Folder(name), "SvnAuthz") && HasSettings(Folder(name), "WinAuthz"));
  }
  EXPECT_EQ(ConvertToFsfs(context(), u"imported"), ConversionResult::kConverted);
  EXPECT_TRUE(IsServed());
  DeleteRepository(context(), u"made");
  EXPECT_FALSE(IsServed());
  EXPECT_EQ(ConvertToOrmu(context(), u"plain"), ConversionResult::kConverted);
  EXPECT_TRUE(IsServed());
}

TEST_F(ReplicationTest, WhatTheServiceDoesIsNotDoneWithoutIt) {
  CreateOrmuMaster(context(), u"master");
  const std::string seed = home_.folder() + "/seed";
  EXPECT_THROW(ExportReplicationSeed(context(), u"master", u"seed", nullptr), SvnException);
  ExportReplicationSeed(context(), u"master", Path(seed), nullptr);
  EXPECT_EQ(GetRepositoryType(context(), Path(seed)), RepositoryType::OrmuSlave);
  EXPECT_FALSE(HasSettings(seed, "WinAuthz"));
  fs::copy(seed, Folder("slave"), fs::copy_options::recursive);

  const MasterAddress other{u"other", u"master"};
  ExpectServiceIsMissed([&] { ImportRepository(context(), u"new", Path(seed), nullptr, nullptr); });
  ExpectServiceIsMissed([&] { CreateOrmuSlave(context(), u"new", other); });
  ExpectServiceIsMissed([&] { DowngradeMaster(context(), u"master", other); });
  ExpectServiceIsMissed([&] { PromoteSlave(context(), u"slave"); });
  ExpectServiceIsMissed([&] { SyncSlave(context(), u"slave"); });
  ExpectServiceIsMissed([&] { DeleteRepository(context(), u"slave"); });
  EXPECT_THROW(CreateOrmuSlave(context(), u"master", other), SvnException);
  EXPECT_THROW(CreateOrmuSlave(context(), u"new", {u"a b", u"master"}), SvnException);
  EXPECT_THROW(CreateOrmuSlave(context(), u"new", {u"other", u"a\nrole = master"}), WMIException);
  EXPECT_EQ(ListRepositoryNames(context()).size(), 2u);
  EXPECT_EQ(RoleOf(context(), u"master"), ReplicationRole::kMaster);

  EXPECT_EQ(UpgradeRepository(context(), u"slave"), UpgradeResult::kDone);
  EXPECT_NE(
      testing::RunProcess({"svn", "mkdir", "-qm1", "file://" + Folder("slave") + "/a"}).exit_code,
      0);
  SetSuspended(context(), u"slave", true);
  EXPECT_EQ(ReadRepository(context(), u"slave").suspended, 1u);
  EXPECT_EQ(ConvertToFsfs(context(), u"slave"), ConversionResult::kConverted);
  EXPECT_THROW(SetSuspended(context(), u"slave", false), SimpleException);
  EXPECT_EQ(testing::RunProcess({"svn", "mkdir", "-qm1", "file://" + Folder("slave") + "/a"}).all(),
            "");
}

}  // namespace
}  // namespace kelvarion::repos
