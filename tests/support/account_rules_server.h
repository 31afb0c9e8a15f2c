// A server with accounts of the machine, as far as its rules are concerned: who asks is what a test
// module says, so that no account has to be made.
//
// Every password is the name of the account. "admin" may do everything by a rule for all
// repositories.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/support/real_server.h"

namespace kelvarion::testing {

// Section, key and value of each rule of one file.
using RuleTexts = std::map<std::string, std::map<std::string, std::string>>;

struct HttpRequest {
  std::string method;
  std::string url;  // Sent as it is.
  std::vector<std::string> headers = {};
  std::string body = {};
};

class AccountRulesServer {
 public:
  // The SIDs of each account by its name.
  using Accounts = std::map<std::string, std::vector<std::string>>;

  // Initialised with a repository "demo", not started. `directives` go into the custom file.
  explicit AccountRulesServer(const Accounts& accounts, const std::string& directives = {});

  // Replace a rules file at once.
  void SetRules(const RuleTexts& rules, const std::string& repository = "demo") const;
  void SetGlobalRules(RuleTexts rules) const;  // That of "admin" is added.
  std::string RulesFile(const std::string& repository = "demo") const;
  std::string GlobalRulesFile() const;

  ProcessResult Svn(const std::string& user, std::vector<std::string> arguments) const;
  // The statuses in the order of the requests. `answers` receives all headers and bodies.
  std::vector<int> Send(const std::string& user, const std::vector<HttpRequest>& requests,
                        std::string* answers = nullptr) const;
  int Status(const std::string& user, const std::string& url, std::string* body = nullptr) const;
  std::string ErrorLog() const { return ReadText(server.File("server/logs/error.log")); }

  RealServer server;
};

// 403 as svn words it; the whole text when it is neither that nor success.
std::string Outcome(const ProcessResult& result);

}  // namespace kelvarion::testing
