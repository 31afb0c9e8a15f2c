#include "repos/root_entries.h"

#include <apr_file_info.h>
#include <svn_io.h>

#include "access/authz_files.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/paths.h"

namespace kelvarion::repos {

std::unique_ptr<access::PermissionsLock> LockRules(const ServerContext& context,
                                                   const std::u16string& repository) {
  if (!util::IsFolder(access::ConfigurationFolder(context, repository))) return nullptr;
  return std::make_unique<access::PermissionsLock>(context, repository);
}

svn::WorkFolder MakeWorkFolder(const ServerContext& context) {
  return svn::WorkFolder(
      svn::DirentFromPath(access::RepositoriesRoot(context)),
      [&events = context.events()](const Exception& trouble) { events.LogException(trouble); },
      context.root_pool());
}

std::optional<std::u16string> FindEntry(const std::u16string& root, const std::u16string& name,
                                        const svn::Pool& scratch, const std::u16string& except) {
  const svn::Pool pool(scratch);
  apr_dir_t* directory = nullptr;
  svn::Check(svn_io_dir_open(&directory, svn::DirentFromPath(root).c_str(), pool));
  std::optional<std::u16string> found;
  apr_finfo_t info;
  // Names are taken as the system gives them: converting all would fail at the first damaged one.
  while (apr_dir_read(&info, APR_FINFO_NAME, directory) == APR_SUCCESS) {
    std::u16string entry;
    if (!platform::Utf8ToUtf16(info.name, entry) || entry == except) continue;
    if (entry == name) return entry;
    if (!found && platform::EqualIgnoreCase(entry, name)) found = entry;
  }
  return found;
}

}  // namespace kelvarion::repos
