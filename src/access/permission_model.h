// Who may read and write what: the one place to ask for access rules and to change them.
//
// A rule belongs to a path of one repository or, with Windows authentication, to the whole server.
// The authentication mode, read anew by each call, decides which of a repository's rules files
// counts; the other one is left alone. Repositories are named as their folders are. Changes run one
// at a time, across threads and processes; reading waits for nothing and sees the rules as they
// were before or after a change. Failures leave the files as they were. Safe from any thread.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "access/account.h"
#include "context/server_context.h"

namespace kelvarion::access {

// A place in a repository. The path begins with "/" and is canonical: no empty, "." or ".." parts,
// no "/" at the end except for the root itself.
struct RepositoryPath {
  std::u16string repository;
  std::u16string path;
};

// Where a rule belongs; nothing stands for the server as a whole.
using RuleScope = std::optional<RepositoryPath>;

enum class ResetChildren : bool { kNo, kYes };
enum class Overwrite : bool { kNo, kYes };

// The rules of the path's own; empty when it has none and only inherits.
PermissionList GetPathPermissions(const ServerContext& context, const RepositoryPath& where);

// Every path of the repository that has rules of its own.
std::map<std::u16string, PermissionList> GetAllPathPermissions(const ServerContext& context,
                                                               const std::u16string& repository);

// Always empty with Subversion authentication.
PermissionList GetGlobalPermissions(const ServerContext& context);

// Replaces the rules of one path; an empty list makes it inherit again. With `reset` everything
// below the path inherits, too. A path or an account that the rules file cannot carry is refused
// with WBEM_E_INVALID_METHOD_PARAMETERS. With Windows authentication a replication slave is refused
// with SimpleException, and the change is reported to the event log.
void SetPathPermissions(const ServerContext& context, const RepositoryPath& where,
                        const PermissionList& rules, ResetChildren reset);

// Throws SimpleException with Subversion authentication.
void SetGlobalPermissions(const ServerContext& context, const PermissionList& rules);

// False, and nothing is changed, when the account has a rule there already and it may not be
// overwritten. Otherwise as the set operations.
bool AddPermission(const ServerContext& context, const RuleScope& scope, const Account& account,
                   AccessLevel access, Overwrite overwrite);

// False, and nothing is changed, when the account has no rule there.
bool RemovePermission(const ServerContext& context, const RuleScope& scope, const Account& account);

class IcEnumPermissionsCallback {
 public:
  // Both texts are null for a rule of the whole server.
  virtual void OnPermission(const std::u16string* repository, const std::u16string* path,
                            const Account& account, AccessLevel access) = 0;

 protected:
  ~IcEnumPermissionsCallback() = default;
};

// Calls back for each rule that can matter for the path, nearest first: those of the path, of each
// folder above it up to "/", then those of the whole server. Which one wins is the callback's
// business. Nothing is called with Subversion authentication.
void EnumerateEffectivePermissions(const ServerContext& context, const RepositoryPath& where,
                                   IcEnumPermissionsCallback& callback);

}  // namespace kelvarion::access
