// Rules and groups of Subversion authentication, the groups behind a line "--": every decision is
// the one that the libraries take.
#include <svn_io.h>
#include <svn_repos.h>
#include <svn_string.h>

#include "access/effective/authz_rules.h"
#include "fuzz/fuzz.h"
#include "svn/config_text.h"
#include "svn/error.h"
#include "svn/pool.h"

using namespace kelvarion;
using namespace kelvarion::access;

namespace {

svn_stream_t* Stream(const std::string& text, const svn::Pool& pool) {
  return svn_stream_from_string(svn_string_ncreate(text.data(), text.size(), pool), pool);
}

bool May(svn_authz_t* authz, const std::string& path, const std::string& user,
         svn_repos_authz_access_t access, const svn::Pool& pool) {
  svn_boolean_t granted = FALSE;
  svn::Check(svn_repos_authz_check_access(authz, "repo", path.c_str(), user.c_str(), access,
                                          &granted, pool));
  return granted != FALSE;
}

void Compare(const AuthzRules& rules, svn_authz_t* authz, const std::string& path,
             const std::string& user, const svn::Pool& pool) {
  const AuthzDecision decision = rules.Decide(rules.LevelsOf("repo", path), {user});
  fuzz::Expect(
      (decision.access == AccessLevel::ReadWrite) == May(authz, path, user, svn_authz_write, pool),
      "who may write is agreed on");
  fuzz::Expect(
      (decision.access != AccessLevel::NoAccess) == May(authz, path, user, svn_authz_read, pool),
      "who may read is agreed on");
  if (decision.entry && decision.step >= 0) rules.Chain(decision);
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view input) {
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  const std::size_t mark = input.find("\n--\n");
  const std::string rules_text(input.substr(0, mark == input.npos ? mark : mark + 1));
  const std::string groups_text(mark == input.npos ? "" : input.substr(mark + 4));
  const AuthzGroups groups(groups_text);
  const AuthzRules rules(rules_text, groups);
  const bool refused = !groups.problems().empty() || !rules.problems().empty();
  // Neither is given to the libraries: they overrun their buffer and their stack.
  if (svn::FindMisleadingLine(rules_text) || svn::FindMisleadingLine(groups_text)) return;
  for (const AuthzProblem& problem : groups.problems())
    if (problem.kind == AuthzProblem::Kind::kCycle) return;
  svn_authz_t* authz = nullptr;
  svn_error_t* const error = svn_repos_authz_parse2(
      &authz, Stream(rules_text, pool), Stream(groups_text, pool), nullptr, nullptr, pool, pool);
  svn_error_clear(error);
  fuzz::Expect(refused == (error != nullptr), "what is refused is agreed on");
  if (refused || rules.has_wildcards()) return;
  std::vector<std::string> users{"stranger"};
  std::vector<std::string> paths{"/", "/a/b"};
  for (const AuthzSection& section : rules.sections()) {
    paths.push_back(section.path.path);
    for (const AuthzEntry& entry : section.entries)
      if (entry.whom == AuthzEntry::Whom::kUser) users.emplace_back(entry.name);
  }
  for (const AuthzGroup& group : groups.groups())
    users.insert(users.end(), group.members.begin(), group.members.end());
  for (const std::string& path : paths)
    for (const std::string& user : users) Compare(rules, authz, path, user, pool);
}
