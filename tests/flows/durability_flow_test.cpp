// What is on disk after programs were killed in the middle of their work or worked at the same
// time.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using Words = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr int kMoments = 10;
constexpr int kWriters = 8;

class DurabilityFlowTest : public ::testing::Test {
 protected:
  // A change of which nothing but its state before or its state after may ever be seen.
  struct Change {
    const char* what;
    std::function<Words(int)> command;  // Of the round.
    std::function<Json()> observe;
    std::function<Json(Json before, int round)> after;
  };

  DurabilityFlowTest() {
    EXPECT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
    server.CreateGroup("group", {"bob"});
  }

  Json Names(const std::string& class_name) const {
    std::vector<std::string> names = server.Ctl({"enumerate", class_name}).names();
    std::ranges::sort(names);
    return names;
  }

  Json Setting(const std::string& name) const {
    return server.Ctl({"settings", "get", name}).object()["Value"];
  }

  void ExpectWhole() const {
    const Reply repositories = server.Ctl({"enumerate", "Kelvarion_Repository"});
    for (const Json& each : repositories.document["objects"]) {
      EXPECT_EQ(each["Type"], 0) << each;
      EXPECT_TRUE(std::filesystem::exists(server.RulesFile(each["Name"]))) << each;
    }
    EXPECT_EQ(RunProcess({"svnauthz", "validate", server.RulesFile("demo")}).exit_code, 0);
    const std::string configuration = ReadText(server.File("server/conf/httpd.conf"));
    EXPECT_TRUE(configuration.ends_with("Include conf/httpd-custom.conf\r\n\r\n"));
    EXPECT_TRUE(server.Ctl({"enumerate", "Kelvarion_User"}).ok());
    EXPECT_TRUE(server.Ctl({"enumerate", "Kelvarion_Group"}).ok());
    EXPECT_TRUE(server.Service().is_object());
  }

  void RunToTheEnd(const Change& change, int round) const {
    const Reply reply = server.Ctl(change.command(round));
    EXPECT_TRUE(reply.ok()) << change.what << " after a kill: " << reply.message();
  }

  static void KillAfter(Clock::duration time, const Words& command) {
    ChildProcess child(command);
    std::this_thread::sleep_for(time);
    child.Kill();
    child.Wait();
  }

  // Kills the command at moments spread over the time that it takes undisturbed.
  void KillAtEveryMoment(const Change& change) const {
    const Clock::time_point start = Clock::now();
    RunToTheEnd(change, 0);
    const Clock::duration whole = Clock::now() - start;
    for (int round = 1; round <= kMoments; ++round) {
      SCOPED_TRACE(std::string(change.what) + ", killed at moment " + std::to_string(round));
      const Json before = change.observe();
      const Json after = change.after(before, round);
      KillAfter(whole * round / kMoments, server.Command(change.command(round)));
      ExpectWhole();
      const Json seen = change.observe();
      EXPECT_TRUE(seen == before || seen == after) << seen;
      if (seen != after) RunToTheEnd(change, round);
      EXPECT_EQ(change.observe(), after);
    }
  }

  // Runs all commands at once, one process each.
  void RunTogether(const std::vector<Words>& commands) const {
    std::vector<ChildProcess> children;
    for (const Words& words : commands) children.emplace_back(server.Command(words));
    for (ChildProcess& child : children) {
      const ProcessResult result = child.Wait();
      EXPECT_EQ(result.exit_code, 0) << result.all();
    }
  }

  RealServer server;
};

Json Sorted(std::vector<std::string> names) {
  std::ranges::sort(names);
  return names;
}

Json With(Json names, const std::string& name) {
  names.push_back(name);
  return Sorted(names);
}

Json Without(const Json& names, const std::string& name) {
  auto list = names.get<std::vector<std::string>>();
  std::erase(list, name);
  return list;
}

std::string Numbered(const char* stem, int round) { return stem + std::to_string(round); }

TEST_F(DurabilityFlowTest, AKilledChangeOfAccessIsTheOldOrTheNewOne) {
  KillAtEveryMoment(
      {"creating users",
       [](int round) -> Words {
         return {"call", "Kelvarion_User", "Create", Numbered("Name=user", round), "Password=x"};
       },
       [&] { return Names("Kelvarion_User"); },
       [](const Json& before, int round) { return With(before, Numbered("user", round)); }});
  KillAtEveryMoment(
      {"setting members",
       [](int round) -> Words {
         return {"call", "Kelvarion_Group.Name=\"group\"", "SetMembers",
                 "Members:=" + RealServer::MemberPaths({Numbered("member", round), "bob"})};
       },
       [&] {
         const Reply reply = server.Call("Kelvarion_Group.Name=\"group\"", "GetMembers");
         Json names = Json::array();
         for (const Json& member : reply.object()["Members"]) names.push_back(member["Name"]);
         return names;
       },
       [](const Json&, int round) {
         return Json{Numbered("member", round), "bob"};
       }});
  KillAtEveryMoment(
      {"setting rules",
       [](int round) {
         return RealServer::SetRules("demo", "/trunk", {{Numbered("user", round), 2}, {"bob", 1}});
       },
       [&] {
         const Reply reply =
             server.Call("Kelvarion_Repository.Name=\"demo\"", "GetSecurity", {"Path=/trunk"});
         Json names = Json::array();
         for (const Json& entry : reply.object()["Permissions"])
           names.push_back(entry["Account"]["Name"]);
         return names;
       },
       [](const Json&, int round) {
         return Json{"bob", Numbered("user", round)};
       }});
}

TEST_F(DurabilityFlowTest, AKilledChangeOfSettingsIsTheOldOrTheNewOne) {
  KillAtEveryMoment({"setting a number",
                     [](int round) -> Words {
                       return {"settings", "set", "HttpSvnCacheSize", Numbered("5", round)};
                     },
                     [&] { return Setting("HttpSvnCacheSize"); },
                     [](const Json&, int round) { return std::stoi(Numbered("5", round)); }});
  KillAtEveryMoment({"setting the prefix",
                     [](int round) -> Words {
                       return {"call", "Kelvarion_Service.Name=\"KelvarionServer\"",
                               "SetRepositoriesURLPrefix",
                               Numbered("RepositoriesURLPrefix=/at", round)};
                     },
                     [&] { return server.Service()["RepositoriesURLPrefix"]; },
                     [](const Json&, int round) { return Numbered("/at", round); }});
  // A kill may leave the settings ahead of the configuration; the next generation mends it.
  EXPECT_TRUE(server.Ctl({"settings", "set", "HttpSvnCacheSize", "9"}).ok());
  EXPECT_NE(
      ReadText(server.File("server/conf/httpd.conf")).find(Numbered("<Location \"/at", kMoments)),
      std::string::npos);
}

TEST_F(DurabilityFlowTest, NoHalfMadeOrHalfDeletedRepositoryIsEverSeen) {
  const auto observe = [&] { return Names("Kelvarion_Repository"); };
  const auto call = [](const char* method, Words parameters) -> Words {
    parameters.insert(parameters.begin(), {"call", "Kelvarion_Repository", method});
    return parameters;
  };
  KillAtEveryMoment(
      {"creating", [&](int round) { return call("Create", {Numbered("Name=old", round)}); },
       observe,
       [](const Json& before, int round) { return With(before, Numbered("old", round)); }});
  KillAtEveryMoment(
      {"renaming",
       [&](int round) {
         return call("Rename", {Numbered("OldName=old", round), Numbered("NewName=new", round)});
       },
       observe,
       [](const Json& before, int round) {
         return With(Without(before, Numbered("old", round)), Numbered("new", round));
       }});
  KillAtEveryMoment(
      {"deleting", [&](int round) { return call("Delete", {Numbered("Name=new", round)}); },
       observe,
       [](const Json& before, int round) { return Without(before, Numbered("new", round)); }});
  EXPECT_EQ(observe(), Json{"demo"});
  // What the killed ones left is cleaned up by whoever comes next.
  EXPECT_TRUE(server.Ctl(call("Create", {"Name=last"})).ok());
  EXPECT_FALSE(std::filesystem::exists(server.root + "/.kelvarion"));
}

TEST_F(DurabilityFlowTest, WritersOfOneRulesFileLoseNoRule) {
  constexpr int kRounds = 5;
  std::vector<std::string> paths;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<Words> commands;
    for (int writer = 0; writer < kWriters; ++writer) {
      paths.push_back(Numbered("/path", writer) + Numbered("/", round));
      commands.push_back(RealServer::SetRules("demo", paths.back(), {{"alice", 2}, {"*", 1}}));
    }
    RunTogether(commands);
  }
  const std::string rules = ReadText(server.RulesFile("demo"));
  for (const std::string& path : paths)
    EXPECT_NE(rules.find("[" + path + "]\r\n*=r\r\nalice=rw\r\n\r\n"), std::string::npos) << path;
}

TEST_F(DurabilityFlowTest, WritersOfUsersGroupsAndRepositoriesLoseNone) {
  const auto create = [](const char* class_name, int writer) -> Words {
    Words words = {"call", class_name, "Create", Numbered("Name=new", writer)};
    if (words[1] == "Kelvarion_User") words.push_back("Password=x");
    if (words[1] == "Kelvarion_Group") words.push_back("Members:=[]");
    return words;
  };
  std::vector<Words> commands;
  for (int writer = 0; writer < kWriters; ++writer)
    for (const char* each : {"Kelvarion_User", "Kelvarion_Group", "Kelvarion_Repository"})
      commands.push_back(create(each, writer));
  RunTogether(commands);
  EXPECT_EQ(Names("Kelvarion_User").size(), 0U + kWriters);
  EXPECT_EQ(Names("Kelvarion_Group").size(), 1U + kWriters);
  EXPECT_EQ(Names("Kelvarion_Repository").size(), 1U + kWriters);
  ExpectWhole();
}

TEST_F(DurabilityFlowTest, AKilledInitIsFinishedByTheNext) {
  const auto home = [&](int moment) { return Numbered((server.folder + "/made").c_str(), moment); };
  const auto init = [&](int moment) -> Words {
    return {KELVARION_BUILD_DIR "/bin/kelvarionctl", "--home", home(moment), "--json", "init"};
  };
  // Files and modes; what SQLite keeps beside its file while it is open may come and go.
  const auto listing = [&](int moment) {
    return RunProcess({"sh", "-c",
                       "cd \"$1\" && find . ! -name 'registry.db-*' -printf '%P %m %y\\n' | sort",
                       "sh", home(moment)})
        .out;
  };
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(RunProcess(init(0)).exit_code, 0);
  const Clock::duration whole = Clock::now() - start;
  for (int moment = 1; moment < kMoments; ++moment) {
    KillAfter(whole * moment / kMoments, init(moment));
    const ProcessResult again = RunProcess(init(moment));
    EXPECT_EQ(again.exit_code, 0) << again.all();
    EXPECT_EQ(listing(moment), listing(0)) << "killed at moment " << moment;
  }
}

TEST_F(DurabilityFlowTest, AKilledStartOrStopLeavesAServiceThatCanBeControlled) {
  constexpr const char* kService = "Kelvarion_Service.Name=\"KelvarionServer\"";
  for (int moment = 1; moment <= kMoments; ++moment) {
    SCOPED_TRACE(moment);
    KillAfter(std::chrono::milliseconds(4 * moment),
              server.Command({"call", kService, "StartService"}));
    const auto settled = [&] {
      const int state = server.Service()["ServiceState"];
      return state == 1 || state == 4;
    };
    EXPECT_TRUE(Eventually(settled));
    EXPECT_EQ(server.Service()["ExitCode"], 0);
    if (server.Service()["ServiceState"] == 1) server.Start();
    EXPECT_EQ(server.HttpStatus("bob", "x", server.base() + "/"), 401);
    KillAfter(std::chrono::milliseconds(4 * moment),
              server.Command({"call", kService, "StopService"}));
    EXPECT_TRUE(Eventually(settled));
    EXPECT_EQ(server.Service()["ExitCode"], 0);
    if (server.Service()["ServiceState"] == 4) server.Stop();
  }
}

// Whichever generation comes last has to have seen everybody's settings.
TEST_F(DurabilityFlowTest, ConcurrentChangesOfSettingsAllReachTheConfiguration) {
  constexpr int kRounds = 6;
  const std::string path = server.File("server/conf/httpd.conf");
  for (int round = 0; round < kRounds; ++round) {
    const std::string flag = std::to_string(round % 2);
    const std::vector<std::pair<std::string, std::string>> settings = {
        {"HttpSvnCacheSize", Numbered("1", round)},
        {"EnableAccessLogging", flag},
        {"EnableOperationalLogging", flag},
        {"DisableRedirectionFromLegacyWebInterface", flag},
        {"RepositoriesURLPrefix", Numbered("/svn", round)},
        {"ServerPort", Numbered("2000", round)},
        {"SSLServerPort", Numbered("2001", round)},
        {"ServerBindings", Numbered("127.0.0.", round)}};
    std::vector<Words> commands;
    for (const auto& [name, value] : settings) commands.push_back({"settings", "set", name, value});
    RunTogether(commands);
    const std::string generated = ReadText(path);
    EXPECT_TRUE(server.Ctl({"settings", "set", "UseUPNFormat", "0"}).ok());
    EXPECT_EQ(ReadText(path), generated) << "round " << round;
    for (const auto& [name, value] : settings)
      EXPECT_NE(Setting(name).dump().find(value), std::string::npos) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
}

}  // namespace
}  // namespace kelvarion::testing
