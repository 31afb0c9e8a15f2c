#include "tests/support/real_server.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServicePath = "Kelvarion_Service.Name=\"KelvarionServer\"";

std::string MakeFolder(const std::string& owner) {
  std::string pattern = (fs::temp_directory_path() / "kelvarion-flow-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
  // The server's workers have another account and must get through.
  chmod(pattern.c_str(), 0711);
  if (!owner.empty()) {
    EXPECT_EQ(RunProcess({"chown", owner, pattern}).exit_code, 0);
  }
  return pattern;
}

Json Account(const std::string& name) {
  if (name == "*") return {{"__CLASS", "Kelvarion_Everyone"}};
  if (name.starts_with("S-1-")) return {{"__CLASS", "Kelvarion_WindowsAccount"}, {"SID", name}};
  if (name.starts_with('@')) return {{"__CLASS", "Kelvarion_Group"}, {"Name", name.substr(1)}};
  return {{"__CLASS", "Kelvarion_User"}, {"Name", name}};
}

}  // namespace

std::uint32_t Reply::status() const {
  return document.is_object() ? document.value("status", 0xFFFFFFFFU) : 0xFFFFFFFFU;
}

std::string Reply::message() const {
  if (!document.is_object() || !document["error"].is_object()) return process.all();
  const Json& text = document["error"]["Description"];
  return text.is_string() ? text.get<std::string>() : std::string();
}

std::string Reply::warnings() const {
  std::string all;
  if (document.is_object())
    for (const Json& warning : document["warnings"]) all += warning.get<std::string>() + "\n";
  return all;
}

const Json& Reply::object() const {
  static const Json nothing;
  if (!document.is_object() || document["objects"].empty()) return nothing;
  return document["objects"][0];
}

std::vector<std::string> Reply::names() const {
  std::vector<std::string> names;
  if (document.is_object())
    for (const Json& each : document["objects"]) names.push_back(each.at("Name"));
  return names;
}

void PrintTo(const Reply& reply, std::ostream* out) { *out << reply.process.all(); }

RealServer::RealServer(ServerOptions options)
    : folder(MakeFolder(options.owner)),
      home(folder + "/home"),
      root(home + "/repositories"),
      port(FreePort()),
      ssl_port(FreePort()),
      options_(std::move(options)) {
  const Reply made =
      Ctl({"init", "--port", std::to_string(port), "--ssl-port", std::to_string(ssl_port)});
  EXPECT_TRUE(made.ok()) << made.process.all();
}

RealServer::~RealServer() {
  CallService("StopService");
  if (!Eventually([&] { return Processes().empty(); })) {
    ADD_FAILURE() << "Processes of the server outlive it";
    for (const int pid : Processes()) kill(pid, SIGKILL);
  }
  std::error_code error;
  fs::remove_all(folder, error);
  EXPECT_FALSE(error) << folder << ": " << error.message();
}

std::vector<std::string> RealServer::Command(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), "--json");
  return TextCommand(std::move(arguments));
}

ProcessResult RealServer::Text(std::vector<std::string> arguments) const {
  return RunProcess(TextCommand(std::move(arguments)));
}

std::vector<std::string> RealServer::TextCommand(std::vector<std::string> arguments) const {
  std::vector<std::string> words = options_.runner;
  const std::string build = options_.programs.empty() ? KELVARION_BUILD_DIR : options_.programs;
  words.insert(words.end(), {build + "/bin/kelvarionctl", "--home", home});
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

Reply RealServer::Ctl(std::vector<std::string> arguments) const {
  Reply reply{RunProcess(Command(std::move(arguments))), {}};
  reply.document = Json::parse(reply.process.out, nullptr, false);
  EXPECT_TRUE(reply.document.is_object()) << reply.process.all();
  return reply;
}

Reply RealServer::Call(const std::string& path, const std::string& method,
                       std::vector<std::string> parameters) const {
  parameters.insert(parameters.begin(), {"call", path, method});
  return Ctl(std::move(parameters));
}

Reply RealServer::CallService(const std::string& method,
                              std::vector<std::string> parameters) const {
  return Call(kServicePath, method, std::move(parameters));
}

void RealServer::CreateUser(const std::string& name, const std::string& password) const {
  const Reply reply = Call("Kelvarion_User", "Create", {"Name=" + name, "Password=" + password});
  EXPECT_TRUE(reply.ok()) << reply.message();
}

void RealServer::CreateGroup(const std::string& name,
                             const std::vector<std::string>& members) const {
  const Reply reply =
      Call("Kelvarion_Group", "Create", {"Name=" + name, "Members:=" + MemberPaths(members)});
  EXPECT_TRUE(reply.ok()) << reply.message();
}

std::string RealServer::MemberPaths(const std::vector<std::string>& members) {
  Json paths = Json::array();
  for (const std::string& member : members) {
    const Json account = Account(member);
    paths.push_back(account["__CLASS"].get<std::string>() + ".Name=\"" +
                    account["Name"].get<std::string>() + "\"");
  }
  return paths.dump();
}

std::string RealServer::Accounts(const std::vector<std::string>& sids) {
  Json accounts = Json::array();
  for (const std::string& sid : sids) accounts.push_back(Account(sid));
  return accounts.dump();
}

std::vector<std::string> RealServer::SetRules(const std::string& repository,
                                              const std::string& path, const Rules& rules,
                                              bool reset_children) {
  Json entries = Json::array();
  for (const auto& [account, level] : rules)
    entries.push_back({{"__CLASS", "Kelvarion_PermissionEntry"},
                       {"Account", Account(account)},
                       {"AccessLevel", level}});
  return {"call",
          "Kelvarion_Repository.Name=\"" + repository + "\"",
          "SetSecurity",
          "Path=" + path,
          "Permissions:=" + entries.dump(),
          std::string("ResetChildren=") + (reset_children ? "true" : "false")};
}

Json RealServer::Service() const {
  const Reply reply = Ctl({"get", kServicePath});
  EXPECT_TRUE(reply.ok()) << reply.message();
  return reply.object();
}

bool RealServer::Reaches(int state) const {
  return Eventually([&] { return Service()["ServiceState"] == state; });
}

void RealServer::Start() const {
  const Reply reply = CallService("StartService");
  ASSERT_TRUE(reply.ok()) << reply.message();
  ASSERT_TRUE(Reaches(4)) << Service() << ReadText(File("server/logs/error.log"));
}

void RealServer::Stop() const {
  const Reply reply = CallService("StopService");
  ASSERT_TRUE(reply.ok()) << reply.message();
  ASSERT_TRUE(Reaches(1)) << Service();
}

void RealServer::Restart() const {
  const Reply reply = CallService("RestartService");
  ASSERT_TRUE(reply.ok()) << reply.message() << reply.warnings();
  ASSERT_TRUE(Reaches(4)) << Service();
}

int RealServer::ServerPid() const {
  return std::atoi(ReadText(File("server/run/KelvarionServer.pid")).c_str());
}

std::string RealServer::Events() const {
  const Reply reply = Ctl({"events"});
  std::string all;
  for (const Json& event : reply.document["objects"])
    all += event["Message"].get<std::string>() + "\n";
  return all;
}

ProcessResult RealServer::Svn(const std::string& user, const std::string& password,
                              std::vector<std::string> arguments) const {
  std::vector<std::string> words = {"svn",          "--non-interactive", "--no-auth-cache",
                                    "--config-dir", folder + "/svn",     "--username",
                                    user,           "--password",        password};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return RunProcess(words);
}

int RealServer::HttpStatus(const std::string& user, const std::string& password,
                           const std::string& url, std::string* body) const {
  const ProcessResult result = RunProcess({"curl", "-sk", "--max-time", "20", "-u",
                                           user + ":" + password, "-w", "\n%{http_code}", url});
  const std::size_t last = result.out.rfind('\n');
  if (body) *body = result.out.substr(0, last);
  return std::atoi(result.out.c_str() + last + 1);
}

std::string RealServer::RulesFile(const std::string& repository) const {
  return root + "/" + repository + "/conf/Kelvarion-SvnAuthz.ini";
}

// A process belongs to the server when it was started with a path of the home.
std::vector<int> RealServer::Processes() const {
  std::vector<int> found;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const int pid = std::atoi(entry.path().filename().c_str());
    if (pid != 0 && ReadText(entry.path() / "cmdline").find(home) != std::string::npos)
      found.push_back(pid);
  }
  return found;
}

std::string CopyOfTheBuild(const std::string& folder) {
  const std::string build = KELVARION_BUILD_DIR;
  chmod(folder.c_str(), 0711);
  fs::create_directories(folder + "/bin");
  fs::create_directories(folder + "/lib");
  for (const std::string each :
       {"bin/kelvarionctl", "bin/kelvarion-supervisor", "bin/kelvarion-authn",
        "lib/libkelvarion_platform.so", "lib/libkelvarion_provider.so", "lib/httpd", "share"}) {
    const ProcessResult copied = RunProcess({"cp", "-rL", build + "/" + each, folder + "/" + each});
    EXPECT_EQ(copied.exit_code, 0) << copied.all();
  }
  RunProcess({"chmod", "-R", "a+rX", folder});
  return folder;
}

std::string ReadText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace kelvarion::testing
