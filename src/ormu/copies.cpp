#include "ormu/copies.h"

#include <apr_uri.h>
#include <svn_io.h>
#include <svn_path.h>
#include <svn_repos.h>

#include <filesystem>
#include <vector>

#include "ormu/make_whole.h"
#include "ormu/slave_guard.h"
#include "ormu/slave_roles.h"
#include "platform/files/files.h"
#include "platform/ormu/ormu.h"
#include "platform/security/inherited_access.h"
#include "svn/error.h"
#include "svn/hidden_name.h"
#include "svn/remove_tree.h"
#include "svn/replica_role.h"
#include "svn/text.h"
#include "util/server_files.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;

// Copied files have the modes of their sources, which may shut out the web server here.
void Copy(const std::string& source, const std::string& target, CancelFunction cancel,
          const svn::Pool& scratch) {
  svn::Check(svn_repos_hotcopy3(source.c_str(), target.c_str(), FALSE, FALSE, nullptr, nullptr,
                                cancel.function, cancel.baton, scratch));
  const std::u16string folder = svn::PathFromDirent(target);
  const auto each = [&] {
    if (cancel.function) svn::Check(cancel.function(cancel.baton));
  };
  if (const Win32Error error = platform::InheritAccess(folder, each))
    svn::ThrowSystemError(error, Format(u"Cannot set the access to '%s'", folder));
}

void RemoveSetting(const std::string& folder, std::string_view name, const svn::Pool& scratch) {
  const std::string file = svn::JoinDirent(svn::JoinDirent(folder, "conf"), name);
  svn::Check(svn_io_remove_file2(file.c_str(), TRUE, scratch));
}

// All but the examples that come with every repository.
void RemoveHooks(const std::string& folder, const svn::Pool& scratch) {
  std::vector<fs::path> removed;
  for (const auto& entry : fs::directory_iterator(svn::JoinDirent(folder, "hooks")))
    if (entry.path().extension() != ".tmpl") removed.push_back(entry.path());
  for (const fs::path& hook : removed) svn::RemoveTree(hook, scratch);
}

struct Address {
  std::string server;
  std::string repository;
};

Address ParseAddress(const std::string& uri, const svn::Pool& scratch) {
  apr_uri_t parts;
  if (apr_uri_parse(scratch, uri.c_str(), &parts) != APR_SUCCESS || !parts.hostinfo ||
      !parts.path || parts.path[0] != '/' || !parts.path[1])
    svn::ThrowError(SVN_ERR_BAD_URL,
                    Format(u"'%s' is no address of a master", platform::Utf16ForDisplay(uri)));
  return {parts.hostinfo, svn_path_uri_decode(parts.path + 1, scratch)};
}

void RequireMaster(const std::string& folder, const svn::Pool& scratch) {
  const auto role = svn::ReadReplicaRole(folder, scratch);
  if (!role || !role->master)
    svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                    Format(u"'%s' is not a master", svn::PathFromDirent(folder)));
}

// Held by who makes the folder.
class UnfinishedLock {
 public:
  explicit UnfinishedLock(const std::string& folder)
      : path_(svn::PathFromDirent(svn::HiddenBeside(folder, "lock"))),
        lock_(path_, platform::IfLocked::kGiveUp) {
    if (lock_.Error() != ERROR_SUCCESS)
      svn::ThrowSystemError(lock_.Error(), Format(u"Can't make '%s'", svn::PathFromDirent(folder)));
  }
  ~UnfinishedLock() { platform::DeleteFile(path_); }
  UnfinishedLock(const UnfinishedLock&) = delete;
  UnfinishedLock& operator=(const UnfinishedLock&) = delete;

 private:
  const std::u16string path_;
  const platform::FileLock lock_;
};

}  // namespace

// Made under another name, so that a killed one is not taken for a seed.
void SpawnSlave(const std::string& destination, const std::string& master_uri,
                const std::string& master, CancelFunction cancel, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  const Address address = ParseAddress(master_uri, pool);
  RequireMaster(master, pool);
  RequireNothingAt(destination, pool);
  const UnfinishedLock lock(destination);
  const std::string part = svn::HiddenBeside(destination, "partial");
  MakeWhole(part, pool, [&] {
    svn::RemoveTree(part, pool);  // Of one that was killed.
    Copy(master, part, cancel, pool);
    // The master decides about access and locks; who may replicate is said anew after a promotion.
    for (const std::string_view name : {server_files::kWindowsRules, server_files::kDelegation,
                                        server_files::kReplication, server_files::kLock})
      RemoveSetting(part, name, pool);
    svn::RemoveTree(svn::JoinDirent(part, "db/locks"), pool);
    TurnIntoSlave(part, address.server, address.repository, pool);
    MoveRepository(part, destination, pool);
  });
}

void ImportMaster(const std::string& path, const std::string& source, ImportedSettings settings,
                  CancelFunction cancel, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  RequireNothingAt(path, pool);
  MakeWhole(path, pool, [&] {
    Copy(source, path, cancel, pool);
    for (const std::string_view name : {server_files::kReplication, server_files::kLock})
      RemoveSetting(path, name, pool);
    if (!settings.permissions)
      for (const std::string_view name :
           {server_files::kSubversionRules, server_files::kWindowsRules})
        RemoveSetting(path, name, pool);
    if (!settings.delegation) RemoveSetting(path, server_files::kDelegation, pool);
    TurnIntoMaster(path, pool);
    if (!settings.hooks) RemoveHooks(path, pool);
  });
}

}  // namespace kelvarion::ormu
