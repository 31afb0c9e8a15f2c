// The everyday commands for repositories, their hooks and what is in them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;
using Words = std::vector<std::string>;

struct Step {
  Words words;
  int exit_code;
  const char* output;  // A part of all that is printed.
};

TEST(RepositoryCommandsFlowTest, DoWhatTheirWordsSay) {
  const RealServer server;
  const std::string script = server.folder + "/check.sh";
  WriteText(script, "#!/bin/sh\nexit 1\n");
  const std::string dump = server.folder + "/project.dump";
  const Step steps[] = {
      {{"repository", "list"}, 0, "No repositories."},
      {{"repository", "create", "demo"}, 0, "/svn/demo/"},
      {{"repository", "create", "Demo"}, 1, "already exists"},
      {{"item", "create", "demo", "/trunk/b", "/trunk", "-m", "Begin"}, 0, "/trunk/b"},
      {{"item", "create", "demo", "/x/"}, 1, "non-canonical path"},
      {{"item", "list", "demo"}, 0, "demo       /trunk/\n"},
      {{"item", "list", "demo", "/none"}, 1, "Cannot find path '/none' in repository 'demo'"},
      {{"item", "remove", "demo", "/trunk/b"}, 2, "--yes"},
      {{"item", "remove", "demo", "/trunk/b", "--yes"}, 0, ""},
      {{"hook", "list", "demo"}, 0, "No hooks."},
      {{"hook", "set", "demo", "pre-commit", script}, 0, "/demo/hooks/pre-commit.cmd"},
      {{"hook", "set", "demo", "PreCommit", script}, 1, "--force overwrites it"},
      {{"hook", "set", "demo", "PreCommit", script, "--force"}, 0, ""},
      {{"hook", "set", "demo", "commit", script}, 2, "There is no hook 'commit'"},
      {{"repository", "bogus"}, 2, "There is no command or option 'bogus'"},
      {{"hook", "show", "demo", "pre-commit"}, 0, "#!/bin/sh\nexit 1\n"},
      {{"hook", "remove", "demo", "pre-commit", "--yes"}, 0, ""},
      {{"hook", "show", "demo", "pre-commit"}, 1, "no such hook"},
      {{"repository", "import", dump, "--json"}, 0, "\"Name\": \"project\""},
      {{"repository", "import", dump, "copy"}, 0, "copy: 2 revisions"},
      {{"repository", "import", "/none"}, 1, "The path '/none' does not exist."},
      {{"repository", "rename", "copy", "project"}, 1, "project"},
      {{"repository", "rename", "copy", "later"}, 0, ""},
      {{"repository", "verify", "later"}, 0, "later: No errors found"},
      {{"repository", "measure", "later"}, 0, "later 2 "},
      {{"repository", "upgrade", "later"}, 0, ""},
      {{"repository", "show", "LATER"}, 0, "Fsfs"},
      {{"repository", "backup", "later", server.folder}, 0, "/later\n"},
      {{"repository", "backup", "later", server.folder}, 1, "later"},
      {{"repository", "restore", server.folder + "/later/"}, 1, "later"},
      {{"repository", "restore", server.folder + "/later", "again"}, 0, ""},
      {{"repository", "measure", "again"}, 0, "again 2 "},
      {{"repository", "remove", "later"}, 2, "--yes"},
      {{"repository", "remove", "later", "--yes"}, 0, ""},
      {{"repository", "list"}, 0, "again   2         8"},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(::testing::PrintToString(step.words));
    if (step.words[1] == "import" && !std::filesystem::exists(dump))
      RunProcess({"sh", "-c", "svnadmin dump -q '" + server.root + "/demo' >'" + dump + "'"});
    const ProcessResult result = server.Text(step.words);
    EXPECT_EQ(result.exit_code, step.exit_code) << result.all();
    EXPECT_THAT(result.all(), HasSubstr(step.output));
  }
  std::filesystem::resize_file(server.root + "/demo/db/revs/0/1", 10);
  const ProcessResult corrupt = server.Text({"repository", "verify", "demo"});
  EXPECT_EQ(corrupt.exit_code, 1) << corrupt.all();
}

}  // namespace
}  // namespace kelvarion::testing
