// Hook scripts as clients meet them: over HTTP, run by the server's workers.
#include <gtest/gtest.h>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

TEST(HooksFlowTest, AHookRefusesACommitAndItsMessageReachesTheClient) {
  // Whoever sets the hook, the server's workers must be able to run it.
  RealServer server({{"sh", "-c", "umask 077; exec \"$@\"", "sh"}, {}, {}});
  server.CreateUser("alice", "secret");
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"alice", 2}})).ok());
  server.Start();
  const auto commit = [&](const std::string& folder) {
    return server.Svn("alice", "secret", {"mkdir", "-m", "New", server.Url("demo/" + folder)})
        .all();
  };
  ASSERT_TRUE(server
                  .Call("Kelvarion_Repository.Name=\"demo\"", "SetHook",
                        {"Kind=4",
                         "Hook=#!/bin/sh\r\nsvnlook changed -t \"$2\" \"$1\" | grep -q bad || "
                         "exit 0\r\necho 'Folders must not be bad.' >&2\r\nexit 1\r\n"})
                  .ok());
  const std::string refused = commit("bad");
  EXPECT_NE(refused.find("Folders must not be bad."), std::string::npos) << refused;
  const std::string taken = commit("good");
  EXPECT_NE(taken.find("Committed revision 1"), std::string::npos) << taken;
}

}  // namespace
}  // namespace kelvarion::testing
