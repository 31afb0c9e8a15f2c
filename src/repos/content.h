// What is in a repository's head revision, and changing its folders by one commit.
//
// Repositories are named as their folders are. Paths are canonical (util/repository_path.h); any
// other is refused with WBEM_E_INVALID_METHOD_PARAMETERS and a text that says what is wrong with
// it. Failures of Subversion are SvnException.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::repos {

// The values are Subversion's.
enum class NodeKind : std::int32_t { None = 0, File = 1, Folder = 2 };

// As clients number them: 0 for a file, 1 for a folder; nothing for anything else.
std::optional<std::uint32_t> ClientKind(NodeKind kind);

struct RepositoryEntry {
  std::u16string repository;
  std::u16string path;
  std::u16string name;         // The repository's name for "/".
  std::u16string parent_path;  // Empty for "/".
  std::u16string url;
  NodeKind kind = NodeKind::None;
  bool inherited_only_permissions = true;  // Whether no rule names exactly this path.
};

struct EntryKey {
  std::u16string repository;
  std::u16string path;
};

// Nothing when the head revision has no such path.
std::optional<RepositoryEntry> ReadEntry(const ServerContext& context, const EntryKey& key);

// The same for a client that names the repository in any letter case and needs the entry:
// WMIException WBEM_E_NOT_FOUND without the repository or the entry.
RepositoryEntry RequireEntry(const ServerContext& context, const EntryKey& key);

struct FolderContent {
  RepositoryEntry entry;
  std::vector<RepositoryEntry> children;  // Unsorted; none in a file.
};
std::optional<FolderContent> ReadFolder(const ServerContext& context, const EntryKey& key);

struct FolderCommit {
  std::u16string repository;
  std::vector<std::u16string> paths;
  std::u16string message;
};

// Make or delete all of them, in the order given, by one revision of the author "Kelvarion Server";
// when one cannot be, none is. The repository's hooks do not run. What is deleted may be a file or
// a folder with everything in it.
std::vector<RepositoryEntry> CreateFolders(const ServerContext& context,
                                           const FolderCommit& commit);
void DeleteFolders(const ServerContext& context, const FolderCommit& commit);

}  // namespace kelvarion::repos
