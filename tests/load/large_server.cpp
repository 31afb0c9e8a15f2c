#include "tests/load/large_server.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

namespace kelvarion::load {
namespace {

namespace fs = std::filesystem;

constexpr int kUsersInGroup = 50;

// Does it for all numbers below the count.
class Filling {
 public:
  Filling(std::string socket, int clients) : socket_(std::move(socket)), clients_(clients) {}

  void ForEach(int count, const std::function<void(Requests&, int)>& make) {
    std::vector<std::unique_ptr<Requests>> clients;
    std::atomic<int> next = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < clients_; ++i) {
      Requests& client = *clients.emplace_back(std::make_unique<Requests>(socket_));
      threads.emplace_back([&] {
        for (int number = next++; number < count; number = next++) make(client, number);
      });
    }
    threads.clear();
    for (const auto& client : clients) tally_.Add(client->tally());
  }
  const Tally& tally() const { return tally_; }

 private:
  const std::string socket_;
  const int clients_;
  Tally tally_;
};

// What was committed, and what happened.
bool IsHistory(const std::string& path) {
  return path.find("/db/") != std::string::npos || path.starts_with("/events/");
}

bool MayDiffer(const std::string& path) {
  for (const char* part : {"/logs/", "/run/", "/httpd", "registry.db"})
    if (path.find(part) != std::string::npos) return true;
  return false;
}

}  // namespace

Standing::Standing(const Size& size)
    : repositories(size.repositories),
      users(size.users),
      groups(std::max(1, size.users / kUsersInGroup)),
      rules_each(std::max(1, size.rules / 2 / size.repositories)),
      large_sections(size.rules / 2 / kSectionRules) {}

Json Standing::Rules(int first_user, int count) const {
  Json rules = Json::array();
  for (int i = 0; i < count; ++i) {
    const int user = (first_user + i) % users;
    rules.push_back(RuleFor(User(user), Level(user)));
  }
  return rules;
}

Tally Fill(const std::string& socket, const Standing& standing, int clients) {
  Filling filling(socket, clients);
  filling.ForEach(standing.users, [](Requests& client, int user) {
    const std::string name = Standing::User(user);
    client.Expect("create user",
                  Call("Kelvarion_User", "Create", {{"Name", name}, {"Password", name}}));
  });
  filling.ForEach(standing.groups, [](Requests& client, int group) {
    Json members = Json::array();
    for (int i = 0; i < kUsersInGroup; ++i)
      members.push_back(PathOf("Kelvarion_User", Standing::User(group * kUsersInGroup + i)));
    client.Expect("create group", Call("Kelvarion_Group", "Create",
                                       {{"Name", Standing::Group(group)}, {"Members", members}}));
  });
  filling.ForEach(standing.repositories, [&](Requests& client, int project) {
    client.Expect("create repository",
                  Call("Kelvarion_Repository", "Create", {{"Name", Standing::Project(project)}}));
    client.Expect("set rules", SetRules(Standing::Project(project), "/", standing.Rules(project)));
  });
  filling.ForEach(1, [&](Requests& client, int project) {
    Json folders = Json::array({"/branches"});
    for (int i = 0; i < standing.large_sections; ++i) folders.push_back(Standing::LargePath(i));
    client.Expect("create folders",
                  Call(PathOf("Kelvarion_Repository", Standing::Project(project)), "CreateFolders",
                       {{"Folders", folders}, {"Message", "Many branches"}}));
    Json rules = standing.Rules(project);
    rules.push_back({{"__CLASS", "Kelvarion_PermissionEntry"},
                     {"Account", {{"__CLASS", "Kelvarion_Everyone"}}},
                     {"AccessLevel", 1}});
    client.Expect("set rules", SetRules(Standing::Project(project), "/", rules));
  });
  filling.ForEach(standing.large_sections, [&](Requests& client, int section) {
    client.Expect("set rules in a large file",
                  SetRules(Standing::Project(0), Standing::LargePath(section),
                           standing.Rules(section * kSectionRules, kSectionRules)));
  });
  return filling.tally();
}

Contents ContentsOf(const testing::RealServer& server) {
  Contents contents;
  for (const auto& entry : fs::recursive_directory_iterator(server.home)) {
    const std::string path = entry.path().string().substr(server.home.size());
    if (IsHistory(path)) continue;
    contents[path] =
        entry.is_regular_file() && !MayDiffer(path) ? testing::ReadText(entry.path()) : "";
  }
  return contents;
}

std::string Differences(const Contents& before, const Contents& after) {
  std::string all;
  for (const auto& [path, content] : before)
    if (!after.contains(path)) all += "  missing: " + path + "\n";
  for (const auto& [path, content] : after) {
    const auto old = before.find(path);
    if (old == before.end())
      all += "  left behind: " + path + "\n";
    else if (old->second != content)
      all += "  different: " + path + "\n";
  }
  return all;
}

}  // namespace kelvarion::load
