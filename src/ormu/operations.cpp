// The storage library's own operations of platform/ormu/ormu.h.

#include <svn_fs.h>
#include <svn_repos.h>

#include "ormu/boundary.h"
#include "ormu/copies.h"
#include "ormu/slave_guard.h"
#include "ormu/slave_roles.h"
#include "platform/ormu/ormu.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

using kelvarion::Format;
using kelvarion::ormu::AtBoundary;
namespace ormu = kelvarion::ormu;
namespace svn = kelvarion::svn;

namespace {

void DescribeRole(ormu_fs_info_t& info, svn_repos_t* repository, apr_pool_t* pool) {
  info = {};
  const auto role = svn::ReadReplicaRole(svn_repos_path(repository, pool), svn::Pool(pool));
  if (!role) return;
  info.is_ormu = true;
  info.is_master = role->master;
  info.is_suspended = role->suspended;
  if (role->master) return;
  info.master_server = apr_pstrdup(pool, role->master_server.c_str());
  info.master_repository = apr_pstrdup(pool, role->master_repository.c_str());
}

svn::ReplicaRole Master() {
  svn::ReplicaRole role;
  role.master = true;
  return role;
}

void CreateMaster(const char* path, const svn::Pool& pool) {
  svn::CreateRepository(svn::PathFromDirent(path), pool);
  svn::WriteReplicaRole(path, Master(), pool);
}

void SetSuspended(svn_repos_t* repository, bool suspended, const svn::Pool& pool) {
  const std::string folder = svn_repos_path(repository, pool);
  const auto change = [&](std::optional<svn::ReplicaRole> role) {
    if (!role)
      svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                      Format(u"'%s' does not replicate", svn::PathFromDirent(folder)));
    role->suspended = suspended;
    return *role;
  };
  svn::ChangeReplicaRole(folder, change, pool);
}

void ConvertToMaster(const char* path, const svn::Pool& pool) {
  svn::OpenRepository(svn::PathFromDirent(path), pool);
  ormu::MendGuard(path, pool);
  const auto change = [&](const std::optional<svn::ReplicaRole>& role) {
    if (role)
      svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                      Format(u"'%s' replicates already", svn::PathFromDirent(path)));
    return Master();
  };
  svn::ChangeReplicaRole(path, change, pool);
}

void ConvertToPlain(const char* path, const svn::Pool& pool) {
  if (!svn::ReadReplicaRole(path, pool))
    svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                    Format(u"'%s' does not replicate", svn::PathFromDirent(path)));
  ormu::TurnIntoPlain(path, pool);
}

}  // namespace

svn_error_t* ormu_fs_info(ormu_fs_info_t* info, svn_repos_t* repository, apr_pool_t* pool) {
  return AtBoundary([&] { DescribeRole(*info, repository, pool); });
}

svn_error_t* ormu_create_master(const char* path, apr_pool_t* pool) {
  return AtBoundary([&] { CreateMaster(path, svn::Pool(pool)); });
}

svn_error_t* ormu_set_suspended(svn_repos_t* repository, bool suspended, apr_pool_t* pool) {
  return AtBoundary([&] { SetSuspended(repository, suspended, svn::Pool(pool)); });
}

svn_error_t* ormu_spawn_slave(const char* destination, const char* master_uri, const char* path,
                              ormu_cancel_func_t cancel, void* cancel_baton, apr_pool_t* pool) {
  return AtBoundary([&] {
    ormu::SpawnSlave(destination, master_uri, path, {cancel, cancel_baton}, svn::Pool(pool));
  });
}

svn_error_t* ormu_import_master(const char* path, const char* source, bool permissions,
                                bool delegation, bool hooks, ormu_cancel_func_t cancel,
                                void* cancel_baton, apr_pool_t* pool) {
  return AtBoundary([&] {
    ormu::ImportMaster(path, source, {permissions, delegation, hooks}, {cancel, cancel_baton},
                       svn::Pool(pool));
  });
}

svn_error_t* ormu_convert_to_ormu(const char* path, apr_pool_t* pool) {
  return AtBoundary([&] { ConvertToMaster(path, svn::Pool(pool)); });
}

svn_error_t* ormu_convert_to_fsfs(const char* path, apr_pool_t* pool) {
  return AtBoundary([&] { ConvertToPlain(path, svn::Pool(pool)); });
}
