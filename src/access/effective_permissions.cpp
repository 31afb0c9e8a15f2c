// The walk from a path up to the rules of the whole server.
#include <svn_dirent_uri.h>

#include "access/authz_files.h"
#include "access/authz_parser.h"
#include "access/permission_model.h"
#include "svn/config_file.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

// Without the leading "/", as the libraries' public functions take it.
std::string CanonicalRelativePath(const std::u16string& path, const svn::Pool& pool) {
  return svn_relpath_canonicalize(svn::Utf8(path).c_str() + path.starts_with(u'/'), pool);
}

}  // namespace

void EnumerateEffectivePermissions(const ServerContext& context, const RepositoryPath& where,
                                   IcEnumPermissionsCallback& callback) {
  if (!context.configuration().GetUseWindowsAuth()) return;
  const svn::Pool pool(context.root_pool());
  std::string relative = CanonicalRelativePath(where.path, pool);
  const svn::ConfigFile rules(WindowsRulesFile(context, where.repository), svn::MustExist::kYes,
                              pool);
  const svn::ConfigFile global(GlobalRulesFile(context), svn::MustExist::kNo, pool);
  const auto visit = [&](const svn::ConfigFile& file, const std::string& section,
                         const std::u16string* repository, const std::u16string* path) {
    file.ForEachOption(section.c_str(), [&](std::string_view key, std::string_view value) {
      callback.OnPermission(repository, path, Account::Windows(svn::Utf16(key)),
                            AccessFromValue(svn::Utf16(value)));
    });
  };
  for (bool more = true; more;) {
    const std::string section = "/" + relative;
    const std::u16string path = svn::Utf16(section);
    visit(rules, section, &where.repository, &path);
    more = !relative.empty();
    if (more) relative = svn_relpath_dirname(relative.c_str(), pool);
  }
  visit(global, "global", nullptr, nullptr);
}

}  // namespace kelvarion::access
