#include "ormu/trust.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/pool.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::ormu {
namespace {

int CodeOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const SvnException& exception) {
    return exception.code();
  }
  return 0;
}

int ModeOf(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : -1;
}

TEST(TrustTest, ServersHaveOneNameAndOthersAreNone) {
  svn::Initialize();
  const std::pair<const char*, const char*> rows[] = {
      {"Master.Example", "master.example"}, {"HOST:8443", "host:8443"},
      {"[FE80::1]:80", "[fe80::1]:80"},     {"[::1]", "[::1]"},
      {"10.0.0.1:1", "10.0.0.1:1"},
  };
  for (const auto& [text, name] : rows) EXPECT_EQ(CanonicalServer(text), name);
  for (const char* text : {"", ":80", "host:", "host:0", "host:080", "host:65536", "host:8x", "a/b",
                           "..", ".hidden", "-h", "a b", "h\xC3\xBC", "::1", "[::1", "[a]b", "u@h"})
    EXPECT_NE(CodeOf([&] { CanonicalServer(text); }), 0) << text;
}

TEST(TrustTest, WhatIsKnownIsKeptPrivatelyByNameAndReplacedWhole) {
  svn::Initialize();
  const testing::TemporaryFolder folder;
  const std::string& home = folder.native();
  EXPECT_TRUE(ListTrustedMasters(home).empty());
  EXPECT_EQ(CodeOf([&] { RequireMaster(home, "main:8443"); }), ORMU_ERR_UNTRUSTED_MASTER);

  TrustMaster(home, "Main:8443", {"https://old", "alice", "\"secret\"\xC3\xA4", "ab12"});
  TrustMaster(home, "main:8443", {ReplicationUrl("https", "MAIN:8443"), "bob", "", ""});
  TrustMaster(home, "files", {"file:///srv", "", "", ""});
  EXPECT_EQ(ListTrustedMasters(home), (std::vector<std::string>{"files", "main:8443"}));
  const MasterAccess found = RequireMaster(home, "MAIN:8443");
  EXPECT_EQ(found.url, "https://main:8443/.kelvarion/replication");
  EXPECT_EQ(found.account + found.password + found.certificate_sha256, "bob");
  EXPECT_EQ(ModeOf(home + "/replication/masters/main:8443.json"), 0600);
  EXPECT_EQ(ModeOf(home + "/replication/masters"), 0700);

  EXPECT_TRUE(ForgetMaster(home, "Main:8443"));
  EXPECT_FALSE(ForgetMaster(home, "main:8443"));
  EXPECT_FALSE(FindMaster(home, "main:8443"));
}

}  // namespace
}  // namespace kelvarion::ormu
