// What is asked of the replication service. Making and changing stores is in replicated_stores.cpp.
#include "repos/replication.h"

#include <algorithm>
#include <initializer_list>

#include "errors/exception.h"
#include "platform/ormu/ormu.h"
#include "repos/engine_errors.h"
#include "repos/first_files.h"
#include "repos/master_name.h"
#include "repos/replication_location.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

bool IsOneOf(const ServerContext& context, const std::u16string& name,
             std::initializer_list<RepositoryType> types) {
  const RepositoryType type = GetRepositoryType(context, GetRepositoryPath(context, name));
  return std::find(types.begin(), types.end(), type) != types.end();
}

void RequireSlave(const ServerContext& context, const std::u16string& name) {
  if (IsOneOf(context, name, {RepositoryType::OrmuSlave})) return;
  throw SimpleException(u"This operation is supported only for slave ORMU repositories.");
}

const char* Home(const ServerContext& context) { return context.machine().home.c_str(); }

}  // namespace

std::uint32_t TestOrmuConnection(const ServerContext& context, const MasterAddress& master) {
  const svn::Pool pool(context.root_pool());
  const MasterName name(master);
  std::int64_t revisions = 0;
  CheckRequest(ormusvc_client_test_connection(Home(context), &revisions, name.server(),
                                              name.repository(), pool));
  return static_cast<std::uint32_t>(revisions);
}

void PromoteSlave(const ServerContext& context, const std::u16string& name,
                  const services::Warn& warn) {
  RequireSlave(context, name);
  const svn::Pool pool(context.root_pool());
  CheckRequest(ormusvc_client_promote_slave(Home(context), svn::Utf8(name).c_str(), pool));
  WriteMissingRules(svn::DirentFromPath(GetRepositoryPath(context, name)), Rules::kBoth, pool);
  UpdateReplicationLocation(context, warn);
}

void DowngradeMaster(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master, const services::Warn& warn) {
  if (!IsOneOf(context, name, {RepositoryType::OrmuMaster}))
    throw SimpleException(u"This operation is supported only for master ORMU repositories.");
  TestOrmuConnection(context, master);
  const svn::Pool pool(context.root_pool());
  const MasterName new_master(master);
  CheckRequest(ormusvc_client_downgrade_master(Home(context), svn::Utf8(name).c_str(),
                                               new_master.server(), new_master.repository(), pool));
  UpdateReplicationLocation(context, warn);
}

void RelocateSlave(const ServerContext& context, const std::u16string& name,
                   const MasterAddress& master) {
  const svn::Pool pool(context.root_pool());
  const MasterName new_master(master);
  CheckRequest(ormusvc_client_relocate_slave(Home(context), svn::Utf8(name).c_str(),
                                             new_master.server(), new_master.repository(), pool));
}

void AttachSlave(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  CheckRequest(ormusvc_client_attach_slave(Home(context), svn::Utf8(name).c_str(), pool));
}

void DeleteSlave(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  CheckRequest(ormusvc_client_delete_slave(Home(context), svn::Utf8(name).c_str(), pool));
}

void RenameSlave(const ServerContext& context, const std::u16string& old_name,
                 const std::u16string& new_name) {
  const svn::Pool pool(context.root_pool());
  CheckRequest(ormusvc_client_rename_slave(Home(context), svn::Utf8(old_name).c_str(),
                                           svn::Utf8(new_name).c_str(), pool));
}

void SyncSlave(const ServerContext& context, const std::u16string& name) {
  RequireSlave(context, name);
  const svn::Pool pool(context.root_pool());
  CheckRequest(ormusvc_client_sync_slave(Home(context), svn::Utf8(name).c_str(), pool));
}

void SetSuspended(const ServerContext& context, const std::u16string& name, bool suspended) {
  if (!IsOneOf(context, name, {RepositoryType::OrmuMaster, RepositoryType::OrmuSlave}))
    throw SimpleException(u"This operation is supported only for ORMU repositories.");
  const svn::Pool pool(context.root_pool());
  svn_repos_t* const repository = svn::OpenRepository(GetRepositoryPath(context, name), pool);
  svn::Check(ormu_set_suspended(repository, suspended, pool));
}

void CheckConsistency(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  CheckConsistencyRequest(
      ormusvc_client_check_consistency(Home(context), svn::Utf8(name).c_str(), pool), name);
}

ReplicationRole RoleOf(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  ormu_fs_info_t info{};
  try {
    svn_repos_t* const repository = svn::OpenRepository(GetRepositoryPath(context, name), pool);
    svn::Check(ormu_fs_info(&info, repository, pool));
  } catch (const SvnException&) {  // It can be removed and renamed all the same.
    return ReplicationRole::kNone;
  }
  if (!info.is_ormu) return ReplicationRole::kNone;
  return info.is_master ? ReplicationRole::kMaster : ReplicationRole::kSlave;
}

}  // namespace kelvarion::repos
