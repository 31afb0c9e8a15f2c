#include "repos/repository_store.h"

#include <svn_error_codes.h>

#include "access/authz_files.h"
#include "platform/text/compare.h"
#include "repos/names.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/paths.h"
#include "util/server_files.h"

namespace kelvarion::repos {

std::vector<std::u16string> ListRepositoryNames(const ServerContext& context) {
  const svn::Pool pool(context.root_pool());
  const auto skipped = [&](const std::u16string& name) {
    context.events().LogWarning(Format(
        u"A folder of the repositories root is left out since its name is not UTF-8: '%s'", name));
  };
  std::vector<std::u16string> names =
      svn::ListFolders(access::RepositoriesRoot(context), pool, skipped);
  std::erase(names, svn::Utf16(server_files::kWorkFolder));
  return names;
}

std::optional<std::u16string> FindRepository(const ServerContext& context,
                                             const std::u16string& name) {
  if (name.empty() || name == svn::Utf16(server_files::kWorkFolder)) return std::nullopt;
  if (svn::HasFolder(access::RepositoriesRoot(context), name, context.root_pool())) return name;
  for (std::u16string& candidate : ListRepositoryNames(context))
    if (platform::EqualIgnoreCase(candidate, name)) return std::move(candidate);
  return std::nullopt;
}

// A folder may have got a name by other ways that none could get here; it can be dealt with all the
// same. Only names that nothing has are judged.
std::u16string RequireRepository(const ServerContext& context, const std::u16string& name) {
  if (const auto found = FindRepository(context, name)) return *found;
  ValidateRepositoryName(name);
  throw WMIException(WBEM_E_NOT_FOUND, u"There is no repository with the name '%s'", name);
}

std::u16string GetRepositoryPath(const ServerContext& context, const std::u16string& name) {
  return svn::PathFromDirent(svn::DirentFromPath(access::RepositoryFolder(context, name)));
}

std::u16string GetRepositoryDiskName(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  const auto found = FindEntry(access::RepositoriesRoot(context), name, pool);
  if (!found) {
    svn::ThrowAprError(APR_ENOENT, Format(u"Can't stat '%s'", GetRepositoryPath(context, name)));
  }
  return *found;
}

void RequireAbsolutePath(const std::u16string& path) {
  if (util::IsAbsoluteOrNetworkPath(path)) return;
  svn::ThrowError(SVN_ERR_INCORRECT_PARAMS,
                  Format(u"'%s' is not an absolute or a network path.", path));
}

RepositoryType GetRepositoryType(const ServerContext& context, const std::u16string& path) {
  RequireAbsolutePath(path);
  const svn::Pool pool(context.root_pool());
  return svn::TypeOf(svn::ReadStoreInfo(svn::OpenRepository(path, pool), pool));
}

}  // namespace kelvarion::repos
