#include "access/effective/check_report.h"

#include <svn_fs.h>
#include <svn_repos.h>

#include "platform/text/compare.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/error.h"
#include "svn/repository.h"

namespace kelvarion::access {
namespace {

using Kind = AuthzProblem::Kind;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

const FindingKind& KindOf(const AuthzProblem& problem) {
  if (problem.kind == Kind::kUndefined) return findings::kUndefinedGroup;
  return problem.kind == Kind::kCycle ? findings::kGroupCycle : findings::kUnusableFile;
}

// As a sentence.
std::u16string Sentence(std::u16string text) {
  if (!text.empty() && text.front() >= u'a' && text.front() <= u'z')
    text.front() = static_cast<char16_t>(text.front() - u'a' + u'A');
  return text + u".";
}

}  // namespace

void CheckReport::operator()(const FindingKind& kind, int line, std::u16string text,
                             std::string_view section, std::string_view subject) const {
  sink_({kind.severity, kind.name, repository_, file_, line, Shown(section), Shown(subject),
         Sentence(std::move(text)), kind.remedy});
}

void CheckReport::operator()(const AuthzProblem& problem) const {
  (*this)(KindOf(problem), problem.line, problem.text, problem.section, problem.key);
}

std::optional<std::u16string> CaseVariants::Add(std::string_view name) {
  const std::u16string text = Shown(name);
  const auto [first, fresh] = first_.emplace(platform::FoldCase(text), text);
  if (fresh || first->second == text) return std::nullopt;
  return first->second;
}

std::optional<std::u16string> CaseVariants::Find(std::string_view name) const {
  const std::u16string text = Shown(name);
  const auto first = first_.find(platform::FoldCase(text));
  if (first == first_.end() || first->second == text) return std::nullopt;
  return first->second;
}

void YoungestRevision::Open() {
  try {
    svn_fs_t* const fs = svn_repos_fs(svn::OpenRepository(folder_, pool_));
    svn_revnum_t youngest = SVN_INVALID_REVNUM;
    svn::Check(svn_fs_youngest_rev(&youngest, fs, pool_));
    svn::Check(svn_fs_revision_root(&root_, fs, youngest, pool_));
  } catch (const SvnException& exception) {
    root_ = nullptr;
    report_(findings::kUnreadableRepository, 0,
            Format(u"the repository cannot be opened: %s", exception.Message()));
  }
}

bool YoungestRevision::Has(const std::string& path) {
  if (!asked_) Open();
  asked_ = true;
  if (!root_) return true;
  const svn::Pool scratch(pool_);
  svn_node_kind_t kind = svn_node_none;
  try {
    svn::Check(svn_fs_check_path(&kind, root_, path.c_str(), scratch));
  } catch (const SvnException& exception) {
    report_(findings::kUnreadableRepository, 0,
            Format(u"the path '%s' cannot be looked up: %s", Shown(path), exception.Message()));
    return true;
  }
  return kind != svn_node_none;
}

std::u16string FirstOf(std::string_view first, std::size_t count) {
  if (count == 1) return Format(u"'%s'", Shown(first));
  return Format(u"'%s' and %lu more", Shown(first), count - 1);
}

}  // namespace kelvarion::access
