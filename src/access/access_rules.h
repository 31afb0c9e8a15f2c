// Access rules one by one: what one account may do at one place. Failures as in permission_model.h.
#pragma once

#include <string>
#include <vector>

#include "access/permission_model.h"

namespace kelvarion::access {

struct AccessRule {
  RuleScope scope;
  Account account;
  AccessLevel access = AccessLevel::NoAccess;
};

// An account as clients write it and rules files have it. With Subversion authentication a user,
// "@" and a group, or "*"; with Windows authentication a SID or "*", for which a name may be given.
// Throws Win32Exception for a name that no account has. What the files cannot carry is for the
// operations that write them to refuse.
Account AccountFromText(const ServerContext& context, const std::u16string& text);
std::u16string AccountText(const Account& account);

// The rules of the whole server, in the order of their file.
std::vector<AccessRule> GlobalRules(const ServerContext& context);
// All rules of a repository, by path.
std::vector<AccessRule> RepositoryRules(const ServerContext& context,
                                        const std::u16string& repository);

// For each account the rule nearest to the path: its own, that of a folder above it, last one of
// the whole server. In the order met, nearest first.
std::vector<AccessRule> RulesInForce(const ServerContext& context, const RuleScope& where);

}  // namespace kelvarion::access
