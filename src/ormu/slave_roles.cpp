#include "ormu/slave_roles.h"

#include <svn_fs.h>
#include <svn_repos.h>

#include <functional>

#include "ormu/make_whole.h"
#include "ormu/revision_replay.h"
#include "ormu/slave_guard.h"
#include "ormu/synchronise.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

svn::ReplicaRole SlaveOf(const std::string& server, const std::string& repository) {
  svn::ReplicaRole role;
  role.master_server = server;
  role.master_repository = repository;
  return role;
}

void WriteRole(const std::string& folder, const std::optional<svn::ReplicaRole>& role,
               const svn::Pool& scratch) {
  if (role)
    svn::WriteReplicaRole(folder, *role, scratch);
  else
    svn::RemoveReplicaRole(folder, scratch);
}

// Runs the steps of a change of roles, for whoever has the right to it; a failure leaves the old
// role and its guard.
void ChangeRole(const std::string& folder, SlaveWriteAccess& access, const svn::Pool& scratch,
                const std::function<void()>& steps) {
  const auto old = svn::ReadReplicaRole(folder, scratch);
  try {
    steps();
  } catch (const Exception& failure) {
    svn_error_t* const undone = AtBoundary([&] {
      WriteRole(folder, old, scratch);
      access.Mend();
      if (!old || old->master) RemoveGuardHooks(folder, scratch);
    });
    svn::Check(svn_error_compose_create(ChainOf(failure), undone));
  }
}

// The lock comes back first: a kill then leaves a slave that is guarded by its hooks, rather than a
// repository that nobody can write to.
void LeaveRole(const std::string& folder, const std::optional<svn::ReplicaRole>& next,
               const svn::Pool& scratch, const svn::Cancellation& cancellation) {
  SlaveWriteAccess access(folder, cancellation, scratch);
  ChangeRole(folder, access, scratch, [&] {
    WriteRole(folder, next, scratch);
    RemoveGuardHooks(folder, scratch);
  });
}

struct Closing {
  svn::Callback callback;
  std::function<void()> close;
};

// Runs it while nobody can commit; who waits for that by then fails afterwards.
void WhileFrozen(svn_fs_t* fs, const svn::Pool& scratch, std::function<void()> close) {
  Closing closing{{}, std::move(close)};
  const auto run = [](void* baton, apr_pool_t*) {
    auto& frozen = *static_cast<Closing*>(baton);
    return frozen.callback.Run(frozen.close);
  };
  closing.callback.CheckAfter(svn_fs_freeze(fs, run, &closing, scratch));
}

void RequireYoungest(svn_fs_t* fs, std::int64_t revision, const svn::Pool& scratch) {
  svn_revnum_t youngest = 0;
  svn::Check(svn_fs_youngest_rev(&youngest, fs, scratch));
  if (youngest != revision)
    svn::ThrowError(ORMU_ERR_DIVERGED, u"The repository was committed to meanwhile");
}

// With `youngest` only if the repository has no other revision than that.
void BecomeSlave(const std::string& folder, const svn::ReplicaRole& role,
                 std::optional<std::int64_t> youngest, const svn::Pool& scratch,
                 const svn::Cancellation& cancellation) {
  SlaveWriteAccess access(folder, cancellation, scratch);
  ChangeRole(folder, access, scratch, [&] {
    const svn::Pool pool(scratch);
    svn_fs_t* const fs = svn_repos_fs(svn::OpenRepository(svn::PathFromDirent(folder), pool));
    // Hooks do nothing until there is a role, and then at once; a commit that is already past them
    // does not get the lock, or has nothing left to commit.
    InstallGuardHooks(folder, pool);
    WhileFrozen(fs, pool, [&] {
      if (youngest) RequireYoungest(fs, *youngest, pool);
      svn::WriteReplicaRole(folder, role, pool);
      CloseStore(folder);
      RemoveTransactions(fs, pool);
    });
  });
}

// What a new repository has before its first revision.
void TakeIdentity(svn_fs_t* fs, MasterSession& master, const svn::Pool& pool) {
  svn::Check(svn_fs_set_uuid(fs, master.uuid().c_str(), pool));
  SetRevisionProperties(fs, 0, master.PropertiesOf(0), pool);
}

}  // namespace

void TurnIntoSlave(const std::string& folder, const std::string& server,
                   const std::string& repository, const svn::Pool& scratch) {
  BecomeSlave(folder, SlaveOf(server, repository), std::nullopt, scratch,
              {[] { return false; }, u""});
}

void TurnIntoSlave(MasterSession& master, const std::string& folder) {
  const std::int64_t youngest = RequireSameHistory(master, folder);
  BecomeSlave(folder, SlaveOf(master.master().server, master.master().repository), youngest,
              svn::Pool(master.pool()), master.cancellation());
}

void MakeEmptySlave(MasterSession& master, const std::string& folder) {
  const svn::Pool pool(master.pool());
  MakeWhole(folder, pool, [&] {
    svn_repos_t* const made = svn::CreateRepository(svn::PathFromDirent(folder), pool);
    TakeIdentity(svn_repos_fs(made), master, pool);
    TurnIntoSlave(folder, master.master().server, master.master().repository, pool);
  });
}

void TurnIntoMaster(const std::string& folder, const svn::Pool& scratch,
                    const svn::Cancellation& cancellation) {
  svn::ReplicaRole master;
  master.master = true;
  LeaveRole(folder, master, scratch, cancellation);
}

void TurnIntoPlain(const std::string& folder, const svn::Pool& scratch) {
  LeaveRole(folder, std::nullopt, scratch, {[] { return false; }, u""});
}

void Relocate(const std::string& folder, const std::string& server, const std::string& repository,
              const svn::Pool& scratch) {
  const auto change = [&](const std::optional<svn::ReplicaRole>& old) {
    if (!old || old->master)
      svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                      Format(u"'%s' is not a slave", svn::PathFromDirent(folder)));
    svn::ReplicaRole role = SlaveOf(server, repository);
    role.suspended = old->suspended;
    return role;
  };
  svn::ChangeReplicaRole(folder, change, scratch);
}

}  // namespace kelvarion::ormu
