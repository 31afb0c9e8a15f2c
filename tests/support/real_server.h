// A whole server in a folder of its own, driven as people drive it: kelvarionctl, svn and curl.
//
// Several live side by side, in one process and in many. Whatever a test did to it, no process and
// no file is left when it is destroyed; a process that had to be ended by force is a failure of the
// test.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/eventually.h"
#include "tests/support/ports.h"
#include "tests/support/process.h"

namespace kelvarion::testing {

using Json = nlohmann::json;

// What kelvarionctl printed for one request.
struct Reply {
  ProcessResult process;
  Json document;  // Null when the output was no JSON.

  bool ok() const { return process.exit_code == 0 && status() == 0; }
  std::uint32_t status() const;
  std::string message() const;   // The error object's description, or all that was printed.
  std::string warnings() const;  // Joined by line ends.
  const Json& object() const;    // The first object; null without any.
  std::vector<std::string> names() const;  // The Name of every object.
};
void PrintTo(const Reply& reply, std::ostream* out);

struct ServerOptions {
  std::vector<std::string> runner = {};  // The words that run a program as another user, say.
  std::string owner = {};                // Who owns the folder; nobody in particular when empty.
  std::string programs = {};             // The build to run, instead of the one of this test.
};

// An account ("*", "@group", a SID or a user) and its access: 0 none, 1 read, 2 write.
using Rules = std::vector<std::pair<std::string, int>>;

class RealServer {
 public:
  explicit RealServer(ServerOptions options = {});  // Initialised, not started.
  ~RealServer();
  RealServer(const RealServer&) = delete;
  RealServer& operator=(const RealServer&) = delete;

  std::vector<std::string> Command(std::vector<std::string> arguments) const;
  // The same as people run it, for text.
  std::vector<std::string> TextCommand(std::vector<std::string> arguments) const;
  ProcessResult Text(std::vector<std::string> arguments) const;
  Reply Ctl(std::vector<std::string> arguments) const;
  Reply Call(const std::string& path, const std::string& method,
             std::vector<std::string> parameters = {}) const;
  Reply CallService(const std::string& method, std::vector<std::string> parameters = {}) const;

  void CreateUser(const std::string& name, const std::string& password) const;
  void CreateGroup(const std::string& name, const std::vector<std::string>& members) const;
  // The words of a call of SetSecurity.
  static std::vector<std::string> SetRules(const std::string& repository, const std::string& path,
                                           const Rules& rules, bool reset_children = false);
  static std::string MemberPaths(const std::vector<std::string>& members);
  // Accounts of the machine, as JSON.
  static std::string Accounts(const std::vector<std::string>& sids);

  Json Service() const;  // The instance of Kelvarion_Service.
  bool Reaches(int state) const;
  void Start() const;
  void Stop() const;
  void Restart() const;
  int ServerPid() const;
  std::string Events() const;  // All messages, a line each.

  std::string Url(const std::string& rest = {}) const { return base() + "/svn/" + rest; }
  std::string base() const { return scheme + "://127.0.0.1:" + std::to_string(CurrentPort()); }
  int CurrentPort() const { return scheme == "http" ? port : ssl_port; }
  ProcessResult Svn(const std::string& user, const std::string& password,
                    std::vector<std::string> arguments) const;
  // The status of a GET, 0 without a connection. `body` receives the answer.
  int HttpStatus(const std::string& user, const std::string& password, const std::string& url,
                 std::string* body = nullptr) const;
  std::string RulesFile(const std::string& repository) const;
  std::string File(const std::string& relative) const { return home + "/" + relative; }

  std::string folder;  // Holds the home and room for a test's own files.
  std::string home;
  std::string root;
  std::string scheme = "http";
  int port;
  int ssl_port;

 private:
  std::vector<int> Processes() const;

  ServerOptions options_;
};

// Puts a build that every account can run into the folder, and returns the folder.
std::string CopyOfTheBuild(const std::string& folder);
std::string ReadText(const std::string& path);
void WriteText(const std::string& path, const std::string& text);

}  // namespace kelvarion::testing
