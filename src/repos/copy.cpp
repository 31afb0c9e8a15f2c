#include "repos/copy.h"

#include <svn_fs.h>
#include <svn_io.h>
#include <svn_repos.h>

#include <optional>

#include "errors/exception.h"
#include "platform/security/inherited_access.h"
#include "repos/revision_files.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

class Copy {
 public:
  Copy(const std::u16string& source, IcImportRepositoryNotify* notify, LongOperation& operation,
       const svn::Pool& scratch)
      : notify_(notify), operation_(operation) {
    const svn::Pool pool(scratch);
    svn_repos_t* const repository = svn::OpenRepository(source, pool);
    svn::Check(svn_fs_youngest_rev(&youngest_, svn_repos_fs(repository), pool));
    layout_ = svn::ReadStoreInfo(repository, pool).fsfs;
  }

  // Our own copy of most files, which the libraries' then completes.
  void Run(const std::u16string& source, const std::string& target, const svn::Pool& pool) {
    if (layout_) {
      // As the libraries make it: what is made in it later belongs to its group.
      svn::Check(svn_io_make_dir_recursively(target.c_str(), pool));
      svn::Check(svn_io_dir_make_sgid((target + "/db").c_str(), APR_OS_DEFAULT, pool));
      CopyRevisionFiles(source, svn::PathFromDirent(target), *layout_, youngest_, operation_,
                        [&](std::int64_t revision) { Tell(revision); });
    }
    operation_.CheckAfter(svn_repos_hotcopy3(
        svn::DirentFromPath(source).c_str(), target.c_str(), FALSE, layout_.has_value(),
        notify_ ? OnNotify : nullptr, this, LongOperation::AskCancelled, &operation_, pool));
  }

 private:
  static void OnNotify(void* baton, const svn_repos_notify_t* event, apr_pool_t*) {
    Copy& copy = *static_cast<Copy*>(baton);
    if (event->action != svn_repos_notify_hotcopy_rev_range) return;
    copy.operation_.Notify([&] { copy.Tell(event->end_revision); });
  }
  // What the libraries begin with has been told when it comes after ours.
  void Tell(std::int64_t revision) {
    if (!notify_ || revision <= told_) return;
    told_ = revision;
    notify_->RevisionsCopied(revision, youngest_ + 1);
  }

  IcImportRepositoryNotify* notify_;
  LongOperation& operation_;
  svn_revnum_t youngest_ = 0;
  std::optional<svn::FsfsLayout> layout_;
  std::int64_t told_ = -1;
};

}  // namespace

void CopyRepository(const std::u16string& source, const std::string& target,
                    IcImportRepositoryNotify* notify, LongOperation& operation,
                    const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  Copy(source, notify, operation, pool).Run(source, target, pool);
  // Copied files have the modes of their sources, which may shut out the web server here.
  const std::u16string folder = svn::PathFromDirent(target);
  if (const Win32Error error = platform::InheritAccess(folder, [&] { operation.Check(); })) {
    throw Win32Exception(error, u"Cannot set the access to '%s'", folder);
  }
}

}  // namespace kelvarion::repos
