// Servers that replicate.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <string>

#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {

// The replication service of a server.
class ReplicationService {
 public:
  static constexpr const char* kPath = "Kelvarion_OrmuService.Name=\"ormusvc\"";

  explicit ReplicationService(const RealServer& server) : server_(server) {}
  int Property(const char* name) const { return server_.Ctl({"get", kPath}).object()[name]; }
  bool Reaches(int state) const {
    return Eventually([&] { return Property("ServiceState") == state; });
  }
  void Start() const {
    const Reply reply = server_.Call(kPath, "StartService");
    EXPECT_TRUE(reply.ok()) << reply.message();
    EXPECT_TRUE(Reaches(4)) << ReadText(server_.File("server/run/ormusvc.err"));
  }
  void Stop() const {
    if (server_.Call(kPath, "StopService").ok()) {
      EXPECT_TRUE(Reaches(1));
    }
  }
  int Pid() const { return std::atoi(ReadText(server_.File("server/run/ormusvc.pid")).c_str()); }
  void Kill() const {
    kill(Pid(), SIGKILL);
    EXPECT_TRUE(Reaches(1));
  }

 private:
  const RealServer& server_;
};

// A real server whose repository "demo" is a master, and who may replicate it.
class ReplicationServer {
 public:
  static constexpr const char* kPartnerName = "partner";
  static constexpr const char* kPartner = "S-1-22-1-50001";
  static constexpr const char* kMember = "S-1-22-1-50003";

  // Started. Rules keep /secret from the partner.
  ReplicationServer()
      : accounts_(
            {{kPartnerName, {kPartner}}, {"other", {"S-1-22-1-50002"}}, {"member", {kMember}}}) {
    server().Call("Kelvarion_Repository", "Create", {"Name=plain"});
    accounts_.SetRules({{"/", {{"*", "rw"}}}, {"/secret", {{kPartner, ""}}}});
    SetRole("master", false);
    SetReplication("yes", kPartner);
    EXPECT_TRUE(server().Ctl({"init"}).ok());
    // Who asks is a test's own module also in this location.
    const std::string file = server().File("server/conf/kelvarion.conf");
    WriteText(file, ReadText(file) +
                        "<Location /.kelvarion/replication>\nAuthType TestAccounts\n</Location>\n");
    server().Start();
  }

  const AccountRulesServer& accounts() const { return accounts_; }
  const RealServer& server() const { return accounts_.server; }
  // As slaves name it.
  std::string Name() const { return "127.0.0.1:" + std::to_string(server().CurrentPort()); }
  std::string Location(const std::string& rest) const {
    return server().base() + "/.kelvarion/replication" + rest;
  }

  void SetRole(const std::string& role, bool suspended) const {
    Replace("ormu.conf", "role = " + role + "\nsuspended = " + (suspended ? "yes" : "no") +
                             (role == "slave" ? "\nserver = other\nrepository = demo\n" : "\n"));
  }
  void SetReplication(const std::string& enabled, const std::string& replicator,
                      const std::string& repository = "demo") const {
    Replace("conf/Kelvarion-Replication.ini",
            "[general]\r\nenabled = " + enabled + "\r\n[replicators]\r\n" + replicator + " = *\r\n",
            repository);
  }
  // Makes a folder in the master.
  void Commit(const std::string& folder) const {
    const ProcessResult made =
        accounts_.Svn("admin", {"mkdir", "-m", folder, server().Url("demo/" + folder)});
    ASSERT_EQ(made.exit_code, 0) << made.all();
  }

 private:
  // Made in its folder, from which it has its access list.
  void Replace(const std::string& file, const std::string& text,
               const std::string& repository = "demo") const {
    const std::string path = server().root + "/" + repository + "/" + file;
    WriteText(path + ".new", text);
    std::filesystem::rename(path + ".new", path);
  }

  AccountRulesServer accounts_;
};

}  // namespace kelvarion::testing
