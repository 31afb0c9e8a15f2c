#include "ormu/revision_replay.h"

#include <svn_error_codes.h>
#include <svn_props.h>
#include <svn_ra.h>

#include "ormu/boundary.h"
#include "ormu/property_list.h"
#include "ormu/replay_editor.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

// One revision after the other, driven by the master's answer.
class RangeReplay {
 public:
  RangeReplay(const MasterSession& master, svn_repos_t* slave, const ReplayHooks& hooks)
      : fs_(svn_repos_fs(slave)), hooks_(hooks) {
    replay_.callback = &callback_;
    replay_.cancellation = &master.cancellation();
    replay_.on_node = hooks.on_node;
  }

  // Whatever became no revision is gone.
  ~RangeReplay() {
    // The next replicator removes what this one could not.
    if (transaction_) svn::Ignore(svn_fs_abort_txn(transaction_, transaction_pool_));
  }

  static svn_error_t* OnStart(svn_revnum_t revision, void* baton, const svn_delta_editor_t** editor,
                              void** edit_baton, apr_hash_t* properties, apr_pool_t* pool) {
    auto& self = *static_cast<RangeReplay*>(baton);
    *editor = ReplayEditor();
    *edit_baton = &self.replay_;
    return self.callback_.Run([&] { self.Begin(revision, properties, pool); });
  }

  static svn_error_t* OnFinish(svn_revnum_t revision, void* baton, const svn_delta_editor_t*, void*,
                               apr_hash_t*, apr_pool_t* pool) {
    auto& self = *static_cast<RangeReplay*>(baton);
    return self.callback_.Run([&] { self.Commit(revision, pool); });
  }

  // Throws what the slave did wrong, else what the master did.
  void CheckAfter(const MasterSession& master, svn_error_t* error) {
    if (!callback_.failed()) return master.Check(error);
    try {
      callback_.CheckAfter(error);
    } catch (const SvnException& failure) {
      if (!DoesNotFit(failure)) throw;
      ThrowOver(ORMU_ERR_DIVERGED,
                Format(u"Revision %s of the master does not fit what the slave has",
                       svn::Utf16(std::to_string(revision_))),
                svn_error_dup(failure.chain()));
    }
  }

 private:
  static bool DoesNotFit(const SvnException& failure) {
    return failure.Has(SVN_ERR_CHECKSUM_MISMATCH) || failure.Has(SVN_ERR_FS_NOT_FOUND) ||
           failure.Has(SVN_ERR_FS_ALREADY_EXISTS) || failure.Has(SVN_ERR_FS_CONFLICT) ||
           failure.Has(SVN_ERR_FS_NOT_DIRECTORY) || failure.Has(SVN_ERR_FS_NOT_FILE);
  }

  void RequireNext(svn_revnum_t revision, apr_pool_t* pool) const {
    svn_revnum_t youngest = SVN_INVALID_REVNUM;
    svn::Check(svn_fs_youngest_rev(&youngest, fs_, pool));
    if (youngest != revision - 1)
      svn::ThrowError(ORMU_ERR_DIVERGED,
                      u"Something else made a revision in the slave while it was synchronised");
  }

  void Begin(svn_revnum_t revision, apr_hash_t* properties, apr_pool_t* pool) {
    replay_.cancellation->Check();
    revision_ = revision;
    RequireNext(revision, pool);
    transaction_pool_ = pool;
    svn::Check(svn_fs_begin_txn2(&transaction_, fs_, revision - 1, SVN_FS_TXN_CLIENT_DATE, pool));
    properties_ = ReplicatedProperties(properties);
    apr_array_header_t* const list =
        apr_array_make(pool, static_cast<int>(properties_.size()), sizeof(svn_prop_t));
    for (const auto& [name, value] : properties_)
      APR_ARRAY_PUSH(list, svn_prop_t) = {name.c_str(),
                                          svn_string_ncreate(value.data(), value.size(), pool)};
    svn::Check(svn_fs_change_txn_props(transaction_, list, pool));
    svn::Check(svn_fs_txn_root(&replay_.root, transaction_, pool));
  }

  void Commit(svn_revnum_t revision, apr_pool_t* pool) {
    RequireNext(revision, pool);
    const char* conflict = nullptr;
    svn_revnum_t made = SVN_INVALID_REVNUM;
    svn_error_t* const error = svn_fs_commit_txn(&conflict, &made, transaction_, pool);
    if (!SVN_IS_VALID_REVNUM(made)) svn::Check(error);
    svn::Ignore(error);  // The revision is made; what could not be finished only costs room.
    transaction_ = nullptr;
    if (made != revision)
      svn::ThrowError(ORMU_ERR_DIVERGED,
                      u"Something else made a revision in the slave while it was synchronised");
    // A commit without a date gets the time at which it is made.
    if (!properties_.contains(SVN_PROP_REVISION_DATE))
      svn::Check(
          svn_fs_change_rev_prop2(fs_, revision, SVN_PROP_REVISION_DATE, nullptr, nullptr, pool));
    if (hooks_.on_committed) hooks_.on_committed(revision);
  }

  svn_fs_t* fs_;
  const ReplayHooks& hooks_;
  svn::Callback callback_;
  Replay replay_;
  svn_revnum_t revision_ = SVN_INVALID_REVNUM;
  svn_fs_txn_t* transaction_ = nullptr;
  apr_pool_t* transaction_pool_ = nullptr;
  RevisionProperties properties_;
};

}  // namespace

void ReplayRevisions(MasterSession& master, svn_repos_t* slave, std::int64_t first,
                     std::int64_t last, const ReplayHooks& hooks) {
  const svn::Pool pool(master.pool());
  RangeReplay replay(master, slave, hooks);
  replay.CheckAfter(
      master, svn_ra_replay_range(master.ra(), static_cast<svn_revnum_t>(first),
                                  static_cast<svn_revnum_t>(last), 0, TRUE, RangeReplay::OnStart,
                                  RangeReplay::OnFinish, &replay, pool));
}

RevisionProperties PropertiesOfRevision(svn_fs_t* fs, std::int64_t revision,
                                        const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  apr_hash_t* properties = nullptr;
  svn::Check(svn_fs_revision_proplist2(&properties, fs, static_cast<svn_revnum_t>(revision), TRUE,
                                       pool, pool));
  return ReplicatedProperties(properties);
}

void SetRevisionProperties(svn_fs_t* fs, std::int64_t revision, const RevisionProperties& wanted,
                           const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  const RevisionProperties present = PropertiesOfRevision(fs, revision, pool);
  const auto set = [&](const std::string& name, const svn_string_t* value) {
    svn::Check(svn_fs_change_rev_prop2(fs, static_cast<svn_revnum_t>(revision), name.c_str(),
                                       nullptr, value, pool));
  };
  for (const auto& [name, value] : present)
    if (!wanted.contains(name)) set(name, nullptr);
  for (const auto& [name, value] : wanted) {
    const auto old = present.find(name);
    if (old == present.end() || old->second != value)
      set(name, svn_string_ncreate(value.data(), value.size(), pool));
  }
}

void RemoveTransactions(svn_fs_t* fs, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  apr_array_header_t* names = nullptr;
  svn::Check(svn_fs_list_transactions(&names, fs, pool));
  for (int i = 0; i < names->nelts; ++i)
    svn::Check(svn_fs_purge_txn(fs, APR_ARRAY_IDX(names, i, const char*), pool));
}

}  // namespace kelvarion::ormu
