#include "access/effective/effective_access.h"

#include <svn_dirent_uri.h>

#include "access/effective/explain_internal.h"
#include "platform/text/format.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

std::u16string CanonicalPath(const std::u16string& path, const svn::Pool& pool) {
  const std::string utf8 = svn::Utf8(path);
  return u"/" + svn::Utf16(svn_relpath_canonicalize(utf8.c_str() + utf8.starts_with('/'), pool));
}

}  // namespace

std::u16string_view AccessInWords(AccessLevel access) {
  switch (access) {
    case AccessLevel::NoAccess:
      return u"no access";
    case AccessLevel::ReadOnly:
      return u"read";
    case AccessLevel::ReadWrite:
      return u"read and write";
  }
  return {};
}

std::u16string RefusedBecauseOf(const std::u16string& file, const AuthzProblem& problem) {
  const std::u16string line = problem.line ? Format(u", line %d", problem.line) : u"";
  return Format(u"The web server refuses all access because of %s%s: %s.", file, line,
                problem.text);
}

std::shared_ptr<const AccessReason> Reason(std::optional<DecidingRule> rule, AccessLevel access,
                                           std::vector<std::u16string> through) {
  if (!rule) return Reason(u"No rule names the account.");
  std::u16string chain;
  for (const std::u16string& group : through) {
    chain += chain.empty() ? u", through " : u", in it ";
    chain += group;
  }
  std::u16string text = Format(u"The rule '%s' of [%s] gives %s%s.", rule->key, rule->section,
                               AccessInWords(access), chain);
  return std::make_shared<AccessReason>(
      AccessReason{std::move(rule), std::move(through), std::move(text)});
}

std::shared_ptr<const AccessReason> Reason(std::u16string explanation) {
  return std::make_shared<AccessReason>(AccessReason{{}, {}, std::move(explanation)});
}

std::vector<EffectiveAccess> ExplainAccess(const ServerContext& context,
                                           const RepositoryPath& where,
                                           const std::optional<std::u16string>& account) {
  const svn::Pool pool(context.root_pool());
  const RepositoryPath canonical{where.repository, CanonicalPath(where.path, pool)};
  return context.configuration().GetUseWindowsAuth()
             ? ExplainForMachine(context, canonical, account)
             : ExplainForUsers(context, canonical, account);
}

}  // namespace kelvarion::access
