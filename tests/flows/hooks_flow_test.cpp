// Hook scripts as clients meet them: over HTTP, run by the server's workers.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

Reply SetHook(const RealServer& server, int kind, const std::string& script) {
  return server.Call("Kelvarion_Repository.Name=\"demo\"", "SetHook",
                     {"Kind=" + std::to_string(kind), "Hook=" + script});
}

TEST(HooksFlowTest, AHookRefusesACommitAndItsMessageReachesTheClient) {
  // Whoever sets the hook, the server's workers must be able to run it.
  RealServer server({{"sh", "-c", "umask 077; exec \"$@\"", "sh"}, {}, {}});
  server.CreateUser("alice", "secret");
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"alice", 2}})).ok());
  server.Start();
  const auto commit = [&](const std::string& folder) {
    return server.Svn("alice", "secret", {"mkdir", "-m", "New", server.Url("demo/" + folder)});
  };

  constexpr int kPostCommit = 0;
  constexpr int kPreCommit = 4;
  const std::string log = server.folder + "/log";
  WriteText(log, "");
  std::filesystem::permissions(log, std::filesystem::perms(0666));
  ASSERT_TRUE(SetHook(server, kPostCommit, "#!/bin/sh\r\necho \"$2\" >>" + log + "\r\n").ok());
  ASSERT_TRUE(SetHook(server, kPreCommit,
                      "#!/bin/sh\nsvnlook changed -t \"$2\" \"$1\" | grep -q bad || exit 0\n"
                      "echo 'Folders must not be bad.' >&2\nexit 1\n")
                  .ok());

  const ProcessResult refused = commit("bad");
  EXPECT_NE(refused.exit_code, 0);
  EXPECT_NE(refused.all().find("Folders must not be bad."), std::string::npos) << refused.all();
  const ProcessResult taken = commit("good");
  EXPECT_EQ(taken.exit_code, 0) << taken.all();
  EXPECT_TRUE(Eventually([&] { return ReadText(log) == "1\n"; })) << ReadText(log);

  ASSERT_TRUE(SetHook(server, kPreCommit, "@echo off\r\nexit 0\r\n").ok());
  const ProcessResult unrunnable = commit("other");
  EXPECT_NE(unrunnable.all().find("pre-commit.cmd cannot run here"), std::string::npos)
      << unrunnable.all();
  ASSERT_TRUE(server.Call("Kelvarion_Repository.Name=\"demo\"", "DeleteHook", {"Kind=4"}).ok());
  EXPECT_EQ(commit("bad").exit_code, 0);
  EXPECT_EQ(SetHook(server, 9, "").status(), 0x8004102F);
}

}  // namespace
}  // namespace kelvarion::testing
