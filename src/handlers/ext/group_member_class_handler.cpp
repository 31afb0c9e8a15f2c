// Keys: Group and Member, compared exactly.

#include "handlers/ext/group_member_class_handler.h"

#include <algorithm>

#include "access/authz_parser.h"
#include "access/groups.h"
#include "handlers/convert/members_result.h"
#include "handlers/convert/undefined_groups.h"

namespace kelvarion {
namespace {

using access::Account;

constexpr Property<std::u16string> kGroup{u"Group"};
constexpr Property<std::u16string> kMember{u"Member"};
constexpr Property<std::vector<std::u16string>> kMembers{u"Members"};

std::vector<Account> MembersIn(const MethodCall& call) {
  std::vector<Account> members;
  for (const std::u16string& member : call.in(kMembers))
    members.push_back(access::SubversionAccountFromKey(member));
  return members;
}

}  // namespace

WMIObject GroupMemberClassHandler::Describe(const std::u16string& group,
                                            const std::u16string& member) const {
  WMIObject object = SpawnInstance();
  object.Set(kGroup, group);
  object.Set(kMember, member);
  return object;
}

HRESULT GroupMemberClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const auto [group, member] = path.Keys(kGroup, kMember);
  const std::vector<Account> members = access::GetMembers(context(), group);
  if (!std::ranges::count(members, member, access::KeyOf)) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(group, member);
  return S_OK;
}

HRESULT GroupMemberClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  for (const std::u16string& group : access::ListGroups(context()))
    for (const Account& member : access::GetMembers(context(), group))
      sink.IndicateNext(Describe(group, access::KeyOf(member)));
  return S_OK;
}

void GroupMemberClassHandler::Add(MethodCall& call) {
  const std::u16string group = call.in(kGroup);
  const std::vector<Account> members = MembersIn(call);
  RequireMembersSet(access::AddMembers(context(), group, members), group);
  WarnOfUndefinedGroups(context(), NamedIn::kMembers, members, call.sink());
}

void GroupMemberClassHandler::Remove(MethodCall& call) {
  const std::u16string group = call.in(kGroup);
  const std::vector<Account> members = MembersIn(call);
  const std::vector<Account> before = access::GetMembers(context(), group);
  RequireMembersSet(access::RemoveMembers(context(), group, members), group);
  for (const Account& member : members)
    if (!std::ranges::count(before, member))
      call.sink().WriteWarning(
          Format(u"'%s' was no member of the group '%s'.", access::KeyOf(member), group));
}

const MethodTable<GroupMemberClassHandler>& GroupMemberClassHandler::Methods() {
  static const MethodTable<GroupMemberClassHandler> table{
      {u"Add", &GroupMemberClassHandler::Add},
      {u"Remove", &GroupMemberClassHandler::Remove},
  };
  return table;
}

}  // namespace kelvarion
