// Opening, typing and listing the repositories of a folder.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "svn/pool.h"

struct svn_repos_t;

namespace kelvarion {

// What kind of repository it is; the values are those that clients see.
enum class RepositoryType : std::uint32_t { Fsfs = 0, OrmuMaster = 1, OrmuSlave = 2 };

namespace svn {

// Told about trouble that does not fail the operation. Called on the thread of the operation.
using WarningSink = std::function<void(const std::u16string& text)>;

// What the libraries may keep of a repository's contents in memory while it is open.
enum class Caching {
  kDefault,
  kContents,  // File contents and deltas as well; pays where most of them are read.
};

enum class Flushing {
  kEachRevision,
  kByCaller,  // Nothing is sure to be on the disk until the caller flushes it.
};

// Opens the repository of a folder. It lives as long as the pool and belongs to one thread. Nothing
// that another repository of the same name and UUID left in this process's caches is seen.
// Throws SvnException.
svn_repos_t* OpenRepository(const std::u16string& path, const Pool& pool,
                            WarningSink warnings = nullptr, Caching caching = Caching::kDefault,
                            Flushing flushing = Flushing::kEachRevision);

// Opens the repository of a folder and reads the root of its youngest revision. Throws
// SvnException.
void RequireReadable(const std::u16string& path, const Pool& scratch);

// Creates an empty FSFS repository with physical addressing; otherwise as OpenRepository. What the
// libraries could not finish they remove again.
svn_repos_t* CreateRepository(const std::u16string& path, const Pool& pool,
                              WarningSink warnings = nullptr,
                              Flushing flushing = Flushing::kEachRevision);

// The layout of the revision files.
struct FsfsLayout {
  std::int32_t shard_size = 0;  // 0: not sharded.
  std::int64_t min_unpacked_revision = 0;
  bool log_addressing = false;
};

// What a store says about itself: of a repository that replicates its type is "ormu", with the
// layout of the FSFS store beneath.
struct StoreInfo {
  std::string fs_type;
  std::optional<FsfsLayout> fsfs;
  // Of replicated stores only.
  bool master = false;
  bool suspended = false;
  std::u16string master_server;
  std::u16string master_repository;
};

// The only place that asks the libraries for a store's information. Throws SvnException.
StoreInfo ReadStoreInfo(svn_repos_t* repository, const Pool& scratch);

// Throws SvnException, SVN_ERR_FS_UNKNOWN_FS_TYPE, for a store that is none of the three.
RepositoryType TypeOf(const StoreInfo& info);

// Throws SvnException "Can't stat '%s'" unless there is something at the path.
void RequireEntry(const std::u16string& path, const Pool& scratch);

// Links are followed.
bool IsFolder(const std::u16string& path, const Pool& scratch);

// Whether ListFolders would list the name, which is much quicker to tell.
bool HasFolder(const std::u16string& root, const std::u16string& name, const Pool& scratch);

// Called with the printable form of a name that was left out because it is not UTF-8.
using SkippedName = std::function<void(const std::u16string& name)>;

// Names of the folders directly in `root`, in the order in which the file system gives them. Links
// and plain files are left out. Throws SvnException when the folder cannot be read.
std::vector<std::u16string> ListFolders(const std::u16string& root, const Pool& scratch,
                                        const SkippedName& skipped = nullptr);

}  // namespace svn
}  // namespace kelvarion
