// Where a rule belongs, as the classes of single rules say it: a repository and a path, which are
// "*" and "/" for a rule of the whole server.
#pragma once

#include <functional>
#include <string>

#include "access/access_rules.h"

namespace kelvarion {

inline constexpr const char16_t* kAllRepositories = u"*";

// The repository is found ignoring case; WMIException WBEM_E_NOT_FOUND when there is none.
access::RuleScope ToScope(const ServerContext& context, const std::u16string& repository,
                          const std::u16string& path);

std::u16string RepositoryOf(const access::RuleScope& scope);
std::u16string PathOf(const access::RuleScope& scope);

// The rules of the whole server, then those of each repository, by name and path.
void ForEachExplicitRule(const ServerContext& context,
                         const std::function<void(const access::AccessRule&)>& visit);

}  // namespace kelvarion
