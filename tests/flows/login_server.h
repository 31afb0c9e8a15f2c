// A server that accounts of the machine log in to, with the address /open/ that lets all of them
// in.
#pragma once

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/real_server.h"

namespace kelvarion::testing {

// An account of this machine while the object lives. For root only.
class MachineAccount {
 public:
  explicit MachineAccount(const std::string& password) {
    static int count = 0;
    name_ = "kvtest" + std::to_string(getpid()) + "x" + std::to_string(count++);
    Run({"useradd", "--no-create-home", "--shell", "/usr/sbin/nologin", name_});
    SetPassword(password);
  }
  ~MachineAccount() { Run({"userdel", name_}); }
  MachineAccount(const MachineAccount&) = delete;
  MachineAccount& operator=(const MachineAccount&) = delete;

  const std::string& name() const { return name_; }
  std::string Sid() const { return "S-1-22-1-" + std::to_string(getpwnam(name_.c_str())->pw_uid); }
  // The SID of the Unix group that has the account alone.
  std::string GroupSid() const {
    return "S-1-22-2-" + std::to_string(getpwnam(name_.c_str())->pw_gid);
  }
  void SetPassword(const std::string& password) const {
    Run({"sh", "-c", "printf '%s:%s\\n' \"$1\" \"$2\" | chpasswd", "sh", name_, password});
  }
  // A change such as usermod makes.
  void Change(std::vector<std::string> words) const {
    words.push_back(name_);
    Run(words);
  }

 private:
  static void Run(const std::vector<std::string>& words) {
    const ProcessResult result = RunProcess(words);
    EXPECT_EQ(result.exit_code, 0) << words[0] << ": " << result.all();
  }

  std::string name_;
};

// How names and passwords may be sent.
struct Logins {
  bool passwords = true;
  bool tickets = false;
  bool upn = false;
};

class LoginServer : public RealServer {
 public:
  // `directives` go into httpd-custom.conf. Not started.
  explicit LoginServer(const std::string& directives = {}, ServerOptions options = {})
      : RealServer(std::move(options)) {
    Allow({});
    EXPECT_TRUE(Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
    WriteText(File("server/conf/httpd-custom.conf"),
              directives + "\n<Location /open>\nDAV svn\nSVNPath \"" + root +
                  "/demo\"\nSVNPathAuthz off\nRequire valid-user\n</Location>\n");
  }

  void Allow(const Logins& logins) const {
    const auto flag = [](const char* name, bool value) {
      return std::string(name) + (value ? "=true" : "=false");
    };
    const Reply reply =
        CallService("SetAuthenticationOptions",
                    {"AuthType=1", flag("WindowsBasic", logins.passwords),
                     flag("WindowsIntegrated", logins.tickets), flag("UseUPNFormat", logins.upn)});
    EXPECT_TRUE(reply.ok()) << reply.message();
  }

  // PAM is asked by these lines from now on, and each question is counted.
  void UsePam(const std::string& lines) const {
    const std::string folder_of_service = File("server/conf/pam.d");
    std::filesystem::create_directory(folder_of_service);
    WriteText(folder_of_service + "/kelvarion",
              "auth optional pam_exec.so quiet log=" + Questions() +
                  " /usr/bin/printenv PAM_USER\n" + lines);
  }
  void UseThisMachinesPam() const {
    UsePam("@include /etc/pam.d/common-auth\n@include /etc/pam.d/common-account\n");
  }
  int CountQuestions() const {
    int count = 0;
    const std::string text = ReadText(Questions());
    for (std::size_t at = 0; (at = text.find("***", at)) != text.npos; at += 3) ++count;
    return count;
  }

  std::string Open(const std::string& path = {}) const { return base() + "/open/" + path; }
  int Status(const std::string& user, const std::string& password) const {
    return HttpStatus(user, password, Open());
  }
  std::string Log() const { return ReadText(File("server/logs/error.log")); }

  // The processes of this program that belong to the server and live.
  std::vector<int> Pids(const std::string& program) const {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const int pid = std::atoi(entry.path().filename().c_str());
      // A process that has ended has no arguments any more.
      if (pid != 0 && ReadText(entry.path() / "comm") == program + "\n" &&
          ReadText(entry.path() / "cmdline").find(home) != std::string::npos)
        found.push_back(pid);
    }
    return found;
  }
  std::vector<int> Helpers() const { return Pids("kelvarion-authn"); }

 private:
  std::string Questions() const { return folder + "/questions"; }
};

template <class Work>
double SecondsOf(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace kelvarion::testing
