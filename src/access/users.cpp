#include "access/users.h"

#include <algorithm>

#include "access/authz_files.h"
#include "access/groups_file.h"
#include "access/names.h"
#include "access/permissions_lock.h"
#include "access/purge.h"
#include "access/users_file.h"
#include "platform/text/encoding.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

UserRecords::iterator Find(UserRecords& users, const std::u16string& name) {
  std::string encoded;
  if (!platform::Utf16ToUtf8(name, encoded)) return users.end();
  return std::find_if(users.begin(), users.end(),
                      [&](const UserRecord& user) { return user.name == encoded; });
}

// Leaves an existing file alone.
void CreateGroupsFile(const ServerContext& context, const svn::Pool& pool) {
  try {
    if (!GroupsFileExists(context, pool)) WriteGroupsFile(context, {}, pool);
  } catch (const Exception&) {
    // The user is made; whoever writes a group makes the file, or learns why that fails.
  }
}

void RemoveFromGroups(const ServerContext& context, const Account& account, const svn::Pool& pool) {
  IniDocument groups = ReadGroupsFile(context, pool);
  if (RemoveMember(groups, account)) WriteGroupsFile(context, groups, pool);
}

}  // namespace

std::vector<std::u16string> ListUsers(const ServerContext& context) {
  const svn::Pool pool(context.root_pool());
  std::vector<std::u16string> names;
  for (const UserRecord& user : ReadUsersFile(UsersFile(context), pool)) {
    names.push_back(svn::Utf16(user.name));
  }
  return names;
}

bool CreateUser(const ServerContext& context, const std::u16string& name,
                const std::u16string& password) {
  RefuseIf(UserNameProblem(name));
  RefuseIf(PasswordProblem(password));
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context);
  UserRecords users = ReadUsersFile(UsersFile(context), pool);
  if (Find(users, name) != users.end()) return false;
  users.push_back({svn::Utf8(name), HashPassword(password)});
  WriteUsersFile(UsersFile(context), users, pool);
  CreateGroupsFile(context, pool);
  return true;
}

bool SetPassword(const ServerContext& context, const std::u16string& name,
                 const std::u16string& password) {
  RefuseIf(PasswordProblem(password));
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context);
  UserRecords users = ReadUsersFile(UsersFile(context), pool);
  const auto user = Find(users, name);
  if (user == users.end()) return false;
  user->hash = HashPassword(password);
  WriteUsersFile(UsersFile(context), users, pool);
  return true;
}

bool DeleteUser(const ServerContext& context, const std::u16string& name) {
  const Account account = Account::User(name);
  const svn::Pool pool(context.root_pool());
  bool exists = false;
  {
    const PermissionsLock lock(context);
    UserRecords users = ReadUsersFile(UsersFile(context), pool);
    const auto user = Find(users, name);
    exists = user != users.end();
    if (exists) {
      NoteDeletion(context, account, pool);
      users.erase(user);
    } else {
      RefuseIf(UserNameProblem(name));
    }
    WriteUsersFile(UsersFile(context), users, pool);
    if (!exists && !IsDeletionNoted(context, account, pool)) return false;
    RemoveFromGroups(context, account, pool);
  }
  PurgeAccount(context, account);
  return exists;
}

}  // namespace kelvarion::access
