// Reading what one repository is.
#include <svn_fs.h>
#include <svn_repos.h>

#include "access/authz_files.h"
#include "access/permission_model.h"
#include "errors/exception.h"
#include "repos/repository_store.h"
#include "repos/url.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

void FillLayout(const svn::FsfsLayout& layout, svn_revnum_t youngest, RepositoryRecord& record) {
  record.shard_size = static_cast<std::uint32_t>(layout.shard_size);
  if (layout.shard_size > 0) {
    const auto size = static_cast<std::uint32_t>(layout.shard_size);
    record.total_shards = (static_cast<std::uint32_t>(youngest) + 1) / size;
    record.packed_shards = static_cast<std::uint32_t>(layout.min_unpacked_revision) / size;
  }
  record.log_addressing = layout.log_addressing ? 1 : 0;
}

struct OpenedStore {
  svn_fs_t* fs = nullptr;
  svn::StoreInfo info;
  svn_revnum_t youngest = 0;
  RepositoryType type = RepositoryType::Fsfs;
};

// Nothing for a folder that is no repository, or none of a known kind.
std::optional<OpenedStore> OpenStore(const std::u16string& path, const svn::Pool& pool) {
  try {
    OpenedStore store;
    svn_repos_t* const repository = svn::OpenRepository(path, pool);
    store.fs = svn_repos_fs(repository);
    store.info = svn::ReadStoreInfo(repository, pool);
    svn::Check(svn_fs_youngest_rev(&store.youngest, store.fs, pool));
    store.type = svn::TypeOf(store.info);
    return store;
  } catch (const SvnException&) {
    return std::nullopt;
  }
}

void FillFromStore(const OpenedStore& store, const svn::Pool& pool, RepositoryRecord& record) {
  record.type = store.type;
  record.total_revisions = static_cast<std::uint32_t>(store.youngest);
  int format = 0;
  svn_version_t* supports = nullptr;
  svn::Check(svn_fs_info_format(&format, &supports, store.fs, pool, pool));
  record.format_number = static_cast<std::uint32_t>(format);
  const char* uuid = nullptr;
  svn::Check(svn_fs_get_uuid(store.fs, &uuid, pool));
  record.uuid = svn::Utf16(uuid);
  record.suspended = store.info.suspended ? 1 : 0;
  if (store.type == RepositoryType::OrmuSlave) {
    record.master_server = store.info.master_server;
    record.master_repository = store.info.master_repository;
  }
  if (store.info.fsfs) FillLayout(*store.info.fsfs, store.youngest, record);
}

// What does not depend on the repository being one.
struct Surroundings {
  explicit Surroundings(const ServerContext& context)
      : root(svn::DirentFromPath(access::RepositoriesRoot(context))),
        urls(ReadUrlSettings(context.configuration())) {}

  RepositoryRecord Describe(const std::u16string& name) const {
    RepositoryRecord record;
    record.name = name;
    record.path = svn::PathFromDirent(svn::JoinDirent(root, svn::Utf8(name)));
    record.url = BuildRepositoryUrl(name, u"/", urls);
    return record;
  }

  std::string root;
  UrlSettings urls;
};

void FillRecord(const ServerContext& context, const svn::Pool& pool, RepositoryRecord& record) {
  if (const auto store = OpenStore(record.path, pool)) FillFromStore(*store, pool, record);
  record.inherited_only_permissions =
      access::GetPathPermissions(context, {record.name, u"/"}).empty();
}

// Whether there is one any more: it may have gone while it was read.
bool IsStillThere(const RepositoryRecord& record, const svn::Pool& pool) {
  return record.type || svn::IsFolder(record.path, pool);
}

}  // namespace

RepositoryRecord ReadRepository(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  RepositoryRecord record = Surroundings(context).Describe(name);
  FillRecord(context, pool, record);
  if (!IsStillThere(record, pool)) RequireRepository(context, name);
  return record;
}

void VisitRepositories(const ServerContext& context,
                       const std::function<void(const RepositoryRecord&)>& take) {
  svn::Pool pool(context.root_pool());
  const Surroundings surroundings(context);
  for (const std::u16string& name : ListRepositoryNames(context)) {
    pool.Clear();
    RepositoryRecord record = surroundings.Describe(name);
    try {
      FillRecord(context, pool, record);
    } catch (const Exception& exception) {
      context.events().LogException(exception);
    }
    if (IsStillThere(record, pool)) take(record);
  }
}

std::vector<RepositoryRecord> ListRepositories(const ServerContext& context) {
  std::vector<RepositoryRecord> records;
  VisitRepositories(context, [&](const RepositoryRecord& record) { records.push_back(record); });
  return records;
}

}  // namespace kelvarion::repos
