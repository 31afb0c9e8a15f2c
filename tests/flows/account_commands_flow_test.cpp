// Users, groups and rules by the short commands, as people and scripts type them.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using Words = std::vector<std::string>;

// Runs the words at a terminal, answers each prompt, and returns all that the terminal showed.
std::string AtTerminal(const Words& words, const Words& answers, int& exit_code) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  std::string shown;
  std::size_t answered = 0;
  char buffer[512];
  for (ssize_t count; (count = read(terminal, buffer, sizeof buffer)) > 0;) {
    shown.append(buffer, static_cast<std::size_t>(count));
    if (!shown.ends_with(": ") || answered >= answers.size()) continue;
    const std::string& answer = answers[answered++];
    EXPECT_EQ(write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
  }
  int status = 0;
  waitpid(child, &status, 0);
  close(terminal);
  exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return shown;
}

class AccountCommandsFlowTest : public ::testing::Test {
 protected:
  // With the password as a script hands it over.
  ProcessResult Piped(const std::string& password, const Words& words) const {
    Words all{"sh", "-c", "printf '%s\\n' \"$0\" | \"$@\"", password};
    const Words command = server_.TextCommand(words);
    all.insert(all.end(), command.begin(), command.end());
    return RunProcess(all);
  }
  bool LogsIn(const std::string& user, const std::string& password) const {
    return server_.HttpStatus(user, password, server_.base() + "/svn/demo/") == 200;
  }

  RealServer server_;
};

TEST_F(AccountCommandsFlowTest, PasswordsComeFromTheTerminalUnseenOrFromALine) {
  ASSERT_TRUE(server_.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  server_.Start();
  EXPECT_EQ(Piped("first", {"user", "create", "alice"}).exit_code, 0);
  ASSERT_TRUE(server_.Ctl({"access", "add", "demo", "/", "alice", "read"}).ok());
  EXPECT_TRUE(LogsIn("alice", "first"));
  const struct {
    Words answers;
    int exit_code;
    const char* valid_after;
  } rows[] = {
      {{"second\n", "second\n"}, 0, "second"},
      {{"third\n", "other\n"}, 2, "second"},
      {{"third\x03"}, 2, "second"},  // Ctrl-C
      {{"\x04"}, 2, "second"},       // Ctrl-D
  };
  for (const auto& row : rows) {
    int exit_code = -1;
    const std::string shown =
        AtTerminal(server_.TextCommand({"user", "password", "alice"}), row.answers, exit_code);
    EXPECT_EQ(exit_code, row.exit_code) << shown;
    EXPECT_EQ(shown.find("second"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("third"), std::string::npos) << shown;
    EXPECT_TRUE(LogsIn("alice", row.valid_after)) << shown;
  }
  EXPECT_EQ(server_.Ctl({"user", "password", "nobody"}).status(), 0x80041002U);
  EXPECT_EQ(server_.Ctl({"user", "create", "bob"}).process.exit_code, 2) << "there is no input";
  EXPECT_EQ(server_.Ctl({"user", "list"}).names(), Words{"alice"});
  ASSERT_TRUE(server_.Ctl({"user", "remove", "alice", "--yes"}).ok());
  EXPECT_FALSE(LogsIn("alice", "second"));
}

TEST_F(AccountCommandsFlowTest, MembersAreAddedAndRemovedOneByOne) {
  const struct {
    Words words;
    std::uint32_t status;
    Words members;  // Of the group `devs` afterwards.
  } steps[] = {
      {{"group", "create", "devs", "alice", "@testers"}, 0, {"alice", "testers"}},
      {{"group", "create", "testers"}, 0, {"alice", "testers"}},
      {{"group", "members", "add", "devs", "bob", "alice"}, 0, {"alice", "testers", "bob"}},
      {{"group", "members", "remove", "devs", "@testers", "carol"}, 0, {"alice", "bob"}},
      {{"group", "members", "add", "devs", "@devs"}, 0x80041047, {"alice", "bob"}},
      {{"group", "members", "add", "devs", "*"}, 0x8004102F, {"alice", "bob"}},
      {{"group", "members", "add", "none", "bob"}, 0x80041002, {"alice", "bob"}},
      {{"group", "members", "list", "none"}, 0x80041002, {"alice", "bob"}},
      {{"group", "create", "devs"}, 0x800700B7, {"alice", "bob"}},
      {{"group", "remove", "testers"}, 0x80041001, {"alice", "bob"}},
      {{"group", "remove", "testers", "--yes"}, 0, {"alice", "bob"}},
  };
  for (const auto& step : steps) {
    const Reply reply = server_.Ctl(step.words);
    EXPECT_EQ(reply.status(), step.status) << ::testing::PrintToString(step.words);
    EXPECT_EQ(server_.Ctl({"group", "members", "list", "devs"}).names(), step.members)
        << ::testing::PrintToString(step.words);
  }
  EXPECT_EQ(server_.Ctl({"group", "list"}).names(), Words{"devs"});
  EXPECT_EQ(server_.Ctl({"enumerate", "Kelvarion_GroupMember"}).document.at("objects").size(), 2U);
  EXPECT_TRUE(server_.Ctl({"get", "Kelvarion_GroupMember.Group=\"devs\",Member=\"bob\""}).ok());
}

TEST_F(AccountCommandsFlowTest, RulesAreAddedSetAndRemovedOneByOne) {
  for (const Words& words : {Words{"repository", "create", "demo"}, {"group", "create", "devs"}})
    ASSERT_TRUE(server_.Ctl(words).ok());
  const auto access = [&](Words words) {
    words.insert(words.begin(), "access");
    return server_.Ctl(words);
  };
  const auto rules = [&](const Words& where) {
    std::string shown;
    const Reply reply = access(where);
    for (const Json& rule : reply.document["objects"])
      shown += rule["Path"].get<std::string>() + " " + rule["Account"].get<std::string>() + " " +
               rule["Access"].dump() + ";";
    return shown;
  };
  const struct {
    Words words;
    std::uint32_t status;
    const char* rules;  // All there are afterwards.
  } steps[] = {
      {{"add", "demo", "/", "@devs", "write"}, 0, "/ @devs 2;"},
      {{"add", "demo", "/a", "bob", "r"}, 0, "/ @devs 2;/a bob 1;"},
      {{"add", "demo", "/a", "bob", "none"}, 0x80041019, "/ @devs 2;/a bob 1;"},
      {{"set", "demo", "/a", "bob", "none"}, 0, "/ @devs 2;/a bob 0;"},
      {{"add", "demo", "/", "bob", "1"}, 0, "/ @devs 2;/ bob 1;/a bob 0;"},
      {{"remove", "demo", "/", "@devs"}, 0, "/ bob 1;/a bob 0;"},
      {{"add", "demo", "/", "bob"}, 2, "/ bob 1;/a bob 0;"},
      {{"add", "demo", "/", "bob", "rwx"}, 2, "/ bob 1;/a bob 0;"},
      {{"add", "--global", "demo", "/", "bob", "read"}, 2, "/ bob 1;/a bob 0;"},
      {{"remove", "--global", "bob", "extra"}, 2, "/ bob 1;/a bob 0;"},
  };
  for (const auto& step : steps) {
    const Reply reply = access(step.words);
    EXPECT_EQ(step.status == 2 ? reply.process.exit_code : reply.status(), step.status)
        << ::testing::PrintToString(step.words);
    EXPECT_EQ(rules({"list"}), step.rules) << ::testing::PrintToString(step.words);
  }
  EXPECT_EQ(rules({"list", "demo", "/a/x"}), "/a bob 0;");
  // The same words while the server uses the accounts of the machine.
  ASSERT_TRUE(server_.Ctl({"settings", "set", "UseWindowsAuth", "1"}).ok());
  EXPECT_TRUE(access({"add", "--global", "root", "read"}).ok());
  EXPECT_TRUE(access({"add", "demo", "/", "S-1-5-18", "2"}).ok());
  EXPECT_EQ(rules({"list", "--global"}), "/ S-1-22-1-0 1;");
  EXPECT_EQ(rules({"list", "demo", "/"}), "/ S-1-5-18 2;/ S-1-22-1-0 1;");
  ASSERT_TRUE(access({"remove", "--global", "root"}).ok());
  EXPECT_EQ(rules({"list"}), "/ S-1-5-18 2;");
}

}  // namespace
}  // namespace kelvarion::testing
