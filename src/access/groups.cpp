#include "access/groups.h"

#include <algorithm>
#include <functional>

#include "access/groups_file.h"
#include "access/names.h"
#include "access/permissions_lock.h"
#include "access/purge.h"

namespace kelvarion::access {
namespace {

// Members that the group has already may be written back, whatever they are called.
void RefuseNewOddMembers(const std::vector<Account>& members, const std::vector<Account>& old) {
  for (const Account& member : members) {
    const std::u16string problem = AccountProblem(member);
    if (!problem.empty() && std::find(old.begin(), old.end(), member) == old.end()) {
      RefuseIf(problem);
    }
  }
}

// False when the group would contain itself; nothing is written then.
bool WriteMembers(const ServerContext& context, IniDocument& groups, const std::u16string& name,
                  const std::u16string& members, const svn::Pool& pool) {
  GroupsSection(groups)[name] = members;
  if (IsInCycle(groups, name)) return false;
  WriteGroupsFile(context, groups, pool);
  return true;
}

SetMembersResult ChangeMembers(const ServerContext& context, const std::u16string& name,
                               const std::function<void(std::vector<Account>&)>& edit) {
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context);
  IniDocument groups = ReadGroupsFile(context, pool);
  const std::u16string* const text = FindGroup(groups, name);
  if (!text) return SetMembersResult::kNoSuchGroup;
  const std::vector<Account> old = ParseMembers(*text);
  std::vector<Account> members = old;
  edit(members);
  RefuseNewOddMembers(members, old);
  return WriteMembers(context, groups, name, FormatMembers(members), pool)
             ? SetMembersResult::kDone
             : SetMembersResult::kCycle;
}

}  // namespace

std::vector<std::u16string> ListGroups(const ServerContext& context) {
  const svn::Pool pool(context.root_pool());
  IniDocument groups = ReadGroupsFile(context, pool);
  std::vector<std::u16string> names;
  for (const auto& [name, members] : GroupsSection(groups)) names.push_back(name);
  return names;
}

bool GroupExists(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  return FindGroup(ReadGroupsFile(context, pool), name) != nullptr;
}

std::vector<Account> GetMembers(const ServerContext& context, const std::u16string& name) {
  const svn::Pool pool(context.root_pool());
  const IniDocument groups = ReadGroupsFile(context, pool);
  const std::u16string* members = FindGroup(groups, name);
  return members ? ParseMembers(*members) : std::vector<Account>();
}

CreateGroupResult CreateGroup(const ServerContext& context, const std::u16string& name,
                              const std::vector<Account>& members) {
  RefuseIf(GroupNameProblem(name));
  const std::u16string text = FormatMembers(members);
  RefuseNewOddMembers(members, {});
  const svn::Pool pool(context.root_pool());
  const PermissionsLock lock(context);
  IniDocument groups = ReadGroupsFile(context, pool);
  if (FindGroup(groups, name)) return CreateGroupResult::kExists;
  return WriteMembers(context, groups, name, text, pool) ? CreateGroupResult::kCreated
                                                         : CreateGroupResult::kCycle;
}

SetMembersResult SetMembers(const ServerContext& context, const std::u16string& name,
                            const std::vector<Account>& members) {
  FormatMembers(members);  // Refuses what no group can have, even where there is no such group.
  return ChangeMembers(context, name, [&](std::vector<Account>& list) { list = members; });
}

SetMembersResult AddMembers(const ServerContext& context, const std::u16string& name,
                            const std::vector<Account>& members) {
  return ChangeMembers(context, name, [&](std::vector<Account>& list) {
    for (const Account& member : members)
      if (!std::ranges::count(list, member)) list.push_back(member);
  });
}

SetMembersResult RemoveMembers(const ServerContext& context, const std::u16string& name,
                               const std::vector<Account>& members) {
  return ChangeMembers(context, name, [&](std::vector<Account>& list) {
    std::erase_if(list, [&](const Account& member) { return std::ranges::count(members, member); });
  });
}

bool DeleteGroup(const ServerContext& context, const std::u16string& name) {
  const Account account = Account::Group(name);
  const svn::Pool pool(context.root_pool());
  bool exists = false;
  {
    const PermissionsLock lock(context);
    IniDocument groups = ReadGroupsFile(context, pool);
    exists = GroupsSection(groups).erase(name) != 0;
    if (exists) {
      NoteDeletion(context, account, pool);
      RemoveMember(groups, account);
    } else {
      RefuseIf(GroupNameProblem(name));
    }
    WriteGroupsFile(context, groups, pool);
    if (!exists && !IsDeletionNoted(context, account, pool)) return false;
  }
  PurgeAccount(context, account);
  return exists;
}

}  // namespace kelvarion::access
