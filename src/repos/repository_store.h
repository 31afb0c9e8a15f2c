// The repositories below the repositories root: which there are and what each one is.
//
// Every folder directly below the root is a repository and its name is the folder's name; nothing
// else marks one. Every call reads the settings and the disk anew. Names that come from clients are
// resolved by FindRepository or RequireRepository before they name anything on disk.
// Failures of Subversion and of the file system are SvnException.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"
#include "svn/repository.h"

namespace kelvarion::repos {

// What is known about one repository. A folder that cannot be opened as a repository has the first
// four fields only.
struct RepositoryRecord {
  std::u16string name;
  std::u16string path;  // Local style.
  std::u16string url;   // Ends with a slash.
  bool inherited_only_permissions = false;

  std::optional<RepositoryType> type;
  std::optional<std::uint32_t> total_revisions;  // The youngest revision.
  std::optional<std::u16string> master_server;   // Slaves only, as the next one.
  std::optional<std::u16string> master_repository;
  std::optional<std::uint32_t> format_number;
  std::optional<std::u16string> uuid;
  std::optional<std::uint32_t> shard_size;
  std::optional<std::uint32_t> total_shards;
  std::optional<std::uint32_t> packed_shards;
  std::optional<std::uint32_t> log_addressing;
  std::optional<std::uint32_t> suspended;
};

// In the order of the folder listing. A folder whose name is not UTF-8 is left out and logged.
std::vector<std::u16string> ListRepositoryNames(const ServerContext& context);
// One record a name, in that order, each as it is read. One bad repository never fails the others;
// what `take` throws ends the listing.
void VisitRepositories(const ServerContext& context,
                       const std::function<void(const RepositoryRecord&)>& take);
std::vector<RepositoryRecord> ListRepositories(const ServerContext& context);

// The name as the disk spells it: the folder of exactly that name, else the first that differs only
// in letter case.
std::optional<std::u16string> FindRepository(const ServerContext& context,
                                             const std::u16string& name);
// The same for operations that cannot go on without it: WMIException WBEM_E_NOT_FOUND, or what
// ValidateRepositoryName throws for a name that no repository can have.
std::u16string RequireRepository(const ServerContext& context, const std::u16string& name);

// Requires the name of an existing folder, as FindRepository returned it.
RepositoryRecord ReadRepository(const ServerContext& context, const std::u16string& name);

// The folder of the repository, local style. The name must be one path component; anything else
// throws as ValidateRepositoryName does.
std::u16string GetRepositoryPath(const ServerContext& context, const std::u16string& name);

// The spelling of the name on disk. SvnException "Can't stat '%s'" when there is no such folder.
std::u16string GetRepositoryDiskName(const ServerContext& context, const std::u16string& name);

// Throws SvnException 200004 "'%s' is not an absolute or a network path." for any other.
void RequireAbsolutePath(const std::u16string& path);

// The type of the repository at any absolute path. SvnException 200004 for a relative path, 160033
// "Unknown repository type '%s'." for a storage that is not known.
RepositoryType GetRepositoryType(const ServerContext& context, const std::u16string& path);

}  // namespace kelvarion::repos
