#include "access_rules.h"

#include <apr_strings.h>

#include <string>
#include <vector>

#include "rules_file.h"

using kelvarion::httpd::RulesFile;
using kelvarion::rules::Decision;
using kelvarion::rules::Level;
using kelvarion::rules::RuleSet;

static_assert(static_cast<int>(Level::kNone) == kAccessNone &&
              static_cast<int>(Level::kRead) == kAccessRead &&
              static_cast<int>(Level::kWrite) == kAccessWrite);

struct AccessRules {
  std::vector<std::string> sids;  // None for nobody.
  std::shared_ptr<const RulesFile> repository;
  std::shared_ptr<const RulesFile> global;

  bool usable() const {
    return (!repository || repository->problem.empty()) && (!global || global->problem.empty());
  }
};

namespace {

std::vector<std::string> TextsOf(const apr_array_header_t* sids) {
  std::vector<std::string> texts;
  if (!sids) return texts;
  for (int i = 0; i < sids->nelts; ++i)
    texts.push_back(kelvarion::rules::CanonicalSid(APR_ARRAY_IDX(sids, i, const char*)));
  texts.emplace_back("*");
  return texts;
}

std::shared_ptr<const RulesFile> Read(const char* path, TellAboutFile tell, void* baton) {
  const auto file = path ? kelvarion::httpd::ReadRulesFile(path) : nullptr;
  if (!file || (file->problem.empty() && file->remark.empty())) return file;
  if (file->told.test_and_set()) return file;
  const std::string& text = file->problem.empty() ? file->remark : file->problem;
  tell(baton, !file->problem.empty(), (path + (": " + text)).c_str());
  return file;
}

Decision Decide(const AccessRules& rules, const char* path, bool tree) {
  if (rules.sids.empty() || !rules.usable()) return {};
  const RuleSet* const own = rules.repository ? &rules.repository->rules : nullptr;
  const RuleSet* const all = rules.global ? &rules.global->rules : nullptr;
  if (!path) return DecideAnywhere(own, all, rules.sids);
  if (!kelvarion::rules::IsCanonicalPath(path)) return {};
  return tree ? DecideTree(own, all, path, rules.sids) : Decide(own, all, path, rules.sids);
}

apr_status_t Delete(void* rules) {
  delete static_cast<AccessRules*>(rules);
  return APR_SUCCESS;
}

const char* Explain(apr_pool_t* pool, const AccessRules& rules, const char* path, bool tree) {
  static constexpr const char* kValues[] = {"", "r", "rw"};
  if (rules.sids.empty()) return "no account of this machine";
  if (!rules.usable()) return "a rules file cannot be used";
  const Decision decision = Decide(rules, path, tree);
  if (!decision.found) return "no rule";
  const std::string text = "rule [" + std::string(decision.section) + "] " +
                           std::string(decision.sid) + "=" +
                           kValues[static_cast<int>(decision.level)];
  return apr_pstrmemdup(pool, text.data(), text.size());
}

}  // namespace

// The server is written in C: no exception may reach it, and whatever fails denies.

const AccessRules* ReadAccessRules(apr_pool_t* pool, const char* repository_file,
                                   const char* global_file, const apr_array_header_t* sids,
                                   TellAboutFile tell, void* baton) try {
  auto* const rules = new AccessRules{TextsOf(sids), Read(repository_file, tell, baton),
                                      Read(global_file, tell, baton)};
  apr_pool_cleanup_register(pool, rules, Delete, apr_pool_cleanup_null);
  return rules;
} catch (...) {
  return nullptr;
}

AccessLevel DecideAccess(const AccessRules* rules, const char* path, int tree) try {
  return rules ? static_cast<AccessLevel>(Decide(*rules, path, tree != 0).level) : kAccessNone;
} catch (...) {
  return kAccessNone;
}

const char* ExplainAccess(apr_pool_t* pool, const AccessRules* rules, const char* path,
                          int tree) try {
  return rules ? Explain(pool, *rules, path, tree != 0) : "the rules could not be read";
} catch (...) {
  return "the rules could not be examined";
}
