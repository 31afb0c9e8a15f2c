// Every change, hit at each of its calls that touch the home: the call fails, or the program is
// killed there. Afterwards the old or the new state stands whole, success was only said of the new
// one, and once the change was made again nothing is left of what was hit.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
// Relative paths of files and their texts; folders end with "/".
using Snapshot = std::map<std::string, std::string>;

constexpr const char* kService = "Kelvarion_Service.Name=\"KelvarionServer\"";

struct Change {
  const char* name;
  Words command;
  Words undo;
  // The changed state may also be reached through states between, of several settings say.
  bool in_steps = false;
};

void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }

const std::vector<Change>& Changes() {
  static const std::string demo = "Kelvarion_Repository.Name=\"demo\"";
  static const auto rules = [](int level) {
    return RealServer::SetRules("demo", "/trunk", {{"alice", level}});
  };
  static const auto hook = [](const std::string& script) -> Words {
    return {"call", demo, "SetHook", "Kind:=4", "Hook=#!/bin/sh\n" + script + "\n"};
  };
  static const auto prefix = [](const std::string& text) -> Words {
    return {"call", kService, "SetRepositoriesURLPrefix", "RepositoriesURLPrefix=" + text};
  };
  static const auto members = [](const std::string& json) -> Words {
    return {"call", "Kelvarion_Group.Name=\"team\"", "SetMembers", "Members:=" + json};
  };
  static const auto delegation = [](const std::string& enabled) -> Words {
    return {"call", demo, "SetDelegationSettings", "Enabled:=" + enabled, "Managers:=[]"};
  };
  static const std::vector<Change> changes = {
      {"setting",
       {"settings", "set", "ServerName", "new.example"},
       {"settings", "set", "ServerName", ""},
       true},
      {"prefix", prefix("/new"), prefix("/svn"), true},
      {"user",
       {"call", "Kelvarion_User", "Create", "Name=new", "Password=x"},
       {"user", "remove", "--yes", "new"},
       true},
      {"group", {"group", "create", "new", "alice"}, {"group", "remove", "--yes", "new"}, true},
      {"members", members(R"(["Kelvarion_User.Name=\"alice\""])"), members("[]")},
      {"rules", rules(2), rules(1)},
      {"delegation", delegation("true"), delegation("false")},
      {"hook", hook("exit 1"), hook("exit 0")},
      {"creation", {"repository", "create", "new"}, {"repository", "remove", "--yes", "new"}},
      {"deletion", {"repository", "remove", "--yes", "empty"}, {"repository", "create", "empty"}},
      {"rename",
       {"repository", "rename", "demo", "other"},
       {"repository", "rename", "other", "demo"}},
      {"import",
       {"repository", "import", KELVARION_SOURCE_DIR "/tests/faults/import.dump", "new"},
       {"repository", "remove", "--yes", "new"}},
  };
  return changes;
}

class FailingCallsTest : public ::testing::TestWithParam<Change> {
 protected:
  FailingCallsTest() {
    for (const char* name : {"Name=demo", "Name=empty"})
      EXPECT_TRUE(server_.Call("Kelvarion_Repository", "Create", {name}).ok());
    server_.CreateUser("alice", "x");
    server_.CreateGroup("team", {});
  }

  // What counts as state. Contents of revisions are not looked at, and of what differs in each run
  // only that it is there.
  Snapshot Take() const {
    Snapshot files;
    const fs::path home = server_.home;
    for (fs::recursive_directory_iterator entry(home), end; entry != end; ++entry) {
      const std::string path = entry->path().lexically_relative(home);
      if (path.starts_with("registry.db") || path.starts_with("groups.db") ||
          path.starts_with("events"))
        continue;
      if (entry->is_directory()) {
        files[path + "/"];
        if (path.ends_with("/db") || path.ends_with("/locks")) entry.disable_recursion_pending();
      } else {
        files[path] =
            path.ends_with("/htpasswd") ? Names("Kelvarion_User") : ReadText(entry->path());
      }
    }
    files["settings"] = server_.Ctl({"settings", "list"}).process.out;
    return files;
  }

  std::string Names(const std::string& class_name) const {
    Json names = server_.Ctl({"enumerate", class_name}).names();
    std::sort(names.begin(), names.end());
    return names.dump();
  }

  // Without what a program that was hit may leave for the next one to remove.
  static Snapshot State(Snapshot files) {
    std::erase_if(files, [](const auto& file) {
      return file.first.ends_with(".tmp") || file.first.find("/.kelvarion/") != std::string::npos ||
             file.first.ends_with(".lck");
    });
    return files;
  }

  // Nothing when the change has fewer calls.
  std::optional<ProcessResult> RunHit(const Words& command, const std::string& kind, int at) {
    const std::string report = server_.folder + "/report";
    Words words = {"env",
                   "LD_PRELOAD=" KELVARION_BUILD_DIR "/lib/tests/failing_call.so",
                   "FAULT_FOLDER=" + server_.folder,
                   "FAULT_AT=" + std::to_string(at),
                   "FAULT_KIND=" + kind,
                   "FAULT_REPORT=" + report};
    for (const std::string& word : server_.Command(command)) words.push_back(word);
    ProcessResult result = RunProcess(words);
    if (!fs::exists(report)) return std::nullopt;
    call_ = ReadText(report);
    fs::remove(report);
    return result;
  }

  static std::string Differences(const Snapshot& left, const Snapshot& right) {
    std::string text;
    for (const auto& [path, content] : left)
      if (const auto found = right.find(path); found == right.end() || found->second != content)
        text += "  " + path + (found == right.end() ? " only before" : " differs") + "\n";
    for (const auto& [path, content] : right)
      if (!left.contains(path)) text += "  " + path + " only after\n";
    return text;
  }

  void HitEverywhere(const std::string& kind);

  RealServer server_;
  std::string call_;
};

// All calls take minutes; whoever has them gives KELVARION_EVERY_CALL.
int Step() { return std::getenv("KELVARION_EVERY_CALL") ? 1 : 7; }

void FailingCallsTest::HitEverywhere(const std::string& kind) {
  const Change& change = GetParam();
  // Everything the first change makes once and for all.
  const auto run = [&](const Words& command) {
    const Reply reply = server_.Ctl(command);
    EXPECT_TRUE(reply.ok()) << reply.process.all();
  };
  run(change.command);
  run(change.undo);
  const Snapshot before = Take();
  run(change.command);
  const Snapshot after = Take();
  run(change.undo);
  ASSERT_EQ(Differences(before, Take()), "");
  ASSERT_NE(Differences(before, after), "");
  for (int at = 1;; at += Step()) {
    const auto hit = RunHit(change.command, kind, at);
    if (!hit) break;
    SCOPED_TRACE(kind + " at call " + std::to_string(at) + ": " + call_ + hit->all());
    const Snapshot seen = Take();
    const bool is_old = State(seen) == State(before);
    const bool is_new = State(seen) == State(after);
    if (!change.in_steps) {
      EXPECT_TRUE(is_old || is_new)
          << "between old and now:\n"
          << Differences(State(before), State(seen)) << "between now and new:\n"
          << Differences(State(seen), State(after));
    }
    if (hit->exit_code == 0) {
      EXPECT_TRUE(is_new) << "success was said:\n" << Differences(State(seen), State(after));
    } else if (kind == "error") {
      EXPECT_NE(hit->all(), "");
    }
    if (!is_new) server_.Ctl(change.command);
    EXPECT_EQ(Differences(State(after), State(Take())), "") << "made again";
    run(change.undo);
    ASSERT_EQ(Differences(before, Take()), "") << "undone";
  }
}

TEST_P(FailingCallsTest, AFailureLeavesTheOldOrTheNewState) { HitEverywhere("error"); }
TEST_P(FailingCallsTest, AKilledProgramLeavesTheOldOrTheNewState) { HitEverywhere("kill"); }

INSTANTIATE_TEST_SUITE_P(All, FailingCallsTest, ::testing::ValuesIn(Changes()),
                         [](const auto& change) { return std::string(change.param.name); });

}  // namespace
}  // namespace kelvarion::testing
