#include "repos/hooks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "errors/exception.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "svn/error.h"
#include "svn/repository.h"

namespace kelvarion::repos {
namespace {

using ::testing::HasSubstr;
using testing::ProcessResult;
using testing::ReadFile;
using testing::RunProcess;
using testing::WriteFile;
namespace fs = std::filesystem;

class HooksTest : public RepositoriesTest {
 protected:
  HooksTest() { CreateRepository(context(), u"demo"); }

  std::string file(const std::string& name) { return home_.root() + "/demo/hooks/" + name; }
  bool Write(HookKind kind, const char16_t* content,
             OverwriteHook overwrite = OverwriteHook::kYes) {
    return WriteHook(context(), u"demo", kind, content, overwrite).has_value();
  }
  // As Subversion runs it: without any environment.
  ProcessResult Run(const std::string& hook, const std::string& input = "") {
    return RunProcess(
        {"sh", "-c", "printf '" + input + "' | env -i \"$0\" /repo 'two words' ''", file(hook)});
  }
};

TEST_F(HooksTest, ScriptsAreFoundByPrecedenceAndKeepTheirNames) {
  WriteFile(file("pre-commit.bat"), "bat");
  WriteFile(file("pre-commit.cmd"), "cmd");
  WriteFile(file("post-commit.wsf"), "wsf");
  EXPECT_EQ(ReadHook(context(), u"demo", HookKind::PreCommit)->content, u"cmd");
  EXPECT_FALSE(Write(HookKind::PreCommit, u"new", OverwriteHook::kNo));
  EXPECT_EQ(ReadFile(file("pre-commit.cmd")), "cmd");
  EXPECT_TRUE(Write(HookKind::PreCommit, u"new"));
  EXPECT_EQ(ReadFile(file("pre-commit.cmd")), "new");
  EXPECT_EQ(ReadFile(file("pre-commit.bat")), "bat");
  const auto written =
      WriteHook(context(), u"demo", HookKind::PostCommit, u"\u00e9\r\n", OverwriteHook::kYes);
  EXPECT_TRUE(written->path.ends_with(u"/demo/hooks/post-commit.wsf"));
  EXPECT_EQ(ReadFile(file("post-commit.wsf")), "\u00e9\r\n");
  EXPECT_FALSE(fs::exists(file("post-commit.cmd")));

  // The script that no longer hides the other one is gone; the launcher stays for that one.
  DeleteHook(context(), u"demo", HookKind::PreCommit);
  EXPECT_EQ(ReadHook(context(), u"demo", HookKind::PreCommit)->content, u"bat");
  EXPECT_TRUE(fs::exists(file("pre-commit")));
  DeleteHook(context(), u"demo", HookKind::PreCommit);
  DeleteHook(context(), u"demo", HookKind::PreCommit);
  EXPECT_FALSE(fs::exists(file("pre-commit")));

  Write(HookKind::StartCommit, u"");
  std::vector<std::u16string> listed;
  for (const HookRecord& hook : ListHooks(context(), u"demo"))
    listed.push_back(HookKindName(hook.kind));
  EXPECT_THAT(listed, ::testing::ElementsAre(u"PostCommit", u"StartCommit"));
}

TEST_F(HooksTest, WhatIsNoRepositoryHasNoHooksButCannotBeWritten) {
  fs::create_directories(home_.root() + "/folder");
  EXPECT_TRUE(ListHooks(context(), u"folder").empty());
  EXPECT_FALSE(TryReadHook(context(), u"folder", HookKind::PreLock));
  EXPECT_THROW(ReadHook(context(), u"folder", HookKind::PreLock), SvnException);
  EXPECT_THROW(WriteHook(context(), u"folder", HookKind::PreLock, u"", OverwriteHook::kYes),
               SvnException);
}

TEST_F(HooksTest, ALauncherRunsWhatItCanAndSaysWhatItCannot) {
  const struct {
    const char* what;
    const char16_t* script;
    int exit_code;
    const char* output;
  } rows[] = {
      {"all of it passes through",
       u"#!/bin/sh\necho \"$# $1 $2 [$3]\"\ncat\necho bad >&2\nexit 7\n", 7,
       "3 /repo two words []\ninbad\n"},
      {"line ends of another system", u"#! /bin/sh  \r\nif true; then\r\n  cat\r\nfi\r\nexit 3\r\n",
       3, "in"},
      {"an argument of the interpreter", u"#!/bin/sh -e\nfalse\nexit 0\n", 1, ""},
      {"a path found by env", u"#!/usr/bin/env sh\ncat", 0, "in"},
      {"a batch file", u"@echo off\r\nexit 0\r\n", 1, "pre-commit.cmd cannot run here"},
      {"an unknown interpreter", u"#!C:\\perl.exe\r\n", 1, "there is no program C:\\perl.exe"},
      {"an empty script", u"", 1, "pre-commit.cmd cannot run here"},
      {"no interpreter", u"#! \n", 1, "names no program"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_TRUE(Write(HookKind::PreCommit, row.script));
    const ProcessResult result = Run("pre-commit", "in");
    EXPECT_EQ(result.exit_code, row.exit_code);
    EXPECT_THAT(result.all(), HasSubstr(row.output));
  }
  // A launcher whose script was taken away by hand does what no hook does.
  for (const auto& [kind, name, exit_code] :
       {std::tuple{HookKind::PreCommit, "pre-commit", 0},
        std::tuple{HookKind::PreRevPropChange, "pre-revprop-change", 1}}) {
    Write(kind, u"#!/bin/sh\n");
    fs::remove(file(name + std::string(".cmd")));
    EXPECT_EQ(Run(name).exit_code, exit_code);
  }
}

TEST_F(HooksTest, ProgramsOfTheAdministratorAreNeverTouched) {
  WriteFile(file("pre-lock"), "#!/bin/sh\nexit 1\n");
  EXPECT_THROW(Write(HookKind::PreLock, u"#!/bin/sh\n"), SimpleException);
  EXPECT_FALSE(fs::exists(file("pre-lock.cmd")));
  DeleteHook(context(), u"demo", HookKind::PreLock);
  EXPECT_EQ(ReadFile(file("pre-lock")), "#!/bin/sh\nexit 1\n");
}

}  // namespace
}  // namespace kelvarion::repos
