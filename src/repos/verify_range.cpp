#include "repos/verify_range.h"

#include <svn_fs.h>
#include <svn_repos.h>

#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/repository.h"

namespace kelvarion::repos {
namespace {

struct Run {
  IcVerifyRepositoryNotify* notify;
  LongOperation* operation;
  RevisionRange range;
};

void Forward(const Run& run, const svn_repos_notify_t& event) {
  switch (event.action) {
    case svn_repos_notify_verify_rev_end:
      return run.notify->RevisionVerified(event.revision, run.range.first, run.range.last);
    case svn_repos_notify_verify_rev_structure:
      if (event.revision == SVN_INVALID_REVNUM) return run.notify->MetadataStarted();
      return run.notify->MetadataVerified(event.revision);
    case svn_repos_notify_warning:
      return run.notify->Warning(platform::Utf16ForDisplay(event.warning_str));
    default:
      return;
  }
}

void OnNotify(void* baton, const svn_repos_notify_t* event, apr_pool_t*) {
  const Run& run = *static_cast<Run*>(baton);
  run.operation->Notify([&] { Forward(run, *event); });
}

// Which revision it was is not in what the libraries say about it. The fault stays theirs.
svn_error_t* OnFault(void*, svn_revnum_t revision, svn_error_t* fault, apr_pool_t*) {
  if (revision == SVN_INVALID_REVNUM)
    return svn_error_quick_wrap(svn_error_dup(fault), "Error verifying repository metadata.");
  return svn_error_quick_wrapf(svn_error_dup(fault), "Error verifying revision %ld.", revision);
}

}  // namespace

RangeVerifier::RangeVerifier(const std::u16string& folder, IcVerifyRepositoryNotify* notify,
                             LongOperation& operation, const svn::Pool& parent)
    : pool_(parent), notify_(notify), operation_(operation) {
  const auto warn = [this](const std::u16string& text) {
    if (notify_) operation_.Notify([&] { notify_->Warning(text); });
  };
  repository_ = svn::OpenRepository(folder, pool_, warn, svn::Caching::kContents);
}

void RangeVerifier::Verify(const RevisionRange& range, Checks checks) {
  const svn::Pool scratch(pool_);
  Run run{notify_, &operation_, range};
  operation_.CheckAfter(svn_repos_verify_fs3(repository_, range.first, range.last, FALSE,
                                             checks == Checks::kMetadataOnly,
                                             notify_ ? OnNotify : nullptr, &run, OnFault, nullptr,
                                             LongOperation::AskCancelled, &operation_, scratch));
}

}  // namespace kelvarion::repos
