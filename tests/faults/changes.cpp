#include "tests/faults/changes.h"

#include <iterator>

#include "tests/support/certificate_authority.h"
#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

const std::string kDump = KELVARION_SOURCE_DIR "/tests/faults/import.dump";
const std::string kService = "Kelvarion_Service.Name=\"KelvarionServer\"";
const std::string kOrmu = "Kelvarion_OrmuService.Name=\"ormusvc\"";
const std::string kRepository = "Kelvarion_Repository";
const std::string kDemo = "Kelvarion_Repository.Name=\"demo\"";
const std::string kCopy = "Kelvarion_Repository.Name=\"copy\"";

Words Call(const std::string& path, const std::string& method, Words parameters = {}) {
  parameters.insert(parameters.begin(), {"call", path, method});
  return parameters;
}

// Accounts of the machine as a parameter.
std::string Accounts(const std::string& parameter, const std::vector<std::string>& sids) {
  Json accounts = Json::array();
  for (const std::string& sid : sids)
    accounts.push_back({{"__CLASS", "Kelvarion_WindowsAccount"}, {"SID", sid}});
  return parameter + ":=" + accounts.dump();
}

Words Create(const std::string& name) { return {"repository", "create", name}; }
Words Remove(const std::string& name) { return {"repository", "remove", "--yes", name}; }
Words Rename(const std::string& from, const std::string& to) {
  return Call(kRepository, "Rename", {"OldName=" + from, "NewName=" + to});
}
Words Import(const std::string& path, int mode) {
  return Call(kRepository, "ImportRepository",
              {"Name=new", "ImportPath=" + path, "ImportMode=" + std::to_string(mode)});
}
Words Hook(int kind, const std::string& script) {
  return Call(kDemo, "SetHook",
              {"Kind=" + std::to_string(kind), "Hook=#!/bin/sh\n" + script + "\n"});
}
Words Folders(const std::string& method, const std::string& folder) {
  return Call(kDemo, method, {"Folders:=[\"" + folder + "\"]", "Message=a change"});
}
Words User(const std::string& name) {
  return Call("Kelvarion_User", "Create", {"Name=" + name, "Password=first"});
}
Words Rule(const std::string& method, const std::string& account) {
  return Call("Kelvarion_AccessRule", method,
              {"Repository=demo", "Path=/trunk", "Account=" + account, "Access=2"});
}
Words Member(const std::string& method, const std::string& account) {
  return Call("Kelvarion_GroupMember", method, {"Group=team", "Members:=[\"" + account + "\"]"});
}

const Words kMachineAccounts =
    Call(kService, "SetAuthenticationOptions",
         {"AuthType=1", "WindowsBasic=true", "WindowsIntegrated=false", "UseUPNFormat=false"});
const Words kMaster = Call(kRepository, "CreateOrmuMaster", {"Name=master"});
const std::vector<std::string> kNobody = {"S-1-22-1-65534"};

// A repository elsewhere, which slaves can follow, and a slave of it.
const std::vector<Words> kTrust = {
    {"run", "mkdir", "{folder}/masters"},
    {"run", "svnadmin", "create", "{folder}/masters/demo"},
    {"run", "svn", "mkdir", "-qm", "trunk", "file://{folder}/masters/demo/trunk"},
    Call("Kelvarion_TrustedMaster", "Trust", {"Server=m.test", "Url=file://{folder}/masters"})};
const Words kSlave = Call(kRepository, "CreateOrmuSlave",
                          {"Name=copy", "MasterServer=m.test", "MasterRepository=demo"});

std::vector<Words> Following(const std::vector<Words>& more) {
  std::vector<Words> all = kTrust;
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

// What the server is told about itself.
std::vector<Change> OfSettings() {
  return {
      {.name = "Setting",
       .command = {"settings", "set", "ServerName", "new.example"},
       .in_steps = true},
      {.name = "ServerName",
       .command =
           Call(kService, "SetServerName", {"UseCustom=true", "CustomServerName=new.example"}),
       .in_steps = true},
      {.name = "NetworkOptions",
       .command =
           Call(kService, "SetNetworkOptions",
                {"Port=4443", "UseSecureConnection=true", "ListenIPAddressesArray:=[\"::1\"]"}),
       .in_steps = true},
      {.name = "AuthenticationOptions", .command = kMachineAccounts, .in_steps = true},
      {.name = "LoggingOptions",
       .command = Call(kService, "SetLoggingOptions",
                       {"EnableAccessLogging=true", "EnableOperationalLogging=true"}),
       .in_steps = true},
      {.name = "UrlPrefixAndStartPages",
       .command = Call(kService, "SetRepositoriesURLPrefix", {"RepositoriesURLPrefix=/new"}),
       .in_steps = true},
      {.name = "WebInterfaceOptions",
       .command =
           Call(kService, "SetWebInterfaceOptions", {"RedirectFromLegacyWebInterface=false"}),
       .in_steps = true},
      {.name = "RepositoriesRoot",
       .command = Call(
           kService, "SetRepositoriesRoot",
           {"RepositoriesRoot={folder}/elsewhere", "ForceCreate=true", "AdjustPermissions=true"}),
       .in_steps = true},
      {.name = "Configuration",
       .command = Call("PS_SvnServerConfiguration", "Set",
                       {"ServerName=new.example", "RepositoriesURLPrefix=/new", "ListenPort=4443",
                        "EnableSSL=true", "AuthenticationMode=1", "EnableAccessLogging=true"}),
       .in_steps = true},
  };
}

// What else belongs to the server.
std::vector<Change> OfTheHome() {
  static CertificateAuthority authority;
  authority.Make("new.example", "", kServer);
  return {
      {.name = "SuppliedCertificate",
       .command = Call(kService, "ImportCertificate",
                       {"Base64Certificate=" + authority.Text("new.example.pem new.example.key")}),
       .in_steps = true},
      {.name = "CertificateMadeAnew",
       .command =
           Call(kService, "CreateSelfSignedCertificate", {"CommonName=new.example", "Days=9"}),
       .in_steps = true},
      {.name = "Administrators",
       .command = Call(kService, "SetServerAdmins", {Accounts("Admins", kNobody)}),
       .in_steps = true},
      {.name = "Supervisors",
       .command = Call(kService, "SetRepositorySupervisors", {Accounts("Supervisors", kNobody)})},
      {.name = "Partners",
       .command = Call(kOrmu, "SetReplicationPartners", {Accounts("Partners", kNobody)})},
      {.name = "StartMode", .command = Call(kOrmu, "ChangeStartMode", {"StartMode=4"})},
      {.name = "Repair",
       // Warnings of what is no fault are left.
       .command = {"run", "sh", "-c",
                   KELVARION_BUILD_DIR
                   "/bin/kelvarionctl --home {folder}/home doctor --fix; test $? = 3"},
       .before = {{"run", "sh", "-c",
                   "cd {folder}/home; chmod 644 server/certs/server.pem; >server/conf/httpd.conf; "
                   "rm server/htdocs/index.html repositories/demo/hooks/post-commit"}},
       .in_steps = true},
      {.name = "Home",
       .command = {"init", "--port", "8888", "--ssl-port", "8889"},
       .before = {{"run", "rm", "-r", "{folder}/home"}},
       .in_steps = true},
      {.name = "Registration",
       .command = {"registration", "remove"},
       .undo = {{"registration", "install"}},
       .in_steps = true},
  };
}

// Users and groups.
std::vector<Change> OfAccounts() {
  return {
      {.name = "UserCreation",
       .command = User("new"),
       .undo = {Call("Kelvarion_User", "Delete", {"Name=new"})}},
      {.name = "Password",
       .command = Call("Kelvarion_User.Name=\"alice\"", "SetPassword", {"Password=second"})},
      {.name = "UserDeletion",
       .command = Call("Kelvarion_User", "Delete", {"Name=alice"}),
       .undo = {User("alice")},
       .in_steps = true},
      {.name = "GroupCreation",
       .command = Call("Kelvarion_Group", "Create",
                       {"Name=new", "Members:=" + RealServer::MemberPaths({"alice"})}),
       .undo = {Call("Kelvarion_Group", "Delete", {"Name=new"})}},
      {.name = "GroupDeletion",
       .command = Call("Kelvarion_Group", "Delete", {"Name=team"}),
       .in_steps = true},
      {.name = "Members",
       .command = Call("Kelvarion_Group.Name=\"team\"", "SetMembers",
                       {"Members:=" + RealServer::MemberPaths({"bob"})})},
      {.name = "NewMember", .command = Member("Add", "bob")},
      {.name = "FormerMember", .command = Member("Remove", "alice")},
  };
}

// Who may do what.
std::vector<Change> OfRules() {
  return {
      {.name = "Rules",
       .command = RealServer::SetRules("demo", "/", {{"alice", 2}, {"@team", 1}, {"*", 0}}, true)},
      {.name = "NewRule", .command = Rule("Add", "bob")},
      {.name = "FormerRule",
       .command = Call("Kelvarion_AccessRule", "Remove",
                       {"Repository=demo", "Path=/trunk", "Account=alice"})},
      {.name = "RulesForMachineAccounts",
       .command = RealServer::SetRules("demo", "/trunk", {{kNobody[0], 2}}),
       .before = {kMachineAccounts}},
      {.name = "RulesForAllRepositories",
       .command = Call(kRepository, "SetGlobalSecurity",
                       {R"(Permissions:=[{"__CLASS":"Kelvarion_PermissionEntry","AccessLevel":1,)"
                        R"("Account":{"__CLASS":"Kelvarion_Everyone"}}])"}),
       .before = {kMachineAccounts}},
      {.name = "Delegation",
       .command =
           Call(kDemo, "SetDelegationSettings", {"Enabled=true", Accounts("Managers", kNobody)})},
      {.name = "ReplicationSettings",
       .command = Call("Kelvarion_Repository.Name=\"master\"", "SetReplicationSettings",
                       {"Enabled=true", Accounts("Replicators", kNobody)}),
       .before = {kMaster}},
      {.name = "TrustInMaster",
       .command = Call("Kelvarion_TrustedMaster", "Trust", {"Server=new.test", "Scheme=svn"}),
       .in_steps = true},
      {.name = "NoTrustInMaster",
       .command = Call("Kelvarion_TrustedMaster.Server=\"m.test\"", "Forget"),
       .before = kTrust,
       .undo = {kTrust.back()}},
  };
}

// Repositories as a whole.
std::vector<Change> OfRepositories() {
  return {
      {.name = "Creation",
       .command = Call(kRepository, "Create", {"Name=new"}),
       .undo = {Remove("new")}},
      {.name = "MasterCreation",
       .command = Call(kRepository, "CreateOrmuMaster", {"Name=new"}),
       .undo = {Remove("new")},
       .in_steps = true},
      {.name = "Renaming", .command = Rename("demo", "new"), .undo = {Rename("new", "demo")}},
      {.name = "Deletion",
       .command = Call(kRepository, "Delete", {"Name=empty"}),
       .undo = {Create("empty")}},
      {.name = "ImportOfDump",
       .command = Import(kDump, 1),
       .undo = {Remove("new")},
       .contents = true},
      {.name = "ImportOfFolder",
       .command = Import("{folder}/home/repositories/demo", 0),
       .undo = {Remove("new")},
       .contents = true},
      {.name = "ImportAsMaster",
       .command = Call(kRepository, "ImportOrmuMaster",
                       {"Name=new", "ImportPath={folder}/home/repositories/demo",
                        "ImportHooks=true", "ImportDelegation=true", "ImportPermissions=true"}),
       .undo = {Remove("new")},
       .in_steps = true,
       .contents = true},
      {.name = "Upgrade",
       .command = Call("Kelvarion_Repository.Name=\"old\"", "Upgrade"),
       .before = {{"run", "svnadmin", "create", "--compatible-version", "1.6",
                   "{folder}/home/repositories/old"}},
       .in_steps = true,
       .contents = true},
  };
}

// What is in repositories, and copies of it.
std::vector<Change> OfContents() {
  return {
      {.name = "NewFolders",
       .command = Folders("CreateFolders", "/branches"),
       .undo = {Folders("DeleteFolders", "/branches")},
       .contents = true},
      {.name = "FormerFolders",
       .command = Folders("DeleteFolders", "/trunk"),
       .undo = {Folders("CreateFolders", "/trunk")},
       .contents = true},
      {.name = "NewHook", .command = Hook(4, "exit 1"), .in_steps = true},
      {.name = "Hook", .command = Hook(0, "exit 1")},
      {.name = "FormerHook", .command = Call(kDemo, "DeleteHook", {"Kind=0"}), .in_steps = true},
      {.name = "Backup",
       .command =
           Call("Kelvarion_RepositoryBackup", "Create", {"Name=demo", "Path={folder}/backup"}),
       .undo = {{"run", "rm", "-r", "{folder}/backup"}},
       .contents = true},
      {.name = "Restoration",
       .command =
           Call("Kelvarion_RepositoryBackup", "Restore", {"Name=new", "Path={folder}/backup"}),
       .before = {Call("Kelvarion_RepositoryBackup", "Create",
                       {"Name=demo", "Path={folder}/backup"})},
       .undo = {Remove("new")},
       .contents = true},
      {.name = "Seed",
       .command = Call("Kelvarion_Repository.Name=\"master\"", "ExportReplicationSeed",
                       {"DestinationPath={folder}/seed"}),
       .before = {kMaster},
       .undo = {{"run", "rm", "-r", "{folder}/seed"}},
       .contents = true},
  };
}

// What repositories are to others.
std::vector<Change> OfRoles() {
  return {
      {.name = "ConversionToMaster",
       .command = Call(kDemo, "ConvertToOrmu"),
       .undo = {Call(kDemo, "ConvertToFsfs")},
       .in_steps = true},
      {.name = "ConversionToFsfs",
       .command = Call("Kelvarion_Repository.Name=\"master\"", "ConvertToFsfs"),
       .before = {kMaster},
       .undo = {Call("Kelvarion_Repository.Name=\"master\"", "ConvertToOrmu")},
       .in_steps = true},
      {.name = "Suspension",
       .command = Call("PS_SvnRepository.Name=\"master\"", "Suspend"),
       .before = {kMaster}},
  };
}

// What runs. Only the web server has a command that waits until it is done.
std::vector<Change> OfProcesses() {
  const std::string status = "Kelvarion_ServerStatus";
  return {
      {.name = "Start",
       .command = Call(status, "Start"),
       .undo = {Call(status, "Stop")},
       .programs = {"kelvarion-supervisor"}},
      {.name = "Stop",
       .command = Call(status, "Stop"),
       .undo = {Call(status, "Start")},
       .runs = Runs::kWebServer,
       .programs = {"kelvarion-supervisor"}},
  };
}

// What the replication service has a part in.
std::vector<Change> OfSlaves() {
  const std::vector<Words> slave = Following({kSlave, {"replication", "sync", "copy"}});
  return {
      {.name = "SlaveCreation",
       .command = kSlave,
       .before = kTrust,
       .undo = {Remove("copy")},
       .in_steps = true,
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "SlaveImport",
       .command = Import("{folder}/seed", 0),
       .before =
           Following({kSlave,
                      {"replication", "sync", "copy"},
                      {"run", "cp", "-a", "{folder}/home/repositories/copy", "{folder}/seed"}}),
       .undo = {Remove("new")},
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "SlaveRenaming",
       .command = Rename("copy", "new"),
       .before = slave,
       .undo = {Rename("new", "copy")},
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "SlaveDeletion",
       .command = Call(kRepository, "Delete", {"Name=copy"}),
       .before = slave,
       .undo = {kSlave},
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "Promotion",
       .command = Call(kCopy, "PromoteToOrmuMaster"),
       .before = slave,
       .undo = {{"replication", "downgrade", "copy", "m.test", "demo"}},
       .in_steps = true,
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "Downgrading",
       .command = Call("PS_SvnRepository.Name=\"copy\"", "Switch",
                       {"Role=1", "MasterServer=m.test", "MasterRepository=demo"}),
       .before =
           Following({kSlave, {"replication", "sync", "copy"}, {"replication", "promote", "copy"}}),
       .undo = {{"replication", "promote", "copy"}},
       .in_steps = true,
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
      {.name = "ChangeOfMaster",
       .command = Call(kCopy, "ChangeMasterTo", {"MasterServer=n.test", "MasterRepository=demo"}),
       .before = Following({Call("Kelvarion_TrustedMaster", "Trust",
                                 {"Server=n.test", "Url=file://{folder}/masters"}),
                            kSlave,
                            {"replication", "sync", "copy"}}),
       .runs = Runs::kReplicationService,
       .programs = {"ormusvc"}},
  };
}

}  // namespace

const std::vector<Words>& FirstChanges() {
  static const std::vector<Words> changes = {
      Create("demo"),
      Create("empty"),
      User("alice"),
      User("bob"),
      {"group", "create", "team", "alice"},
      Hook(0, "exit 0"),
      Folders("CreateFolders", "/trunk"),
      RealServer::SetRules("demo", "/trunk", {{"alice", 1}, {"@team", 2}}),
  };
  return changes;
}

const std::vector<Change>& Changes() {
  static const std::vector<Change> changes = [] {
    std::vector<Change> all;
    for (const auto& group : {OfSettings(), OfTheHome(), OfAccounts(), OfRules(), OfRepositories(),
                              OfContents(), OfRoles(), OfProcesses(), OfSlaves()})
      std::ranges::copy(group, std::back_inserter(all));
    return all;
  }();
  return changes;
}

const std::vector<Exemption>& Exemptions() {
  static const std::vector<Exemption> exemptions = {
      {"reads",
       {"Kelvarion_AccessRule.Select",
        "Kelvarion_EffectiveAccess.Explain",
        "Kelvarion_Group.GetMembers",
        "Kelvarion_OrmuService.GetReplicationPartners",
        "Kelvarion_Repository.GetImportSourceType",
        "Kelvarion_Repository.TestOrmuConnection",
        "Kelvarion_Repository.GetChildren",
        "Kelvarion_Repository.HasCapability",
        "Kelvarion_Repository.GetHook",
        "Kelvarion_Repository.GetSecurity",
        "Kelvarion_Repository.GetGlobalSecurity",
        "Kelvarion_Repository.GetDelegationSettings",
        "Kelvarion_Repository.GetReplicationSettings",
        "Kelvarion_Repository.CheckReplicationConsistency",
        "Kelvarion_Repository.GetSize",
        "Kelvarion_ServerCertificate.Check",
        "Kelvarion_Service.GetCertificateInformation",
        "Kelvarion_Service.ValidateCertificate",
        "Kelvarion_Service.CreateCertificateRequest",
        "Kelvarion_Service.GetRepositorySupervisors",
        "Kelvarion_Service.GetServerAdmins",
        "Kelvarion_TrustedMaster.GetCertificate",
        "PS_SvnAccessRule.SelectByRepositoryName",
        "PS_SvnAccessRule.SelectByRepositoryObject",
        "PS_SvnRepository.GetReplication",
        "PS_SvnRepository.Test",
        "PS_SvnRepository.Measure",
        "PS_SvnServerConfiguration.Get"}},
      {"keeps nothing", {"Kelvarion_Activity.Cancel"}},
      {"is what the row Repair calls", {"Kelvarion_Finding.Repair"}},
      {"does what the rows Start and Stop do, without waiting or for another service",
       {"Kelvarion_OrmuService.StartService", "Kelvarion_OrmuService.StopService",
        "Kelvarion_Service.StartService", "Kelvarion_Service.StopService",
        "Kelvarion_Service.RestartService", "Kelvarion_ServerStatus.Restart"}},
      {"does what NewRule and RulesForAllRepositories do",
       {"PS_SvnAccessRule.AddByRepositoryName", "PS_SvnAccessRule.AddByRepositoryObject",
        "PS_SvnAccessRule.AddByGlobal", "PS_SvnAccessRule.AddByRule", "PS_SvnAccessRule.Set"}},
      {"does what FormerRule does", {"PS_SvnAccessRule.Remove"}},
      {"does what the rows of Kelvarion_Repository do",
       {"PS_SvnRepository.Create", "PS_SvnRepository.Remove", "PS_SvnRepository.Rename",
        "PS_SvnRepository.SetReplication", "PS_SvnRepository.Convert", "PS_SvnRepository.Set",
        "PS_SvnRepository.Import", "PS_SvnRepositoryHook.AddByRepositoryName",
        "PS_SvnRepositoryHook.AddByRepositoryObject", "PS_SvnRepositoryHook.AddByHook",
        "PS_SvnRepositoryHook.Set", "PS_SvnRepositoryHook.Remove",
        "PS_SvnRepositoryItem.CreateByRepositoryName",
        "PS_SvnRepositoryItem.CreateByRepositoryObject",
        "PS_SvnRepositoryItem.RemoveByRepositoryName",
        "PS_SvnRepositoryItem.RemoveByRepositoryObject"}},
      {"does what Suspension does", {"PS_SvnRepository.Resume"}},
      {"only waits for what the service does by itself", {"PS_SvnRepository.Sync"}},
  };
  return exemptions;
}

}  // namespace kelvarion::testing
