#include "repos/copy.h"

#include <svn_fs.h>
#include <svn_repos.h>

#include "errors/exception.h"
#include "platform/security/inherited_access.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

struct Copy {
  IcImportRepositoryNotify* notify;
  LongOperation* operation;
  svn_revnum_t total;
};

void OnNotify(void* baton, const svn_repos_notify_t* event, apr_pool_t*) {
  const Copy& copy = *static_cast<Copy*>(baton);
  if (event->action != svn_repos_notify_hotcopy_rev_range) return;
  copy.operation->Notify([&] { copy.notify->RevisionsCopied(event->end_revision, copy.total); });
}

svn_revnum_t YoungestRevision(const std::u16string& path, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  svn_revnum_t youngest = 0;
  svn::Check(svn_fs_youngest_rev(&youngest, svn_repos_fs(svn::OpenRepository(path, pool)), pool));
  return youngest;
}

}  // namespace

void CopyRepository(const std::u16string& source, const std::string& target,
                    IcImportRepositoryNotify* notify, LongOperation& operation,
                    const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  Copy copy{notify, &operation, YoungestRevision(source, pool) + 1};
  operation.CheckAfter(svn_repos_hotcopy3(svn::DirentFromPath(source).c_str(), target.c_str(),
                                          FALSE, FALSE, notify ? OnNotify : nullptr, &copy,
                                          LongOperation::AskCancelled, &operation, pool));
  // Copied files have the modes of their sources, which may shut out the web server here.
  const std::u16string folder = svn::PathFromDirent(target);
  if (const Win32Error error = platform::InheritAccess(folder)) {
    throw Win32Exception(error, u"Cannot set the access to '%s'", folder);
  }
}

}  // namespace kelvarion::repos
