// How the parts of the check tell what they find.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "access/effective/access_finding.h"
#include "access/effective/authz_problem.h"
#include "svn/pool.h"

struct svn_fs_root_t;

namespace kelvarion::access {

struct FindingKind {
  const char16_t* name;
  Severity severity;
  const char16_t* remedy;
};

namespace findings {

inline constexpr FindingKind kUnusableFile{
    u"UnusableFile", Severity::kError,
    u"Correct or remove the line; until then the web server refuses all access by this file."};
inline constexpr FindingKind kUndefinedGroup{
    u"UndefinedGroup", Severity::kError,
    u"Create the group, or remove what names it; until then the web server refuses all access."};
inline constexpr FindingKind kGroupCycle{
    u"GroupCycle", Severity::kError,
    u"Take one of the groups out of the other; until then the web server refuses all access, and "
    u"its processes may crash."};
inline constexpr FindingKind kMissingFile{u"MissingFile", Severity::kError,
                                          u"Create a user, a group or a rule that belongs there to "
                                          u"have it made; until then the web server "
                                          u"refuses access."};
inline constexpr FindingKind kUnreadableFile{u"UnreadableFile", Severity::kError,
                                             u"Correct the owner, the mode or the disk."};
inline constexpr FindingKind kUnreadableRepository{
    u"UnreadableRepository", Severity::kWarning,
    u"Verify the repository. Whether the paths of its rules exist was not checked."};
inline constexpr FindingKind kEmptyGroup{u"EmptyGroup", Severity::kWarning,
                                         u"Put members in it, or delete it along with its rules."};
inline constexpr FindingKind kUnknownUser{u"UnknownUser", Severity::kWarning,
                                          u"Create the user, or remove the name."};
inline constexpr FindingKind kOddMember{u"OddMember", Severity::kWarning,
                                        u"Set the members of the group anew."};
inline constexpr FindingKind kDuplicateUser{u"DuplicateUser", Severity::kWarning,
                                            u"Delete the user and create it again."};
inline constexpr FindingKind kDuplicateRule{u"DuplicateRule", Severity::kWarning,
                                            u"Set the rules of the path anew."};
inline constexpr FindingKind kUnresolvedAccount{
    u"UnresolvedAccount", Severity::kWarning,
    u"Remove the rule, unless the account is only out of reach for the moment."};
inline constexpr FindingKind kNoSid{u"NoSid", Severity::kWarning,
                                    u"Replace the key by the SID of an account, or by '*'."};
inline constexpr FindingKind kUnmatchedSection{
    u"UnmatchedSection", Severity::kWarning, u"Move its rules to where they count, or remove it."};
inline constexpr FindingKind kHiddenGrant{
    u"HiddenGrant", Severity::kWarning,
    u"Grant read access above it, or tell the account the address of the path itself."};
inline constexpr FindingKind kUnusedGlobalRules{
    u"UnusedGlobalRules", Severity::kWarning,
    u"Switch to Windows authentication, or say the same in the repositories' own rules."};
inline constexpr FindingKind kUnclearRules{u"UnclearRules", Severity::kWarning,
                                           u"Write each rule out by itself."};
inline constexpr FindingKind kCaseVariant{u"CaseVariant", Severity::kInformation,
                                          u"Keep one spelling if the same is meant."};
inline constexpr FindingKind kStalePath{
    u"StalePath", Severity::kInformation,
    u"Remove the rules of the path, unless it is to come back."};

}  // namespace findings

// Where something is found: the file that is being looked through.
class CheckReport {
 public:
  using Sink = std::function<void(const AccessFinding&)>;
  CheckReport(const Sink& sink, std::u16string repository, std::u16string file)
      : sink_(sink), repository_(std::move(repository)), file_(std::move(file)) {}

  void operator()(const FindingKind& kind, int line, std::u16string text,
                  std::string_view section = {}, std::string_view subject = {}) const;
  void operator()(const AuthzProblem& problem) const;

 private:
  const Sink& sink_;
  std::u16string repository_;
  std::u16string file_;
};

// Finds the names that differ from an earlier one in nothing but the case of their letters.
class CaseVariants {
 public:
  // The first spelling, unless this is it.
  std::optional<std::u16string> Add(std::string_view name);
  // Any spelling but this one.
  std::optional<std::u16string> Find(std::string_view name) const;

 private:
  std::map<std::u16string, std::u16string> first_;
};

// The youngest revision of a repository, opened when first asked about. What goes wrong is
// reported once; then everything exists.
class YoungestRevision {
 public:
  YoungestRevision(std::u16string folder, const CheckReport& report, const svn::Pool& parent)
      : folder_(std::move(folder)), report_(report), pool_(parent) {}
  bool Has(const std::string& path);

 private:
  void Open();

  std::u16string folder_;
  const CheckReport& report_;
  svn::Pool pool_;
  bool asked_ = false;
  svn_fs_root_t* root_ = nullptr;
};

// "'a'", "'a' and 2 more"
std::u16string FirstOf(std::string_view first, std::size_t count);

}  // namespace kelvarion::access
