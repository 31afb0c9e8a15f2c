// The text form of groups: one section whose keys are groups and whose values list their members.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "access/account.h"
#include "access/ini_document.h"
#include "context/server_context.h"

namespace kelvarion::access {

bool GroupsFileExists(const ServerContext& context, const svn::Pool& pool);
IniDocument ReadGroupsFile(const ServerContext& context, const svn::Pool& pool);
void WriteGroupsFile(const ServerContext& context, const IniDocument& groups,
                     const svn::Pool& pool);

// The group's line; null when there is no such group. Sections are never added by asking.
const std::u16string* FindGroup(const IniDocument& groups, const std::u16string& name);
// Group → members.
IniSection& GroupsSection(IniDocument& groups);

// Members are separated by commas and blanks; "@" marks a group.
std::vector<Account> ParseMembers(std::u16string_view text);
// Throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS for an account that cannot be a member.
std::u16string FormatMembers(const std::vector<Account>& members);

// Takes the account out of all groups; false when it was in none.
bool RemoveMember(IniDocument& groups, const Account& account);

// Whether the group contains itself, through others or directly.
bool IsInCycle(const IniDocument& groups, const std::u16string& start);

}  // namespace kelvarion::access
