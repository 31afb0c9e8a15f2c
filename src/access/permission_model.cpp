#include "access/permission_model.h"

#include <algorithm>
#include <functional>
#include <memory>

#include "access/authz_files.h"
#include "access/authz_parser.h"
#include "access/names.h"
#include "access/permission_description.h"
#include "access/permissions_lock.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/repository.h"

namespace kelvarion::access {
namespace {

const std::u16string kGlobalSection = u"global";

// Changes a list of rules; false when it is to stay as it is.
using Edit = std::function<bool(PermissionList&)>;

struct RulesFile {
  std::u16string path;
  std::unique_ptr<AuthzFileParser> parser;
};

// The one in force, not read yet.
RulesFile RepositoryRules(const ServerContext& context, const std::u16string& repository,
                          bool windows) {
  if (windows)
    return {WindowsRulesFile(context, repository), std::make_unique<AuthzWindowsFileParser>()};
  return {SubversionRulesFile(context, repository), std::make_unique<AuthzSubversionFileParser>()};
}

RulesFile Read(RulesFile file, const svn::Pool& pool) {
  ReadIniFile(file.path, file.parser->document(), pool);
  return file;
}

RulesFile ReadRepositoryRules(const ServerContext& context, const std::u16string& repository,
                              bool windows, const svn::Pool& pool) {
  return Read(RepositoryRules(context, repository, windows), pool);
}

RulesFile ReadGlobalRules(const ServerContext& context, const svn::Pool& pool) {
  return Read({GlobalRulesFile(context), std::make_unique<AuthzGlobalFileParser>()}, pool);
}

void Write(const RulesFile& file, const svn::Pool& pool) {
  WriteIniFile(file.path, file.parser->document(), kAuthorizationHeader, pool);
}

PermissionList::iterator Find(PermissionList& rules, const Account& account) {
  return std::find_if(rules.begin(), rules.end(),
                      [&](const PermissionEntry& entry) { return entry.account == account; });
}

void RefuseNewOddAccounts(const PermissionList& rules, PermissionList old) {
  for (const PermissionEntry& entry : rules) {
    const std::u16string problem = AccountProblem(entry.account);
    if (!problem.empty() && Find(old, entry.account) == old.end()) RefuseIf(problem);
  }
}

// A store that cannot be opened or is of a kind unknown here is nobody's slave.
void RefuseSlave(const ServerContext& context, const std::u16string& repository) {
  const svn::Pool pool(context.root_pool());
  RepositoryType type = RepositoryType::Fsfs;
  try {
    type = svn::TypeOf(
        svn::ReadStoreInfo(svn::OpenRepository(RepositoryFolder(context, repository), pool), pool));
  } catch (const SvnException&) {
    return;
  }
  if (type == RepositoryType::OrmuSlave) {
    throw SimpleException(u"Permissions modification is not supported for slave repositories.");
  }
}

// The change is made; a log that fails does not undo it.
void ReportFailure(const ServerContext& context, Win32Error error) {
  if (error != ERROR_SUCCESS) context.events().LogReportFailure(Format(u"%lu", error));
}

bool ChangePath(const ServerContext& context, const RepositoryPath& where, ResetChildren reset,
                const Edit& edit) {
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context, where.repository);
  const bool windows = context.configuration().GetUseWindowsAuth();
  if (windows) RefuseSlave(context, where.repository);
  const RulesFile file = ReadRepositoryRules(context, where.repository, windows, pool);
  AuthzFileParser& parser = *file.parser;
  const PermissionList old = parser.Entries(where.path);
  PermissionList rules = old;
  if (!edit(rules)) return false;
  if (!parser.document().contains(where.path)) RefuseIf(RulePathProblem(where.path));
  RefuseNewOddAccounts(rules, old);

  std::u16string old_text;
  std::u16string new_text;
  if (windows) {
    svn::RequireEntry(RepositoryFolder(context, where.repository), pool);
    old_text = DescribePermissions(*context.machine().security, old);
    new_text = DescribePermissions(*context.machine().security, rules);
  }
  parser.SetEntries(where.path, rules);
  if (reset == ResetChildren::kYes) parser.RemoveChildren(where.path);
  Write(file, pool);
  if (windows) {
    ReportFailure(context, context.events().LogRepositoryPermissionsChanged(
                               where.repository, where.path, old_text, new_text,
                               reset == ResetChildren::kYes));
  }
  return true;
}

bool ChangeGlobal(const ServerContext& context, const Edit& edit) {
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context);
  const bool windows = context.configuration().GetUseWindowsAuth();
  PermissionList old;
  RulesFile file;
  if (windows) {
    file = ReadGlobalRules(context, pool);
    old = file.parser->Entries(kGlobalSection);
  }
  PermissionList rules = old;
  if (!edit(rules)) return false;
  if (!windows) {
    throw SimpleException(u"Global permissions are not supported for Subversion authentication.");
  }
  RefuseNewOddAccounts(rules, old);
  const std::u16string old_text = DescribePermissions(*context.machine().security, old);
  const std::u16string new_text = DescribePermissions(*context.machine().security, rules);
  file.parser->SetEntries(kGlobalSection, rules);
  Write(file, pool);
  ReportFailure(context, context.events().LogGlobalPermissionsChanged(old_text, new_text));
  return true;
}

bool Change(const ServerContext& context, const RuleScope& scope, const Edit& edit) {
  if (scope) return ChangePath(context, *scope, ResetChildren::kNo, edit);
  return ChangeGlobal(context, edit);
}

Edit ReplaceBy(const PermissionList& rules) {
  return [&rules](PermissionList& list) {
    list = rules;
    return true;
  };
}

}  // namespace

PermissionList GetPathPermissions(const ServerContext& context, const RepositoryPath& where) {
  const svn::Pool pool(context.root_pool());
  const bool windows = context.configuration().GetUseWindowsAuth();
  const RulesFile file = RepositoryRules(context, where.repository, windows);
  file.parser->document()[where.path] = ReadIniSection(file.path, where.path, pool);
  return file.parser->Entries(where.path);
}

std::map<std::u16string, PermissionList> GetAllPathPermissions(const ServerContext& context,
                                                               const std::u16string& repository) {
  const svn::Pool pool(context.root_pool());
  const bool windows = context.configuration().GetUseWindowsAuth();
  return ReadRepositoryRules(context, repository, windows, pool).parser->AllPaths();
}

PermissionList GetGlobalPermissions(const ServerContext& context) {
  if (!context.configuration().GetUseWindowsAuth()) return {};
  const svn::Pool pool(context.root_pool());
  return ReadGlobalRules(context, pool).parser->Entries(kGlobalSection);
}

void SetPathPermissions(const ServerContext& context, const RepositoryPath& where,
                        const PermissionList& rules, ResetChildren reset) {
  ChangePath(context, where, reset, ReplaceBy(rules));
}

void SetGlobalPermissions(const ServerContext& context, const PermissionList& rules) {
  ChangeGlobal(context, ReplaceBy(rules));
}

bool AddPermission(const ServerContext& context, const RuleScope& scope, const Account& account,
                   AccessLevel access, Overwrite overwrite) {
  return Change(context, scope, [&](PermissionList& rules) {
    const auto found = Find(rules, account);
    if (found == rules.end()) {
      rules.push_back({account, access});
      return true;
    }
    if (overwrite == Overwrite::kNo) return false;
    found->access = access;
    return true;
  });
}

bool RemovePermission(const ServerContext& context, const RuleScope& scope,
                      const Account& account) {
  return Change(context, scope, [&](PermissionList& rules) {
    const auto found = Find(rules, account);
    if (found == rules.end()) return false;
    rules.erase(found);
    return true;
  });
}

}  // namespace kelvarion::access
