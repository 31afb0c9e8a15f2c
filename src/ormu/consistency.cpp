#include "ormu/consistency.h"

#include <svn_fs.h>
#include <svn_ra.h>
#include <svn_repos.h>

#include "ormu/boundary.h"
#include "ormu/property_list.h"
#include "ormu/revision_record.h"
#include "ormu/revision_replay.h"
#include "platform/ormu/ormu.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

[[noreturn]] void ThrowInconsistent(const std::u16string& text, svn_error_t* cause = nullptr) {
  ThrowOver(ORMU_ERR_INCONSISTENT, text, cause);
}

std::u16string Number(std::int64_t revision) { return svn::Utf16(std::to_string(revision)); }

// What the slave's own data says of itself.
class Verification {
 public:
  explicit Verification(const svn::Cancellation& cancellation) : cancellation_(cancellation) {}

  void Run(svn_repos_t* slave, std::int64_t until, const svn::Pool& pool) {
    svn_error_t* const error = svn_repos_verify_fs3(
        slave, 0, static_cast<svn_revnum_t>(until), FALSE, FALSE, nullptr, nullptr, OnDamage, this,
        svn::CancelFunction, const_cast<svn::Cancellation*>(&cancellation_), pool);
    if (!damaged_) return svn::Check(error);
    if (SVN_IS_VALID_REVNUM(revision_))
      ThrowInconsistent(Format(u"Revision %s of the slave is damaged", Number(revision_)), error);
    ThrowInconsistent(u"The slave's store is damaged", error);
  }

 private:
  static svn_error_t* OnDamage(void* baton, svn_revnum_t revision, svn_error_t* error,
                               apr_pool_t*) {
    auto& self = *static_cast<Verification*>(baton);
    self.damaged_ = true;
    self.revision_ = revision;
    return svn_error_dup(error);
  }

  const svn::Cancellation& cancellation_;
  bool damaged_ = false;
  svn_revnum_t revision_ = SVN_INVALID_REVNUM;
};

std::u16string DescribeDifference(const RevisionProperties& master,
                                  const RevisionProperties& slave) {
  for (const auto& [name, value] : master) {
    const auto here = slave.find(name);
    if (here == slave.end() || here->second != value)
      return Format(u"the revision property '%s' differs", platform::Utf16ForDisplay(name));
  }
  for (const auto& [name, value] : slave)
    if (!master.contains(name))
      return Format(u"the master has no revision property '%s'", platform::Utf16ForDisplay(name));
  return {};
}

void RequireNone(std::int64_t revision, const std::u16string& difference) {
  if (!difference.empty())
    ThrowInconsistent(Format(u"In revision %s %s", Number(revision), difference));
}

// Compares each revision as the master's answer comes in.
class Comparison {
 public:
  Comparison(MasterSession& master, svn_repos_t* slave)
      : master_(master), fs_(svn_repos_fs(slave)) {}

  void Run(std::int64_t until, const svn::Pool& pool) {
    RequireNone(0, DescribeDifference(master_.PropertiesOf(0), PropertiesOfRevision(fs_, 0, pool)));
    if (until == 0) return;
    svn_error_t* const error = svn_ra_replay_range(
        master_.ra(), 1, static_cast<svn_revnum_t>(until), 0, TRUE, OnStart, OnFinish, this, pool);
    if (callback_.failed()) callback_.CheckAfter(error);
    master_.Check(error);
  }

 private:
  static svn_error_t* OnStart(svn_revnum_t, void* baton, const svn_delta_editor_t** editor,
                              void** edit_baton, apr_hash_t*, apr_pool_t*) {
    auto& self = *static_cast<Comparison*>(baton);
    self.record_.clear();
    *editor = RecordingEditor();
    *edit_baton = &self.record_;
    return nullptr;
  }

  static svn_error_t* OnFinish(svn_revnum_t revision, void* baton, const svn_delta_editor_t*, void*,
                               apr_hash_t* properties, apr_pool_t* pool) {
    auto& self = *static_cast<Comparison*>(baton);
    return self.callback_.Run([&] {
      self.master_.cancellation().Check();
      self.Compare(revision, ReplicatedProperties(properties), svn::Pool(pool));
    });
  }

  void Compare(svn_revnum_t revision, const RevisionProperties& properties,
               const svn::Pool& pool) const {
    RequireNone(revision,
                DescribeDifference(properties, PropertiesOfRevision(fs_, revision, pool)));
    RequireNone(revision, ormu::DescribeDifference(
                              record_, RecordRevision(fs_, revision, Detail::kProperties, pool)));
  }

  MasterSession& master_;
  svn_fs_t* fs_;
  svn::Callback callback_;
  RevisionRecord record_;
};

}  // namespace

void CheckConsistency(MasterSession& master, const std::string& folder, std::int64_t until) {
  const svn::Pool pool(master.pool());
  svn_repos_t* const slave =
      svn::OpenRepository(svn::PathFromDirent(folder), pool, nullptr, svn::Caching::kContents);
  const char* uuid = nullptr;
  svn::Check(svn_fs_get_uuid(svn_repos_fs(slave), &uuid, pool));
  if (master.uuid() != uuid)
    ThrowInconsistent(u"The slave is another repository than the master, by its UUID");
  svn_revnum_t youngest = 0;
  svn::Check(svn_fs_youngest_rev(&youngest, svn_repos_fs(slave), pool));
  if (youngest < until)
    ThrowInconsistent(Format(u"The slave has no revision %s", Number(youngest + 1)));
  // First, since a damaged revision makes later ones unreadable too.
  Verification(master.cancellation()).Run(slave, until, pool);
  Comparison(master, slave).Run(until, pool);
}

}  // namespace kelvarion::ormu
