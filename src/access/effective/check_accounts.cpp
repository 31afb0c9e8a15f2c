// What the check finds in the files of users and groups.
#include <algorithm>

#include "access/effective/check_internal.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

constexpr std::size_t kLongestLine = 255;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

void CheckMember(const AuthzGroup& group, std::string_view member, const KnownUsers& users,
                 const CheckReport& report) {
  if (member.find_first_of(" \t") != member.npos) {
    report(findings::kOddMember, group.line,
           Format(u"the web server takes '%s' in the group '%s' for one name; names are separated "
                  u"by commas",
                  Shown(member), Shown(group.name)),
           "groups", member);
  } else if (BeginsWithMark(member)) {
    if (member.front() == '@' || member.front() == '&') return;
    report(findings::kOddMember, group.line,
           Format(u"'%s' in the group '%s' is nobody: it counts only in rules", Shown(member),
                  Shown(group.name)),
           "groups", member);
  } else if (!users.Has(std::string(member))) {
    report(findings::kUnknownUser, group.line,
           Format(u"the group '%s' contains '%s', who is no user%s", Shown(group.name),
                  Shown(member), users.Hint(member)),
           "groups", member);
  }
}

}  // namespace

KnownUsers::KnownUsers(const std::string& text, const CheckReport& report) {
  int number = 0;
  for (std::string_view rest = text; !rest.empty();) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    AddLine(line, ++number, report);
  }
}

void KnownUsers::AddLine(std::string_view line, int number, const CheckReport& report) {
  const std::size_t colon = line.find(':');
  if (colon == line.npos || colon == 0 || colon + 1 == line.size() || line.size() > kLongestLine) {
    report(findings::kUnusableFile, number,
           line.size() > kLongestLine ? u"the line is longer than 255 bytes"
                                      : u"the line does not have the form 'user:hash'");
    return;
  }
  const std::string_view name = line.substr(0, colon);
  const auto [first, fresh] = lines_.emplace(name, number);
  if (!fresh) {
    report(findings::kDuplicateUser, number,
           Format(u"the user '%s' has a line before, and the password there counts", Shown(name)),
           {}, name);
  } else if (const auto other = variants_.Add(name)) {
    report(findings::kCaseVariant, number,
           Format(u"the users '%s' and '%s' differ only in case and are two", Shown(name), *other),
           {}, name);
  }
}

std::u16string KnownUsers::Hint(std::string_view name) const {
  const auto other = variants_.Find(name);
  return other ? Format(u"; there is '%s'", *other) : u"";
}

bool KnownAccounts::IsSid(const std::string& text) const {
  std::u16string sid;
  return authority_.NormalizeSid(Shown(text), sid) == ERROR_SUCCESS;
}

bool KnownAccounts::Exists(const std::string& sid) {
  const auto [found, fresh] = exists_.try_emplace(sid);
  platform::AccountName name;
  if (fresh) found->second = authority_.LookupAccountSid(Shown(sid), name) == ERROR_SUCCESS;
  return found->second;
}

const std::vector<std::string>& KnownAccounts::Sids(const std::string& sid) {
  const auto [found, fresh] = sids_.try_emplace(sid);
  if (!fresh) return found->second;
  std::vector<std::u16string> all;
  if (authority_.GetAccountSids(Shown(sid), all) != ERROR_SUCCESS) all = {Shown(sid)};
  for (const std::u16string& each : all) found->second.push_back(svn::Utf8(each));
  found->second.emplace_back("*");
  return found->second;
}

void CheckGroups(const AuthzGroups& groups, const KnownUsers& users, const CheckReport& report) {
  for (const AuthzProblem& problem : groups.problems()) report(problem);
  CaseVariants variants;
  for (const AuthzGroup& group : groups.groups()) {
    if (const auto other = variants.Add(group.name)) {
      report(findings::kCaseVariant, group.line,
             Format(u"the groups '%s' and '%s' differ only in case and are two", Shown(group.name),
                    *other),
             "groups", group.name);
    }
    for (const std::string_view member : group.members) CheckMember(group, member, users, report);
    const bool empty = groups.problems().empty() && groups.Reach(group.name)->members.empty();
    if (empty || group.members.empty()) {
      report(findings::kEmptyGroup, group.line,
             Format(u"the group '%s' has no members, and rules for it count for nobody",
                    Shown(group.name)),
             "groups", group.name);
    }
  }
}

}  // namespace kelvarion::access
