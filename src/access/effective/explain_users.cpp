// Explanations with Subversion authentication.
#include <svn_io.h>
#include <svn_repos.h>

#include <algorithm>
#include <map>

#include "access/authz_files.h"
#include "access/effective/authz_rules.h"
#include "access/effective/explain_internal.h"
#include "access/effective/server_reader.h"
#include "access/users_file.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

// Subversion's own decision. It asks one user after the other, which is slow.
class LibraryDecision {
 public:
  LibraryDecision(const std::string& rules, const std::string& groups, const svn::Pool& parent)
      : pool_(parent) {
    const auto stream = [&](const std::string& text) {
      svn_string_t* const copy = svn_string_ncreate(text.data(), text.size(), pool_);
      return svn_stream_from_string(copy, pool_);
    };
    svn::Check(svn_repos_authz_parse2(&authz_, stream(rules), stream(groups), nullptr, nullptr,
                                      pool_, pool_));
  }

  AccessLevel Level(const std::string& repository, const std::string& path,
                    std::string_view name) const {
    const std::string user(name);
    const svn::Pool scratch(pool_);
    const auto may = [&](svn_repos_authz_access_t access) {
      svn_boolean_t granted = FALSE;
      svn::Check(svn_repos_authz_check_access(authz_, repository.c_str(), path.c_str(),
                                              user.c_str(), access, &granted, scratch));
      return granted != FALSE;
    };
    if (may(svn_authz_write)) return AccessLevel::ReadWrite;
    return may(svn_authz_read) ? AccessLevel::ReadOnly : AccessLevel::NoAccess;
  }

 private:
  svn::Pool pool_;
  svn_authz_t* authz_ = nullptr;
};

// One of the files, or why there is nothing to read.
struct File {
  std::u16string path;
  std::optional<std::string> text;
};

File Read(std::u16string path, const svn::Pool& pool) {
  auto text = svn::ReadFileIfPresent(path, pool);
  return {std::move(path), std::move(text)};
}

class Explainer {
 public:
  Explainer(const ServerContext& context, const RepositoryPath& where, const svn::Pool& pool)
      : rules_file_(Read(SubversionRulesFile(context, where.repository), pool)),
        groups_file_(Read(GroupsFile(context), pool)),
        groups_(groups_file_.text.value_or("")),
        rules_(rules_file_.text.value_or(""), groups_),
        repository_(svn::Utf8(where.repository)),
        path_(svn::Utf8(where.path)),
        refusal_(Refusal(context)) {
    if (refusal_) return;
    levels_ = rules_.LevelsOf(repository_, path_);
    if (rules_.has_wildcards()) library_.emplace(*rules_file_.text, *groups_file_.text, pool);
  }

  EffectiveAccess For(std::string_view user, bool can_log_on) {
    EffectiveAccess access;
    access.account = Account::User(Shown(user));
    access.can_log_on = can_log_on;
    if (refusal_) {
      access.reason = refusal_;
      return access;
    }
    const AuthzDecision decision = rules_.Decide(levels_, {user});
    access.access = decision.access;
    access.reason = ReasonFor(decision);
    if (library_) Verify(user, access);
    return access;
  }

 private:
  // Null when not everything is refused.
  std::shared_ptr<const AccessReason> Refusal(const ServerContext& context) const {
    const auto because = [](const File& file, const AuthzProblem& problem) {
      return Reason(RefusedBecauseOf(file.path, problem));
    };
    for (const File* file : {&rules_file_, &groups_file_})
      if (!file->text) return because(*file, {{}, 0, {}, {}, u"it is missing"});
    ServerReader reader(context);
    for (const File* file : {&rules_file_, &groups_file_})
      if (const auto problem = reader.WhyUnreadable(file->path)) return because(*file, *problem);
    if (!rules_.problems().empty()) return because(rules_file_, rules_.problems().front());
    if (!groups_.problems().empty()) return because(groups_file_, groups_.problems().front());
    return nullptr;
  }

  std::shared_ptr<const AccessReason> ReasonFor(const AuthzDecision& decision) {
    std::shared_ptr<const AccessReason>& reason = reasons_[{decision.entry, decision.step}];
    if (!reason) reason = MakeReason(decision);
    return reason;
  }

  std::shared_ptr<const AccessReason> MakeReason(const AuthzDecision& decision) const {
    if (!decision.entry) return Reason({}, decision.access, {});
    std::vector<std::u16string> through;
    for (const std::string_view group : rules_.Chain(decision))
      through.push_back(u"@" + Shown(group));
    return Reason(DecidingRule{rules_file_.path, decision.entry->line,
                               Shown(decision.section->name), Shown(decision.entry->key)},
                  decision.access, std::move(through));
  }

  // Where several rules with wildcards meet, Subversion itself is the only one to know.
  void Verify(std::string_view user, EffectiveAccess& access) const {
    const AccessLevel level = library_->Level(repository_, path_, user);
    if (level == access.access) return;
    access.access = level;
    access.reason = Reason(Format(
        u"Subversion gives %s; which of the rules with wildcards makes it so cannot be said.",
        AccessInWords(level)));
  }

  File rules_file_;
  File groups_file_;
  AuthzGroups groups_;
  AuthzRules rules_;
  std::string repository_;
  std::string path_;
  std::shared_ptr<const AccessReason> refusal_;
  AuthzRules::Levels levels_;
  // By the entry and the step of the decision.
  std::map<std::pair<const AuthzEntry*, int>, std::shared_ptr<const AccessReason>> reasons_;
  std::optional<LibraryDecision> library_;
};

}  // namespace

std::vector<EffectiveAccess> ExplainForUsers(const ServerContext& context,
                                             const RepositoryPath& where,
                                             const std::optional<std::u16string>& account) {
  const svn::Pool pool(context.root_pool());
  const std::string users_text = svn::ReadFileIfPresent(UsersFile(context), pool).value_or("");
  const std::vector<UserLine> users = ParseUsersFile(users_text);
  Explainer explainer(context, where, pool);
  std::vector<EffectiveAccess> all;
  if (!account) {
    all.reserve(users.size());
    for (const UserLine& user : users) all.push_back(explainer.For(user.name, true));
    return all;
  }
  const std::string name = svn::Utf8(*account);
  const bool exists = std::ranges::count(users, name, &UserLine::name) != 0;
  all.push_back(explainer.For(name, exists));
  if (!exists) {
    AccessReason reason = *all.back().reason;
    reason.explanation += u" There is no such user.";
    all.back().reason = std::make_shared<AccessReason>(std::move(reason));
  }
  return all;
}

}  // namespace kelvarion::access
