#include "svn/repository.h"

#include <apr_file_io.h>
#include <svn_error_codes.h>
#include <svn_fs.h>
#include <svn_hash.h>
#include <svn_io.h>
#include <svn_repos.h>

#include <cstring>
#include <memory>

#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/replica_role.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

void OnWarning(void* baton, svn_error_t* error) {
  const WarningSink& sink = *static_cast<WarningSink*>(baton);
  if (!sink) return;
  char message[512];
  try {
    sink(platform::Utf16ForDisplay(svn_err_best_message(error, message, sizeof message)));
  } catch (...) {
    // The frames between here and the operation are not ours, and a warning is not worth failing.
  }
}

apr_status_t DestroySink(void* sink) {
  delete static_cast<WarningSink*>(sink);
  return APR_SUCCESS;
}

// Without a warning function the libraries end the process where they would warn.
void ReceiveWarnings(svn_repos_t* repository, WarningSink warnings, apr_pool_t* pool) {
  auto sink = std::make_unique<WarningSink>(std::move(warnings));
  apr_pool_cleanup_register(pool, sink.get(), DestroySink, apr_pool_cleanup_null);
  svn_fs_set_warning_func(svn_repos_fs(repository), OnWarning, sink.release());
}

// The libraries cache contents by UUID and path for as long as the process lives, and a repository
// may be replaced by another with the same of both.
apr_hash_t* FreshCacheConfig(apr_pool_t* pool) {
  apr_hash_t* config = apr_hash_make(pool);
  svn_hash_sets(config, SVN_FS_CONFIG_FSFS_CACHE_NS, svn_uuid_generate(pool));
  return config;
}

bool IsListed(const apr_finfo_t& entry) {
  return (entry.valid & APR_FINFO_TYPE) && entry.filetype == APR_DIR &&
         std::strcmp(entry.name, ".") != 0 && std::strcmp(entry.name, "..") != 0;
}

}  // namespace

svn_repos_t* OpenRepository(const std::u16string& path, const Pool& pool, WarningSink warnings,
                            Caching caching, Flushing flushing) {
  svn_repos_t* repository = nullptr;
  const Pool scratch(pool);
  apr_hash_t* config = FreshCacheConfig(pool);
  if (caching == Caching::kContents) {
    svn_hash_sets(config, SVN_FS_CONFIG_FSFS_CACHE_DELTAS, "1");
    svn_hash_sets(config, SVN_FS_CONFIG_FSFS_CACHE_FULLTEXTS, "1");
  }
  if (flushing == Flushing::kByCaller) svn_hash_sets(config, SVN_FS_CONFIG_NO_FLUSH_TO_DISK, "1");
  Check(svn_repos_open3(&repository, DirentFromPath(path).c_str(), config, pool, scratch));
  ReceiveWarnings(repository, std::move(warnings), pool);
  return repository;
}

svn_repos_t* CreateRepository(const std::u16string& path, const Pool& pool, WarningSink warnings,
                              Flushing flushing) {
  svn_repos_t* repository = nullptr;
  apr_hash_t* config = FreshCacheConfig(pool);
  svn_hash_sets(config, SVN_FS_CONFIG_FSFS_LOG_ADDRESSING, "0");
  if (flushing == Flushing::kByCaller) svn_hash_sets(config, SVN_FS_CONFIG_NO_FLUSH_TO_DISK, "1");
  Check(svn_repos_create(&repository, DirentFromPath(path).c_str(), nullptr, nullptr, nullptr,
                         config, pool));
  ReceiveWarnings(repository, std::move(warnings), pool);
  return repository;
}

void RequireReadable(const std::u16string& path, const Pool& scratch) {
  const Pool pool(scratch);
  svn_fs_t* const fs = svn_repos_fs(OpenRepository(path, pool));
  svn_revnum_t youngest = SVN_INVALID_REVNUM;
  Check(svn_fs_youngest_rev(&youngest, fs, pool));
  svn_fs_root_t* root = nullptr;
  Check(svn_fs_revision_root(&root, fs, youngest, pool));
  svn_node_kind_t kind = svn_node_none;
  Check(svn_fs_check_path(&kind, root, "/", pool));
}

StoreInfo ReadStoreInfo(svn_repos_t* repository, const Pool& scratch) {
  const svn_fs_info_placeholder_t* answer = nullptr;
  Check(svn_fs_info(&answer, svn_repos_fs(repository), scratch, scratch));
  StoreInfo info;
  info.fs_type = answer->fs_type;
  if (info.fs_type == SVN_FS_TYPE_FSFS) {
    const auto* fsfs = reinterpret_cast<const svn_fs_fsfs_info_t*>(answer);
    info.fsfs = FsfsLayout{fsfs->shard_size, fsfs->min_unpacked_rev, fsfs->log_addressing != FALSE};
  }
  if (const auto role = ReadReplicaRole(svn_repos_path(repository, scratch), scratch)) {
    info.fs_type = "ormu";
    info.master = role->master;
    info.suspended = role->suspended;
    info.master_server = Utf16(role->master_server);
    info.master_repository = Utf16(role->master_repository);
  }
  return info;
}

RepositoryType TypeOf(const StoreInfo& info) {
  if (info.fs_type == "fsfs") return RepositoryType::Fsfs;
  if (info.fs_type == "ormu") {
    return info.master ? RepositoryType::OrmuMaster : RepositoryType::OrmuSlave;
  }
  ThrowError(SVN_ERR_FS_UNKNOWN_FS_TYPE,
             Format(u"Unknown repository type '%s'.", platform::Utf16ForDisplay(info.fs_type)));
}

void RequireEntry(const std::u16string& path, const Pool& scratch) {
  apr_finfo_t info;
  const apr_status_t status =
      apr_stat(&info, DirentFromPath(path).c_str(), APR_FINFO_TYPE | APR_FINFO_LINK, scratch);
  if (status != APR_SUCCESS && status != APR_INCOMPLETE) {
    ThrowAprError(status, Format(u"Can't stat '%s'", path));
  }
}

bool IsFolder(const std::u16string& path, const Pool& scratch) {
  svn_node_kind_t kind = svn_node_none;
  Check(svn_io_check_resolved_path(DirentFromPath(path).c_str(), &kind, scratch));
  return kind == svn_node_dir;
}

bool HasFolder(const std::u16string& root, const std::u16string& name, const Pool& scratch) {
  std::string entry;
  if (!platform::Utf16ToUtf8(name, entry) || entry.empty() || entry == "." || entry == ".." ||
      entry.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
    return false;
  const Pool pool(scratch);
  apr_finfo_t info;
  const std::string path = JoinDirent(DirentFromPath(root), entry);
  return apr_stat(&info, path.c_str(), APR_FINFO_TYPE | APR_FINFO_LINK, pool) == APR_SUCCESS &&
         info.filetype == APR_DIR;
}

std::vector<std::u16string> ListFolders(const std::u16string& root, const Pool& scratch,
                                        const SkippedName& skipped) {
  const Pool pool(scratch);
  const std::string folder = DirentFromPath(root);
  apr_dir_t* dir = nullptr;
  if (const apr_status_t status = apr_dir_open(&dir, folder.c_str(), pool)) {
    ThrowAprError(status, Format(u"Can't open directory '%s'", root));
  }
  std::vector<std::u16string> names;
  apr_finfo_t entry;
  apr_status_t status;
  // An entry that vanishes while it is looked at comes back incomplete, and is passed over.
  while ((status = apr_dir_read(&entry, APR_FINFO_TYPE | APR_FINFO_NAME, dir)) == APR_SUCCESS ||
         status == APR_INCOMPLETE) {
    if (!IsListed(entry)) continue;
    std::u16string name;
    if (platform::Utf8ToUtf16(entry.name, name)) {
      names.push_back(std::move(name));
    } else if (skipped) {
      skipped(platform::Utf16ForDisplay(entry.name));
    }
  }
  if (!APR_STATUS_IS_ENOENT(status)) {
    ThrowAprError(status, Format(u"Can't read directory '%s'", root));
  }
  return names;
}

}  // namespace kelvarion::svn
