#include "repos/root.h"

#include <svn_io.h>

#include <algorithm>
#include <filesystem>

#include "access/folder_acl.h"
#include "access/windows_groups.h"
#include "apache/configuration_generator.h"
#include "apache/values.h"
#include "errors/exception.h"
#include "services/server_service.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/paths.h"

namespace kelvarion::repos {
void RequireServableRoot(const std::u16string& path) {
  if (path.empty()) throw SimpleException(u"Repositories path is invalid.");
  if (!apache::IsQuotable(path)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"The web server's configuration cannot hold the repositories path: it must "
                       u"not contain quotation marks, control characters or '${'");
  }
  // A drive letter or a share names nothing here; the folder would end up where the program happens
  // to run.
  if (!platform::NativePath(path).starts_with('/')) {
    throw SimpleException(u"Repositories path '%s' is not an absolute path.", path);
  }
  // Every folder directly below would count as a repository, to be renamed and deleted.
  if (std::filesystem::path(platform::NativePath(path)).lexically_normal() == "/") {
    throw SimpleException(u"Repositories path '%s' is the root of the file system.", path);
  }
}

void AdjustRootPermissions(const ServerContext& context, const std::u16string& root) {
  platform::Machine& machine = context.machine();
  platform::SecurityAuthority& authority = *machine.security;
  const std::vector<platform::AccessGrant> grants = {
      {access::GetServerAdminsSid(authority), platform::kAccessModify},
      {services::GetServerServiceAccountSid(*machine.services, authority), platform::kAccessModify},
      {platform::kSidBuiltinAdministrators, platform::kAccessFullControl},
      {platform::kSidLocalSystem, platform::kAccessFullControl},
  };
  const std::vector<platform::AccessGrant> dacl = access::ReadFolderDacl(authority, root);
  const bool granted = std::ranges::all_of(grants, [&](const platform::AccessGrant& grant) {
    return (access::EffectiveRights(dacl, grant.sid) & grant.access_mask) == grant.access_mask;
  });
  // A list of the folder's own is carried out again even where it says all of this: whatever was
  // copied or moved into the folder may have come with an access of its own.
  if (granted && std::ranges::any_of(dacl, &platform::AccessGrant::inherited)) return;
  access::ApplyGrants(authority, root, grants);
}

SetRootResult SetRepositoriesRoot(const ServerContext& context, const std::u16string& path,
                                  AdjustPermissions adjust, CreateMissing create) {
  RequireServableRoot(path);
  const std::uint32_t attributes = util::GetFileAttributesOrMissing(path);
  if (attributes == util::kMissingFile) {
    if (create == CreateMissing::kNo) return SetRootResult::kPathMissing;
    const svn::Pool pool(context.root_pool());
    svn::Check(svn_io_make_dir_recursively(svn::DirentFromPath(path).c_str(), pool));
  } else if ((attributes & platform::FILE_ATTRIBUTE_DIRECTORY) == 0) {
    throw SimpleException(u"Repositories path '%s' is not directory.", path);
  }

  context.configuration().SetRepositoriesRoot(path);
  context.configuration().SetAdjustRepositoriesRootPermissions(adjust == AdjustPermissions::kYes);
  apache::RegenerateApacheConfig(context.configuration());
  if (adjust == AdjustPermissions::kYes && !util::GetVolumeInfo(path).remote) {
    AdjustRootPermissions(context, path);
  }
  return SetRootResult::kDone;
}

}  // namespace kelvarion::repos
