#include "repos/backup.h"

#include <svn_fs.h>
#include <svn_io.h>
#include <svn_repos.h>

#include <algorithm>
#include <filesystem>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "repos/copy.h"
#include "repos/long_operation.h"
#include "repos/new_repository.h"
#include "repos/replication_location.h"
#include "repos/repository_store.h"
#include "repos/verify.h"
#include "svn/error.h"
#include "svn/hidden_name.h"
#include "svn/remove_tree.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

constexpr const char16_t* kBackupCancelled = u"The repository backup has been cancelled.";
constexpr const char16_t* kRestoreCancelled = u"The repository restore has been cancelled.";
constexpr apr_fileperms_t kPrivate = APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_UEXECUTE;

struct Identity {
  std::string uuid;
  svn_revnum_t youngest = 0;
};

Identity ReadIdentity(const std::u16string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  svn_fs_t* const fs = svn_repos_fs(svn::OpenRepository(folder, pool));
  const char* uuid = nullptr;
  svn::Check(svn_fs_get_uuid(fs, &uuid, pool));
  Identity identity{uuid, 0};
  svn::Check(svn_fs_youngest_rev(&identity.youngest, fs, pool));
  return identity;
}

// Copies, then reads everything back. Commits may have been added to the source meanwhile.
void CopyAndVerify(const ServerContext& context, const std::u16string& source,
                   const std::string& target, const BackupNotify& notify, LongOperation& operation,
                   const IcCancelCallback* cancel) {
  const svn::Pool pool(context.root_pool());
  const Identity before = ReadIdentity(source, pool);
  CopyRepository(source, target, notify.copying, operation, pool);
  const std::u16string copy = svn::PathFromDirent(target);
  const VerifyResult verified = VerifyFolder(context, copy, notify.verifying, cancel);
  operation.Check();
  if (!verified.success) {
    throw SimpleException(u"The copy of '%s' is damaged:\n%s", source, verified.message);
  }
  const Identity after = ReadIdentity(copy, pool);
  if (after.uuid != before.uuid || after.youngest < before.youngest) {
    throw SimpleException(u"The copy of '%s' is not whole.", source);
  }
  if (const Win32Error error = platform::FlushVolume(copy)) {
    throw Win32Exception(error, u"Cannot write '%s' to the disk", copy);
  }
}

// A copy in the repositories folder would be served, and one in itself would never end.
void RefuseInside(const ServerContext& context, const std::u16string& path) {
  const auto native = [](const std::u16string& each) {
    return std::filesystem::weakly_canonical(platform::NativePath(each));
  };
  const std::filesystem::path root = native(access::RepositoriesRoot(context));
  const std::filesystem::path target = native(path);
  if (std::mismatch(root.begin(), root.end(), target.begin(), target.end()).first == root.end()) {
    throw SimpleException(u"'%s' lies in the folder of the repositories; a backup must not.", path);
  }
}

// A backup in the making, under another name beside its own.
class NewBackup {
 public:
  NewBackup(const std::u16string& path, const svn::Pool& parent)
      : pool_(parent),
        path_(svn::DirentFromPath(path)),
        partial_(svn::HiddenBeside(path_, "partial")),
        lock_path_(svn::PathFromDirent(svn::HiddenBeside(path_, "lock"))),
        lock_(lock_path_, platform::IfLocked::kGiveUp) {
    if (lock_.Error() == ERROR_SHARING_VIOLATION)
      throw SimpleException(u"Another backup to '%s' is running.", path);
    if (lock_.Error() != ERROR_SUCCESS)
      throw Win32Exception(lock_.Error(), u"Cannot write beside '%s'", path);
    try {
      RefuseTaken();
      RemovePartial();
      svn::Check(svn_io_dir_make(partial_.c_str(), kPrivate, pool_));
    } catch (...) {
      platform::DeleteFile(lock_path_);
      throw;
    }
  }
  ~NewBackup() {
    try {
      RemovePartial();
    } catch (const SvnException&) {  // The next backup to the path removes it.
    }
    platform::DeleteFile(lock_path_);
  }
  NewBackup(const NewBackup&) = delete;
  NewBackup& operator=(const NewBackup&) = delete;

  const std::string& folder() const { return partial_; }
  void Publish() const {
    RefuseTaken();
    svn::Check(svn_io_file_rename2(partial_.c_str(), path_.c_str(), TRUE, pool_));
  }

 private:
  void RefuseTaken() const {
    svn_node_kind_t kind = svn_node_none;
    svn::Check(svn_io_check_path(path_.c_str(), &kind, pool_));
    if (kind != svn_node_none)
      throw SimpleException(u"'%s' already exists; a backup never replaces anything.",
                            svn::PathFromDirent(path_));
  }
  void RemovePartial() const { svn::RemoveTree(partial_, pool_); }

  svn::Pool pool_;
  std::string path_;
  std::string partial_;
  std::u16string lock_path_;
  platform::FileLock lock_;
};

}  // namespace

void BackupRepository(const ServerContext& context, const std::u16string& name,
                      const std::u16string& path, const BackupNotify& notify,
                      const IcCancelCallback* cancel) {
  RequireAbsolutePath(path);
  const std::u16string source = GetRepositoryPath(context, RequireRepository(context, name));
  RefuseInside(context, path);
  const NewBackup backup(path, context.root_pool());
  LongOperation operation(cancel, kBackupCancelled);
  CopyAndVerify(context, source, backup.folder(), notify, operation, cancel);
  backup.Publish();
}

void RestoreRepository(const ServerContext& context, const std::u16string& path,
                       const std::u16string& name, const BackupNotify& notify,
                       const IcCancelCallback* cancel, const services::Warn& warn) {
  const RepositoryType type = GetRepositoryType(context, path);
  NewRepository repository(context, name, Prepared::kRefuse);
  LongOperation operation(cancel, kRestoreCancelled);
  CopyAndVerify(context, path, repository.folder(), notify, operation, cancel);
  repository.WriteMissingRules();
  repository.Publish();
  if (type == RepositoryType::OrmuMaster) UpdateReplicationLocation(context, warn);
}

}  // namespace kelvarion::repos
