// What the explanations of both authentication modes share.
#pragma once

#include "access/effective/authz_problem.h"
#include "access/effective/effective_access.h"

namespace kelvarion::access {

std::vector<EffectiveAccess> ExplainForUsers(const ServerContext& context,
                                             const RepositoryPath& where,
                                             const std::optional<std::u16string>& account);
std::vector<EffectiveAccess> ExplainForMachine(const ServerContext& context,
                                               const RepositoryPath& where,
                                               const std::optional<std::u16string>& account);

// "read", "read and write", "no access"
std::u16string_view AccessInWords(AccessLevel access);

// Why nobody has access.
std::u16string RefusedBecauseOf(const std::u16string& file, const AuthzProblem& problem);

// With the explanation from the rule, if there is one, what it gives and the groups.
std::shared_ptr<const AccessReason> Reason(std::optional<DecidingRule> rule, AccessLevel access,
                                           std::vector<std::u16string> through);
// One that is nothing but an explanation.
std::shared_ptr<const AccessReason> Reason(std::u16string explanation);

}  // namespace kelvarion::access
