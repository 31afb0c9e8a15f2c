#include "tests/support/account_rules_server.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

namespace kelvarion::testing {
namespace {

constexpr const char* kAdminSid = "S-1-22-1-1";

void Replace(const std::string& path, const RuleTexts& rules) {
  std::string text;
  for (const auto& [section, keys] : rules) {
    text += "[" + section + "]\r\n";
    for (const auto& [key, value] : keys) text += key + "=" + value + "\r\n";
  }
  // Made in its folder, from which it has its access list.
  WriteText(path + ".new", text);
  std::filesystem::rename(path + ".new", path);
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
  return quoted + "\"\n";
}

}  // namespace

AccountRulesServer::AccountRulesServer(const Accounts& accounts, const std::string& directives) {
  const std::string file = server.folder + "/accounts";
  std::string lines = std::string("admin ") + kAdminSid + "\n";
  for (const auto& [name, sids] : accounts) {
    lines += name;
    for (const std::string& sid : sids) lines += " " + sid;
    lines += "\n";
  }
  WriteText(file, lines);
  chmod(file.c_str(), 0644);
  WriteText(server.File("server/conf/httpd-custom.conf"),
            "LoadModule test_accounts_module \"" KELVARION_BUILD_DIR
            "/lib/tests/mod_test_accounts.so\"\n<Location />\n  AuthType TestAccounts\n"
            "  TestAccountsFile \"" +
                file + "\"\n</Location>\n" + directives);
  const Reply set = server.CallService(
      "SetAuthenticationOptions",
      {"AuthType=1", "WindowsBasic=true", "WindowsIntegrated=false", "UseUPNFormat=false"});
  EXPECT_TRUE(set.ok()) << set.message();
  EXPECT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  SetGlobalRules({});
}

void AccountRulesServer::SetRules(const RuleTexts& rules, const std::string& repository) const {
  Replace(RulesFile(repository), rules);
}

void AccountRulesServer::SetGlobalRules(RuleTexts rules) const {
  rules["global"][kAdminSid] = "rw";
  Replace(GlobalRulesFile(), rules);
}

std::string AccountRulesServer::RulesFile(const std::string& repository) const {
  return server.root + "/" + repository + "/conf/Kelvarion-WinAuthz.ini";
}

std::string AccountRulesServer::GlobalRulesFile() const {
  return server.root + "/Kelvarion-GlobalWinAuthz.ini";
}

ProcessResult AccountRulesServer::Svn(const std::string& user,
                                      std::vector<std::string> arguments) const {
  return server.Svn(user, user, std::move(arguments));
}

std::vector<int> AccountRulesServer::Send(const std::string& user,
                                          const std::vector<HttpRequest>& requests,
                                          std::string* answers) const {
  constexpr const char* kMark = "\n=== status ";
  std::string script;
  for (const HttpRequest& request : requests) {
    script += "url=" + Quoted(request.url) + "request=" + Quoted(request.method) +
              "user=" + Quoted(user + ":" + user) +
              "path-as-is\nsilent\ninclude\nmax-time=20\nwrite-out=\"\\n=== status "
              "%{http_code}\\n\"\n";
    if (request.method == "HEAD") script += "head\n";
    for (const std::string& header : request.headers) script += "header=" + Quoted(header);
    if (!request.body.empty()) script += "data-binary=" + Quoted(request.body);
    script += "next\n";
  }
  const std::string file = server.folder + "/requests";
  WriteText(file, script);
  const std::string all = RunProcess({"curl", "--config", file}).out;
  std::vector<int> statuses;
  for (std::size_t at = 0; (at = all.find(kMark, at)) != all.npos;)
    statuses.push_back(std::atoi(all.c_str() + (at += std::char_traits<char>::length(kMark))));
  EXPECT_EQ(statuses.size(), requests.size());
  statuses.resize(requests.size());
  if (answers) *answers = all;
  return statuses;
}

int AccountRulesServer::Status(const std::string& user, const std::string& url,
                               std::string* body) const {
  return Send(user, {{"GET", url}}, body).front();
}

std::string Outcome(const ProcessResult& result) {
  const std::string text = result.all();
  if (result.exit_code == 0) return "allowed";
  for (const char* code : {"E175013", "W160039"})  // The second for locks.
    if (text.find(code) != text.npos) return "403";
  return text;
}

}  // namespace kelvarion::testing
