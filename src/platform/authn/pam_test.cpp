#include "platform/authn/pam.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "tests/support/pam_matrix.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

class PamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (testing::PamMatrix().empty()) GTEST_SKIP() << "libpam-wrapper is not installed.";
    std::ofstream(folder_.native() + "/passwords") << "alice:sesame 1:kelvarion\n";
  }
  // The lines of the service's file; "@" stands for the module that knows alice.
  void WriteService(std::string lines) const {
    const std::string matrix = testing::PamMatrix() + " passdb=" + folder_.native() + "/passwords";
    for (std::size_t at; (at = lines.find('@')) != lines.npos;) lines.replace(at, 1, matrix);
    std::ofstream(folder_.native() + "/kelvarion") << lines;
  }
  PamAnswer Ask(const std::string& name, const std::string& password) const {
    return AskPam(FindPamService(folder_.native()), name, password, "192.0.2.1");
  }

  testing::TemporaryFolder folder_;
};

TEST_F(PamTest, OnlyTheRightPasswordOfAnAccountInGoodStandingIsAccepted) {
  const std::string good = "auth required @\naccount required @\n";
  const struct {
    const char* what;
    std::string service;
    const char* name;
    const char* password;
    PamAnswer::Kind kind;
  } rows[] = {
      {"right", good, "alice", "sesame 1", PamAnswer::kAccepted},
      {"wrong", good, "alice", "sesame 2", PamAnswer::kRefused},
      {"unknown", good, "bob", "sesame 1", PamAnswer::kRefused},
      {"account refused", "auth required @\naccount required pam_deny.so\n", "alice", "sesame 1",
       PamAnswer::kRefused},
      {"no word on the account", "auth required @\n", "alice", "sesame 1", PamAnswer::kRefused},
      {"no module", "auth required pam_no_such.so\naccount required pam_permit.so\n", "alice",
       "sesame 1", PamAnswer::kFailed},
  };
  for (const auto& row : rows) {
    WriteService(row.service);
    const PamAnswer answer = Ask(row.name, row.password);
    EXPECT_EQ(answer.kind, row.kind) << row.what << ": " << answer.text;
    EXPECT_FALSE(answer.text.empty()) << row.what;
  }
}

// PAM's own wait is a matter of seconds.
TEST_F(PamTest, AWrongPasswordIsAnsweredWithoutAWait) {
  WriteService(
      "auth optional pam_faildelay.so delay=5000000\nauth required @\naccount required @\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask("alice", "wrong").kind, PamAnswer::kRefused);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

}  // namespace
}  // namespace kelvarion::platform
