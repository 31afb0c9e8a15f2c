#include "ormu/synchronise.h"

#include <svn_props.h>
#include <svn_ra.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "ormu/boundary.h"
#include "ormu/bulk_load.h"
#include "ormu/property_list.h"
#include "ormu/revision_record.h"
#include "ormu/revision_replay.h"
#include "ormu/slave_guard.h"
#include "platform/ormu/ormu.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

// Fewer do not pay for what a bulk load does first and last.
constexpr std::int64_t kRevisionsOfBulk = 50;
// Of the first stores; the youngest revision is noted with more than its number.
constexpr int kLastOldFormat = 3;

svn_repos_t* Open(const std::string& folder, const svn::Pool& pool,
                  svn::Flushing flushing = svn::Flushing::kEachRevision) {
  return svn::OpenRepository(svn::PathFromDirent(folder), pool, nullptr, svn::Caching::kContents,
                             flushing);
}

std::int64_t YoungestOf(svn_repos_t* repository, const svn::Pool& scratch) {
  svn_revnum_t youngest = 0;
  svn::Check(svn_fs_youngest_rev(&youngest, svn_repos_fs(repository), scratch));
  return youngest;
}

[[noreturn]] void ThrowDiverged(const MasterSession& master, const std::u16string& how) {
  svn::ThrowError(ORMU_ERR_DIVERGED,
                  Format(u"The repository cannot follow '%s' on '%s': %s",
                         platform::Utf16ForDisplay(master.master().repository),
                         platform::Utf16ForDisplay(master.master().server), how));
}

std::u16string Number(std::int64_t revision) { return svn::Utf16(std::to_string(revision)); }

RevisionRecord RecordOfMaster(MasterSession& master, std::int64_t revision) {
  const svn::Pool pool(master.pool());
  RevisionRecord record;
  master.Check(svn_ra_replay(master.ra(), static_cast<svn_revnum_t>(revision), 0, FALSE,
                             RecordingEditor(), &record, pool));
  return record;
}

std::string PropertyIn(const RevisionProperties& properties, const char* name) {
  const auto found = properties.find(name);
  return found == properties.end() ? std::string() : found->second;
}

// No two commits have the same date; but dates are corrected at times. A revision with another one
// is the same when all else is, and when what is before it is the same.
void RequireSameRevision(MasterSession& master, svn_fs_t* fs, std::int64_t revision,
                         const svn::Pool& scratch) {
  svn::Pool pool(scratch);
  for (bool same_date = false; !same_date && revision >= 0; --revision) {
    pool.Clear();
    const RevisionProperties theirs = master.PropertiesOf(revision);
    const RevisionProperties own = PropertiesOfRevision(fs, revision, pool);
    const auto agree_in = [&](const char* name) {
      return PropertyIn(theirs, name) == PropertyIn(own, name);
    };
    same_date = agree_in(SVN_PROP_REVISION_DATE);
    if (!same_date && !(agree_in(SVN_PROP_REVISION_AUTHOR) && agree_in(SVN_PROP_REVISION_LOG)))
      ThrowDiverged(master, Format(u"its revision %s was made at another time", Number(revision)));
    if (revision == 0) return;
    const std::u16string difference = DescribeDifference(
        RecordOfMaster(master, revision),
        RecordRevision(fs, static_cast<svn_revnum_t>(revision), Detail::kFilesAndPaths, pool));
    if (!difference.empty())
      ThrowDiverged(master, Format(u"in its revision %s %s", Number(revision), difference));
  }
}

struct Heads {
  std::int64_t own;
  std::int64_t master;
};

// The master is asked last, so that nobody who replicates meanwhile makes it look behind.
Heads RequireSameHistory(MasterSession& master, const std::string& folder, svn_repos_t* repository,
                         const svn::Pool& scratch) {
  svn_fs_t* const fs = svn_repos_fs(repository);
  const char* uuid = nullptr;
  svn::Check(svn_fs_get_uuid(fs, &uuid, scratch));
  if (master.uuid() != uuid) ThrowDiverged(master, u"it is another repository, by its UUID");
  Heads heads{YoungestOf(repository, scratch), 0};
  heads.master = master.Youngest();
  if (heads.own > heads.master)
    ThrowDiverged(master, Format(u"it has revision %s, and the master only %s", Number(heads.own),
                                 Number(heads.master)));
  if (master.HasAgreed(folder, heads.own)) return heads;
  RequireSameRevision(master, fs, heads.own, scratch);
  master.SetAgreed(folder, heads.own);
  return heads;
}

void RequireSlave(const std::string& folder, const svn::Pool& scratch) {
  const auto role = svn::ReadReplicaRole(folder, scratch);
  if (!role || role->master)
    svn::ThrowError(ORMU_ERR_WRONG_ROLE,
                    Format(u"'%s' is not a slave", svn::PathFromDirent(folder)));
}

bool IsWorthBulk(svn_repos_t* slave, std::int64_t revisions, const svn::Pool& scratch) {
  int format = 0;
  svn_version_t* version = nullptr;
  svn::Check(svn_fs_info_format(&format, &version, svn_repos_fs(slave), scratch, scratch));
  return revisions > kRevisionsOfBulk && format > kLastOldFormat;
}

void ReplayOneByOne(MasterSession& master, const std::string& folder, svn_repos_t* slave,
                    std::int64_t first, std::int64_t last, const SyncProgress& progress) {
  const auto on_committed = [&](std::int64_t revision) {
    master.SetAgreed(folder, revision);
    if (progress) progress(revision);
  };
  ReplayRevisions(master, slave, first, last, {nullptr, on_committed});
}

void ReplayInBulk(MasterSession& master, const std::string& folder, std::int64_t first,
                  std::int64_t last, const SyncProgress& progress) {
  const svn::Pool pool(master.pool());
  BulkLoad load(folder, first - 1, pool);
  svn_repos_t* const slave = Open(folder, pool, svn::Flushing::kByCaller);
  const auto on_committed = [&](std::int64_t revision) {
    load.OnCommitted(revision);
    master.SetAgreed(folder, revision);
    if (progress) progress(revision);
  };
  ReplayRevisions(master, slave, first, last, {[&] { load.OnNode(); }, on_committed});
  load.Finish();
}

using Differing = std::vector<std::pair<std::int64_t, RevisionProperties>>;

struct PropertyComparison {
  svn_fs_t* fs;
  svn::Callback callback;
  const svn::Cancellation* cancellation;
  Differing differing;
};

svn_error_t* CompareProperties(void* baton, svn_log_entry_t* entry, apr_pool_t* pool) {
  auto& comparison = *static_cast<PropertyComparison*>(baton);
  return comparison.callback.Run([&] {
    comparison.cancellation->Check();
    RevisionProperties wanted;
    if (entry->revprops) wanted = ReplicatedProperties(entry->revprops);
    if (PropertiesOfRevision(comparison.fs, entry->revision, svn::Pool(pool)) != wanted)
      comparison.differing.emplace_back(entry->revision, std::move(wanted));
  });
}

// All in one request, but for revision 0, which logs do not have.
Differing FindDifferingProperties(MasterSession& master, svn_fs_t* fs, std::int64_t first,
                                  std::int64_t last) {
  const svn::Pool pool(master.pool());
  PropertyComparison comparison{fs, {}, &master.cancellation(), {}};
  if (first == 0) {
    RevisionProperties wanted = master.PropertiesOf(0);
    if (PropertiesOfRevision(fs, 0, pool) != wanted)
      comparison.differing.emplace_back(0, std::move(wanted));
    first = 1;
  }
  if (first > last) return comparison.differing;
  apr_array_header_t* const paths = apr_array_make(pool, 1, sizeof(const char*));
  APR_ARRAY_PUSH(paths, const char*) = "";
  svn_error_t* const error = svn_ra_get_log2(master.ra(), paths, static_cast<svn_revnum_t>(first),
                                             static_cast<svn_revnum_t>(last), 0, FALSE, FALSE,
                                             FALSE, nullptr, CompareProperties, &comparison, pool);
  if (!comparison.callback.failed())
    master.Check(error);
  else
    comparison.callback.CheckAfter(error);
  return comparison.differing;
}

}  // namespace

std::int64_t YoungestRevision(const std::string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  return YoungestOf(svn::OpenRepository(svn::PathFromDirent(folder), pool), pool);
}

std::int64_t RequireSameHistory(MasterSession& master, const std::string& folder) {
  const svn::Pool pool(master.pool());
  return RequireSameHistory(master, folder, Open(folder, pool), pool).own;
}

std::int64_t Synchronise(MasterSession& master, const std::string& folder, std::int64_t until,
                         const SyncProgress& progress) {
  const svn::Pool pool(master.pool());
  RequireSlave(folder, pool);
  const SlaveWriteAccess access(folder, master.cancellation(), pool);
  RequireSlave(folder, pool);  // Still, after who had it before.
  svn_repos_t* const slave = Open(folder, pool);
  const Heads heads = RequireSameHistory(master, folder, slave, pool);
  RemoveTransactions(svn_repos_fs(slave), pool);
  const std::int64_t first = heads.own + 1;
  const std::int64_t last = std::min(until, heads.master);
  if (first > last) return first - 1;
  if (IsWorthBulk(slave, last - first + 1, pool))
    ReplayInBulk(master, folder, first, last, progress);
  else
    ReplayOneByOne(master, folder, slave, first, last, progress);
  return last;
}

std::int64_t SynchroniseProperties(MasterSession& master, const std::string& folder,
                                   std::int64_t first, std::int64_t last) {
  const svn::Pool pool(master.pool());
  RequireSlave(folder, pool);
  svn_fs_t* const fs = svn_repos_fs(Open(folder, pool));
  const Differing differing = FindDifferingProperties(master, fs, first, last);
  if (differing.empty()) return 0;
  const SlaveWriteAccess access(folder, master.cancellation(), pool);
  RequireSlave(folder, pool);
  for (const auto& [revision, properties] : differing)
    SetRevisionProperties(fs, revision, properties, pool);
  return static_cast<std::int64_t>(differing.size());
}

}  // namespace kelvarion::ormu
