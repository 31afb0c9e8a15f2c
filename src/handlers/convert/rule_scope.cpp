#include "handlers/convert/rule_scope.h"

#include <algorithm>

#include "platform/text/compare.h"
#include "repos/repository_store.h"

namespace kelvarion {

access::RuleScope ToScope(const ServerContext& context, const std::u16string& repository,
                          const std::u16string& path) {
  if (repository == kAllRepositories && path == u"/") return std::nullopt;
  return access::RepositoryPath{repos::RequireRepository(context, repository), path};
}

std::u16string RepositoryOf(const access::RuleScope& scope) {
  return scope ? scope->repository : kAllRepositories;
}

std::u16string PathOf(const access::RuleScope& scope) { return scope ? scope->path : u"/"; }

void ForEachExplicitRule(const ServerContext& context,
                         const std::function<void(const access::AccessRule&)>& visit) {
  for (const access::AccessRule& rule : access::GlobalRules(context)) visit(rule);
  std::vector<std::u16string> names = repos::ListRepositoryNames(context);
  std::ranges::sort(names, platform::LogicalLess{});
  for (const std::u16string& name : names)
    for (const access::AccessRule& rule : access::RepositoryRules(context, name)) visit(rule);
}

}  // namespace kelvarion
