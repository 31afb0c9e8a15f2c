// Whole programs against whole programs, as people and scripts start them.
#include <filesystem>
#include <fstream>

#include "bench/access_files.h"
#include "bench/measures.h"
#include "tests/support/real_server.h"

namespace kelvarion::bench {
namespace {

using testing::RealServer;
using Words = std::vector<std::string>;

// What takes less seems immediate to people.
constexpr double kImmediate = 0.1;

struct Comparison {
  const char* name;
  Words ours;  // "%" stands for the number of the round: each leaves something behind.
  const char* against;
  Words theirs;
};

std::function<void()> Repeated(const Words& command) {
  return [command, round = 0]() mutable {
    Words words = command;
    for (std::string& word : words)
      if (word.ends_with('%')) word.replace(word.size() - 1, 1, std::to_string(round));
    Run(words);
    ++round;
  };
}

}  // namespace

void MeasureCommands(std::vector<Row>& rows) {
  const RealServer server;
  const std::string theirs = server.folder + "/theirs";
  const std::string script = theirs + "/script";
  const std::string groups = server.root + "/groups.conf";
  std::filesystem::create_directory(theirs);
  std::ofstream(script) << "#!/bin/sh\nexit 0\n";
  Run(server.Command({"repository", "create", "rules"}));
  WriteRules(server.RulesFile("rules"));
  WriteGroups(groups);
  for (const std::string& users : {server.root + "/htpasswd", theirs + "/users"}) WriteUsers(users);
  const Comparison comparisons[] = {
      {"kelvarionctl get, start to end",
       {"get", "Kelvarion_VersionInfo=@"},
       "svnadmin --version",
       {"svnadmin", "--version", "-q"}},
      {"kelvarionctl repository create",
       {"repository", "create", "ours%"},
       "svnadmin create",
       {"svnadmin", "create", theirs + "/%"}},
      {"kelvarionctl call Kelvarion_User Create",
       {"call", "Kelvarion_User", "Create", "Name=new%", "Password=secret"},
       "htpasswd",
       {"htpasswd", "-b", theirs + "/users", "new%", "secret"}},
      {"kelvarionctl access explain, one of 5,000 users",
       {"access", "explain", "rules", "/trunk/folder77", "--account", "user4711"},
       "svnauthz accessof",
       {"svnauthz", "accessof", server.RulesFile("rules"), "--groups-file", groups, "--path",
        "/trunk/folder77", "--username", "user4711"}},
      {"kelvarionctl hook set",
       {"hook", "set", "ours%", "pre-commit", script},
       "install",
       {"install", "-m", "755", script, theirs + "/pre-commit%"}},
      {"kelvarionctl settings set",
       {"settings", "set", "HttpSvnCacheSize", "1%"},
       "apache2 -t",
       {"apache2", "-t", "-C", "User www-data", "-C", "Group www-data", "-f",
        server.File("server/conf/kelvarion.conf")}},
  };
  for (const Comparison& each : comparisons)
    rows.push_back(
        {.name = each.name,
         .against = each.against,
         .amounts = MedianPair(15, Repeated(server.Command(each.ours)), Repeated(each.theirs)),
         .aim = kImmediate,
         .aims_at_amount = true});
}

}  // namespace kelvarion::bench
