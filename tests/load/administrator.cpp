#include "tests/load/administrator.h"

#include <algorithm>

namespace kelvarion::load {
namespace {

std::string Repository(const std::string& name) { return PathOf("Kelvarion_Repository", name); }

std::string AccessPath(const std::string& repository, const std::string& account) {
  return "Kelvarion_EffectiveAccess.RepositoryName=\"" + repository +
         "\",Path=\"/trunk\",Account=\"" + account + "\"";
}

}  // namespace

struct Administrator::Choice {
  int weight;
  void (Administrator::*step)();
};

// What is asked of one repository, and the status when it is gone.
struct Administrator::Question {
  int weight;
  const char* what;
  Request (*ask)(const std::string& repository);
  std::uint32_t gone;
};

const Administrator::Question Administrator::kQuestions[] = {
    {20, "get repository", [](const std::string& name) { return Get(Repository(name)); },
     kNotFound},
    {6, "PS: get repository",
     [](const std::string& name) { return Get(PathOf("PS_SvnRepository", name)); }, kNotFound},
    {15, "get rules",
     [](const std::string& name) {
       return Call(Repository(name), "GetSecurity", {{"Path", "/"}});
     },
     kNotFound},
    {8, "get effective access",
     [](const std::string& name) { return Get(AccessPath(name, Standing::User(0))); }, kNotFound},
    {4, "get hook",
     [](const std::string& name) {
       return Call(Repository(name), "GetHook", {{"Kind", 4}});
     },
     kNotFound},
    {3, "get folder",
     [](const std::string& name) {
       return Get("Kelvarion_RepositoryEntry.RepositoryName=\"" + name + "\",Path=\"/\"");
     },
     kNotFound},
    {4, "list folder",
     [](const std::string& name) {
       return Call(Repository(name), "GetChildren", {{"Path", "/"}});
     },
     kNotFound},
    {3, "measure repository",
     [](const std::string& name) { return Call(Repository(name), "GetSize"); }, 0},
    {2, "PS: measure repository",
     [](const std::string& name) { return Call(PathOf("PS_SvnRepository", name), "Measure"); },
     kNotFound},
    {2, "get capability",
     [](const std::string& name) {
       return Call(Repository(name), "HasCapability", {{"Capability", "mergeinfo"}});
     },
     kNotFound},
    {2, "get delegation",
     [](const std::string& name) { return Call(Repository(name), "GetDelegationSettings"); },
     kNotFound},
};

Administrator::Administrator(const std::string& socket, const Standing& standing,
                             const MovingRepositories& moving, int number, unsigned seed)
    : Worker(seed),
      standing_(standing),
      moving_(moving),
      self_("admin-" + std::to_string(number)),
      requests_(socket) {}

void Administrator::Step() {
  using Self = Administrator;
  static const Choice choices[] = {
      {70, &Self::Ask},
      {5, &Self::ChangeRules},
      {2, &Self::ChangeHook},
      {2, &Self::ListRepositories},
      {1, &Self::ListRepositoriesSorted},
      {2, &Self::ListUsers},
      {2, &Self::ListGroups},
      {4, &Self::ReadRulesOfLargeFile},
      {8, &Self::ReadServer},
      {1, &Self::ChangeSettings},
      {8, &Self::ReadAccount},
      {6, &Self::ExplainAccount},
      {1, &Self::ExplainAll},
      {2, &Self::LetUserComeAndGo},
      {2, &Self::LetGroupComeAndGo},
  };
  (this->*Choose(choices).step)();
}

void Administrator::Ask() {
  const Question& question = Choose(kQuestions);
  if (moving_.empty() || !Chance(3)) {
    requests_.Expect(question.what, question.ask(AnyProject()));
    return;
  }
  const MovingRepository& repository =
      moving_[static_cast<std::size_t>(Below(static_cast<int>(moving_.size())))];
  const Sighting sighting(repository);
  const Answer answer = requests_.Make(question.what, question.ask(repository.name));
  const auto allowed = sighting.Allowed(question.gone);
  if (std::ranges::find(allowed, answer.status) == allowed.end()) requests_.Unexpected(answer);
}

// At a path of its own, so it knows what has to be there.
void Administrator::ChangeRules() {
  const std::string project = AnyProject();
  const std::string path = "/trunk/" + self_;
  requests_.Expect("set rules", SetRules(project, path, Json::array({RuleFor(AnyUser(), 2)})));
  const Answer answer =
      requests_.Expect("get rules", Call(Repository(project), "GetSecurity", {{"Path", path}}));
  if (answer.Value("Permissions").size() != 1) requests_.Unexpected("rules that are not kept");
  requests_.Expect("set rules", SetRules(project, path, Json::array()));
}

void Administrator::ChangeHook() {
  const std::string path = Repository(AnyProject());
  requests_.Expect("set hook", Call(path, "SetHook", {{"Kind", 1}, {"Hook", "#!/bin/sh\n"}}));
  requests_.Expect("delete hook", Call(path, "DeleteHook", {{"Kind", 1}}));
}

void Administrator::List(const char* what, const std::string& class_name, const std::string& prefix,
                         int count) {
  const Answer answer = requests_.Expect(what, Enumerate(class_name));
  const auto standing = std::ranges::count_if(answer.objects, [&](const Json& object) {
    return object.value("Name", "").starts_with(prefix);
  });
  if (standing != count)
    requests_.Unexpected(std::string(what) + ": " + std::to_string(standing) +
                         " of those that stand");
}

void Administrator::ListRepositories() {
  List("list repositories", "Kelvarion_Repository", "project-", standing_.repositories);
}

void Administrator::ListRepositoriesSorted() {
  List("PS: list repositories", "PS_SvnRepository", "project-", standing_.repositories);
}

void Administrator::ListUsers() { List("list users", "Kelvarion_User", "user-", standing_.users); }

void Administrator::ListGroups() {
  List("list groups", "Kelvarion_Group", "group-", standing_.groups);
}

void Administrator::ReadRulesOfLargeFile() {
  if (standing_.large_sections == 0) return;
  const std::string path = Standing::LargePath(Below(standing_.large_sections));
  const Answer answer =
      requests_.Expect("get rules of a large file",
                       Call(Repository(Standing::Project(0)), "GetSecurity", {{"Path", path}}));
  if (answer.Value("Permissions").size() != kSectionRules)
    requests_.Unexpected("rules of a large file that are not all there");
}

void Administrator::ReadServer() {
  switch (Below(4)) {
    case 0:
      requests_.Expect("get version", Get("Kelvarion_VersionInfo=@"));
      break;
    case 1:
      requests_.Expect("get settings", Get(PathOf("Kelvarion_Service", "KelvarionServer")));
      break;
    case 2:
      requests_.Expect("PS: get settings", Call("PS_SvnServerConfiguration", "Get"));
      break;
    default:
      requests_.Expect("get status", Get("Kelvarion_ServerStatus=@"));
  }
}

void Administrator::ChangeSettings() {
  requests_.Expect("change settings",
                   Call(PathOf("Kelvarion_Service", "KelvarionServer"), "SetLoggingOptions",
                        {{"EnableAccessLogging", Chance(2)}, {"EnableOperationalLogging", true}}));
}

void Administrator::ReadAccount() {
  requests_.Expect("get user", Get(PathOf("Kelvarion_User", AnyUser())));
  const std::string group = Standing::Group(Below(standing_.groups));
  requests_.Expect("list members", Call(PathOf("Kelvarion_Group", group), "GetMembers"));
}

void Administrator::ExplainAccount() {
  const int project = 1 + Below(standing_.repositories - 1);
  const int user = (standing_.FirstUser(project) + Below(standing_.rules_each)) % standing_.users;
  const Answer answer = requests_.Expect(
      "get effective access", Get(AccessPath(Standing::Project(project), Standing::User(user))));
  ExpectValue(answer, "AccessLevel", Standing::Level(user));
}

void Administrator::ExplainAll() {
  const Answer answer = requests_.Expect("explain access of all users",
                                         Call("Kelvarion_EffectiveAccess", "Explain",
                                              {{"RepositoryName", AnyProject()}, {"Path", "/"}}));
  if (answer.Value("Entries").size() < static_cast<std::size_t>(standing_.users))
    requests_.Unexpected("an explanation that leaves users out");
}

// With a rule, which goes with the user.
void Administrator::LetUserComeAndGo() {
  const std::string user = self_ + "-user-" + std::to_string(++made_);
  const std::string project = AnyProject();
  const std::string path = "/trunk/" + user;
  requests_.Expect("create user",
                   Call("Kelvarion_User", "Create", {{"Name", user}, {"Password", "first"}}));
  requests_.Expect("change password",
                   Call(PathOf("Kelvarion_User", user), "SetPassword", {{"Password", "second"}}));
  requests_.Expect("set rules", SetRules(project, path, Json::array({RuleFor(user, 1)})));
  requests_.Expect("delete user", Call("Kelvarion_User", "Delete", {{"Name", user}}));
  const Answer answer =
      requests_.Expect("get rules", Call(Repository(project), "GetSecurity", {{"Path", path}}));
  if (!answer.Value("Permissions").empty()) requests_.Unexpected("a rule that outlives its user");
  requests_.Expect("get user", Get(PathOf("Kelvarion_User", user)), {kNotFound});
}

void Administrator::LetGroupComeAndGo() {
  const std::string group = self_ + "-group-" + std::to_string(++made_);
  Json members = Json::array({PathOf("Kelvarion_User", AnyUser())});
  requests_.Expect("create group",
                   Call("Kelvarion_Group", "Create", {{"Name", group}, {"Members", members}}));
  members.push_back(PathOf("Kelvarion_Group", Standing::Group(0)));
  requests_.Expect("change members",
                   Call(PathOf("Kelvarion_Group", group), "SetMembers", {{"Members", members}}));
  const Answer answer =
      requests_.Expect("list members", Call(PathOf("Kelvarion_Group", group), "GetMembers"));
  if (answer.Value("Members").size() != 2) requests_.Unexpected("members that are not kept");
  requests_.Expect("delete group", Call("Kelvarion_Group", "Delete", {{"Name", group}}));
}

void Administrator::ExpectValue(const Answer& answer, const char* name, const Json& value) {
  if (answer.Value(name) != value)
    requests_.Unexpected(answer.asked + ": " + name + " is " + answer.Value(name).dump());
}

}  // namespace kelvarion::load
