#include "ormu/service/requests.h"

#include <svn_error_codes.h>

#include "ormu/consistency.h"
#include "ormu/make_whole.h"
#include "ormu/slave_guard.h"
#include "ormu/slave_roles.h"
#include "ormu/status_json.h"
#include "ormu/synchronise.h"
#include "ormu/trust.h"
#include "platform/ormu/ormu.h"
#include "platform/security/inherited_access.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/text.h"
#include "svn/work_folder.h"

namespace kelvarion::ormu {
namespace {

// One request while it is worked on.
class Request {
 public:
  Request(const ServiceParts& parts, Followers& followers, const std::u16string& root,
          const WireJson& json, const svn::Cancellation& cancellation)
      : parts_(parts),
        followers_(followers),
        json_(json),
        cancellation_(cancellation),
        pool_(nullptr),
        root_(svn::DirentFromPath(root)) {}

  WireJson TestConnection();
  WireJson CreateSlave();
  WireJson AttachSlave();
  WireJson DeleteSlave();
  WireJson RenameSlave();
  WireJson PromoteSlave();
  WireJson DowngradeMaster();
  WireJson RelocateSlave();
  WireJson SyncSlave();
  WireJson CheckSlave();
  WireJson Status();

 private:
  std::string Text(const char* name) const { return json_.at(name).get<std::string>(); }
  std::string Name(const char* parameter = "name") const;
  std::string Folder() const { return svn::JoinDirent(root_, Name()); }
  svn::WorkFolder MakeWorkFolder() const;
  MasterSession& Connect(const std::string& server, const std::string& repository);
  svn::ReplicaRole RequireRole(bool master) const;
  MasterSession& ConnectToItsMaster();

  const ServiceParts& parts_;
  Followers& followers_;
  const WireJson& json_;
  const svn::Cancellation& cancellation_;
  const svn::Pool pool_;
  const std::string root_;
  std::optional<Followers::Visit> visit_;
  std::optional<MasterSession> session_;
};

// Whoever asks has checked more; here nothing may lead out of the root.
std::string Request::Name(const char* parameter) const {
  std::string name = Text(parameter);
  if (name.empty() || name.front() == '.' || name.find('/') != name.npos ||
      name.find('\0') != name.npos)
    svn::ThrowError(SVN_ERR_INCORRECT_PARAMS, Format(u"'%s' is not the name of a repository",
                                                     platform::Utf16ForDisplay(name)));
  return name;
}

svn::WorkFolder Request::MakeWorkFolder() const {
  return svn::WorkFolder(
      root_,
      [&log = parts_.log](const Exception& trouble) {
        log.Note(platform::Utf8ForDisplay(trouble.Message()));
      },
      pool_);
}

MasterSession& Request::Connect(const std::string& server, const std::string& repository) {
  return session_.emplace(Master{server, repository, RequireMaster(parts_.home, server)},
                          visit_ ? visit_->cancellation() : cancellation_, pool_);
}

svn::ReplicaRole Request::RequireRole(bool master) const {
  const auto role = svn::ReadReplicaRole(Folder(), pool_);
  if (!role || role->master != master) {
    const char16_t* const wanted = master ? u"master" : u"slave";
    svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                    Format(u"The repository '%s' is not a %s", svn::Utf16(Name()), wanted));
  }
  return *role;
}

MasterSession& Request::ConnectToItsMaster() {
  const svn::ReplicaRole role = RequireRole(false);
  return Connect(role.master_server, role.master_repository);
}

WireJson Request::TestConnection() {
  return {{"revisions", Connect(Text("server"), Text("repository")).Youngest()}};
}

WireJson Request::CreateSlave() {
  const std::string folder = Folder();
  MasterSession& master = Connect(Text("server"), Text("repository"));
  const svn::WorkFolder work = MakeWorkFolder();
  MakeEmptySlave(master, work.repository());
  const auto names = svn::LockNames(root_);
  RequireNothingAt(folder, pool_);  // Before it is taken from its follower.
  const Followers::Hold hold(followers_, Name(), cancellation_);
  MoveRepository(work.repository(), folder, pool_);
  return WireJson::object();
}

// It may have come with the access of where it was made.
WireJson Request::AttachSlave() {
  RequireRole(false);
  const Followers::Hold hold(followers_, Name(), cancellation_);
  const std::u16string path = svn::PathFromDirent(Folder());
  if (const Win32Error error = platform::InheritAccess(path, [this] { cancellation_.Check(); }))
    svn::ThrowSystemError(error, Format(u"Can't set the access of '%s'", path));
  MendGuard(Folder(), pool_);
  return WireJson::object();
}

WireJson Request::DeleteSlave() {
  RequireRole(false);
  const svn::WorkFolder work = MakeWorkFolder();
  const Followers::Hold hold(followers_, Name(), cancellation_);
  MoveRepository(Folder(), work.repository(), pool_);
  return WireJson::object();
}

// Who asks has the names of the root locked.
WireJson Request::RenameSlave() {
  RequireRole(false);
  const Followers::Hold hold(followers_, Name(), cancellation_);
  MoveRepository(Folder(), svn::JoinDirent(root_, Name("new_name")), pool_);
  return WireJson::object();
}

WireJson Request::PromoteSlave() {
  const Followers::Hold hold(followers_, Name(), cancellation_);
  RequireRole(false);
  TurnIntoMaster(Folder(), pool_, cancellation_);
  return WireJson::object();
}

WireJson Request::DowngradeMaster() {
  RequireRole(true);
  MasterSession& master = Connect(Text("server"), Text("repository"));
  const Followers::Hold hold(followers_, Name(), cancellation_);
  RequireRole(true);  // Still, after who had it before.
  TurnIntoSlave(master, Folder());
  return WireJson::object();
}

WireJson Request::RelocateSlave() {
  RequireRole(false);
  MasterSession& master = Connect(Text("server"), Text("repository"));
  const Followers::Hold hold(followers_, Name(), cancellation_);
  RequireRole(false);  // Still, after who had it before.
  RequireSameHistory(master, Folder());
  cancellation_.Check();
  Relocate(Folder(), Text("server"), Text("repository"), pool_);
  return WireJson::object();
}

WireJson Request::SyncSlave() {
  if (RequireRole(false).suspended)
    svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                    Format(u"The repository '%s' is suspended", svn::Utf16(Name())));
  visit_.emplace(followers_, Name(), cancellation_);
  MasterSession& master = ConnectToItsMaster();
  const std::int64_t youngest = master.Youngest();
  Synchronise(master, Folder(), youngest, [](std::int64_t) {});
  SynchroniseProperties(master, Folder(), 0, youngest);
  followers_.Wake(Name());
  return WireJson::object();
}

WireJson Request::CheckSlave() {
  MasterSession& master = ConnectToItsMaster();
  const std::int64_t youngest = YoungestRevision(Folder(), pool_);
  if (youngest > master.Youngest()) RequireSameHistory(master, Folder());
  CheckConsistency(master, Folder(), youngest);
  return WireJson::object();
}

WireJson Request::Status() {
  WireJson slaves = WireJson::array();
  for (const SlaveStatus& slave : followers_.Status()) slaves.push_back(StatusToJson(slave));
  return {{"slaves", std::move(slaves)}};
}

struct Row {
  const char* name;
  WireJson (Request::*run)();
};
constexpr Row kRequests[] = {
    {"test_connection", &Request::TestConnection},
    {"create_slave", &Request::CreateSlave},
    {"attach_slave", &Request::AttachSlave},
    {"delete_slave", &Request::DeleteSlave},
    {"rename_slave", &Request::RenameSlave},
    {"promote_slave", &Request::PromoteSlave},
    {"downgrade_master", &Request::DowngradeMaster},
    {"relocate_slave", &Request::RelocateSlave},
    {"sync_slave", &Request::SyncSlave},
    {"check_consistency", &Request::CheckSlave},
    {"status", &Request::Status},
};

}  // namespace

WireJson Requests::Answer(const WireJson& json, const svn::Cancellation& cancellation) const {
  const std::string name = json.at("request").get<std::string>();
  for (const Row& row : kRequests) {
    if (name != row.name) continue;
    Request request(parts_, followers_, root_(), json, cancellation);
    return (request.*row.run)();
  }
  svn::ThrowError(SVN_ERR_INCORRECT_PARAMS,
                  Format(u"There is no request '%s'", platform::Utf16ForDisplay(name)));
}

}  // namespace kelvarion::ormu
