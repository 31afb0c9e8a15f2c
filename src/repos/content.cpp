#include "repos/content.h"

#include <svn_fs.h>
#include <svn_hash.h>
#include <svn_repos.h>

#include <algorithm>

#include "access/permission_model.h"
#include "errors/exception.h"
#include "platform/ormu/ormu.h"
#include "repos/repository_store.h"
#include "repos/url.h"
#include "svn/commit.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"
#include "util/repository_path.h"

namespace kelvarion::repos {
namespace {

constexpr const char* kAuthor = "Kelvarion Server";

void RequireCanonical(const std::u16string& path) {
  if (util::IsCanonicalRepositoryPath(path)) return;
  throw WMIException(
      WBEM_E_INVALID_METHOD_PARAMETERS,
      u"'%s' is no canonical path: it must begin with \"/\", must not end with \"/\" "
      u"and must have no empty parts and no parts \".\".",
      path);
}

// Entries of one repository at one moment.
class Entries {
 public:
  Entries(const ServerContext& context, std::u16string repository)
      : repository_(std::move(repository)),
        rules_(access::GetAllPathPermissions(context, repository_)),
        urls_(ReadUrlSettings(context.configuration())) {}

  RepositoryEntry Make(const std::u16string& path, NodeKind kind) const {
    RepositoryEntry entry;
    entry.repository = repository_;
    entry.path = path;
    const auto rules = rules_.find(path);
    entry.inherited_only_permissions = rules == rules_.end() || rules->second.empty();
    entry.kind = kind;
    if (kind == NodeKind::None) return entry;
    const std::size_t slash = path.rfind(u'/');
    const bool root = path == u"/";
    entry.name = root ? repository_ : path.substr(slash + 1);
    entry.parent_path = root ? u"" : path.substr(0, std::max<std::size_t>(slash, 1));
    entry.url = BuildRepositoryUrl(repository_, path, urls_);
    return entry;
  }

 private:
  std::u16string repository_;
  std::map<std::u16string, access::PermissionList> rules_;
  UrlSettings urls_;
};

// The head revision as long as the pool lives.
class Head {
 public:
  Head(const ServerContext& context, const std::u16string& repository)
      : pool_(context.root_pool()) {
    svn_repos_t* const opened = svn::OpenRepository(GetRepositoryPath(context, repository), pool_);
    svn_fs_t* const fs = svn_repos_fs(opened);
    svn_revnum_t youngest = SVN_INVALID_REVNUM;
    svn::Check(svn_fs_youngest_rev(&youngest, fs, pool_));
    svn::Check(svn_fs_revision_root(&root_, fs, youngest, pool_));
  }

  NodeKind KindOf(const std::u16string& path) const {
    svn_node_kind_t kind = svn_node_none;
    svn::Check(svn_fs_check_path(&kind, root_, svn::Utf8(path).c_str(), pool_));
    return static_cast<NodeKind>(kind);
  }

  std::vector<RepositoryEntry> Children(const std::u16string& folder,
                                        const Entries& entries) const {
    apr_hash_t* found = nullptr;
    svn::Check(svn_fs_dir_entries(&found, root_, svn::Utf8(folder).c_str(), pool_));
    const std::u16string prefix = folder == u"/" ? folder : folder + u"/";
    std::vector<RepositoryEntry> children;
    children.reserve(apr_hash_count(found));
    for (apr_hash_index_t* i = apr_hash_first(pool_, found); i; i = apr_hash_next(i)) {
      const auto* child = static_cast<const svn_fs_dirent_t*>(apr_hash_this_val(i));
      children.push_back(
          entries.Make(prefix + svn::Utf16(child->name), static_cast<NodeKind>(child->kind)));
    }
    return children;
  }

 private:
  svn::Pool pool_;
  svn_fs_root_t* root_ = nullptr;
};

// Our commits pass no hook that would refuse them.
void RefuseSlave(svn_repos_t* repository, const svn::Pool& pool) {
  const svn::StoreInfo info = svn::ReadStoreInfo(repository, pool);
  if (svn::TypeOf(info) != RepositoryType::OrmuSlave) return;
  svn::ThrowError(ORMU_ERR_SLAVE_READ_ONLY,
                  Format(u"This repository is a slave and takes no changes; commit to the master: "
                         u"%s on %s",
                         info.master_repository, info.master_server));
}

using Step = svn_error_t* (*)(svn_fs_root_t*, const char* path, apr_pool_t*);

void Commit(const ServerContext& context, const FolderCommit& commit, Step step) {
  for (const std::u16string& path : commit.paths) RequireCanonical(path);
  const svn::Pool pool(context.root_pool());
  const svn::WarningSink warn = [&](const std::u16string& text) {
    context.events().LogWarning(text);
  };
  svn_repos_t* const repository =
      svn::OpenRepository(GetRepositoryPath(context, commit.repository), pool, warn);
  RefuseSlave(repository, pool);
  svn::CommitChange(
      repository, kAuthor, commit.message,
      [&](svn_fs_root_t* root, const svn::Pool& parent) {
        svn::Pool iteration(parent);
        for (const std::u16string& path : commit.paths) {
          iteration.Clear();
          svn::Check(step(root, svn::Utf8(path).c_str(), iteration));
        }
      },
      warn, pool);
}

}  // namespace

std::optional<std::uint32_t> ClientKind(NodeKind kind) {
  if (kind != NodeKind::File && kind != NodeKind::Folder) return std::nullopt;
  return static_cast<std::uint32_t>(kind) - 1;
}

std::optional<RepositoryEntry> ReadEntry(const ServerContext& context, const EntryKey& key) {
  RequireCanonical(key.path);
  const NodeKind kind = Head(context, key.repository).KindOf(key.path);
  if (kind == NodeKind::None) return std::nullopt;
  return Entries(context, key.repository).Make(key.path, kind);
}

RepositoryEntry RequireEntry(const ServerContext& context, const EntryKey& key) {
  const auto repository = FindRepository(context, key.repository);
  if (!repository) throw WMIException(WBEM_E_NOT_FOUND);
  const auto entry = ReadEntry(context, {*repository, key.path});
  if (!entry) throw WMIException(WBEM_E_NOT_FOUND);
  return *entry;
}

std::optional<FolderContent> ReadFolder(const ServerContext& context, const EntryKey& key) {
  RequireCanonical(key.path);
  const Head head(context, key.repository);
  const NodeKind kind = head.KindOf(key.path);
  if (kind == NodeKind::None) return std::nullopt;
  const Entries entries(context, key.repository);
  FolderContent content{entries.Make(key.path, kind), {}};
  if (kind == NodeKind::Folder) content.children = head.Children(key.path, entries);
  return content;
}

std::vector<RepositoryEntry> CreateFolders(const ServerContext& context,
                                           const FolderCommit& commit) {
  Commit(context, commit, svn_fs_make_dir);
  const Entries entries(context, commit.repository);
  std::vector<RepositoryEntry> made;
  for (const std::u16string& path : commit.paths)
    made.push_back(entries.Make(path, NodeKind::Folder));
  return made;
}

void DeleteFolders(const ServerContext& context, const FolderCommit& commit) {
  Commit(context, commit, svn_fs_delete);
}

}  // namespace kelvarion::repos
