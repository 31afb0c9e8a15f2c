// Key: Name, compared exactly. Members come in as object paths and go out as embedded objects.

#include "handlers/group_class_handler.h"

#include "access/groups.h"
#include "handlers/convert/members_result.h"
#include "handlers/convert/undefined_groups.h"

namespace kelvarion {
namespace {

using access::Account;

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::vector<std::u16string>> kMembersIn{u"Members"};
constexpr Property<std::vector<WMIObject>> kMembersOut{u"Members"};

}  // namespace

WMIObject GroupClassHandler::Describe(const std::u16string& name) const {
  WMIObject group = SpawnInstance();
  group.Set(kName, name);
  return group;
}

WMIObject GroupClassHandler::DescribeMember(const Account& member) const {
  switch (member.kind) {
    case access::AccountKind::SubversionUser:
      return users_.Describe(member.name);
    case access::AccountKind::SubversionGroup:
      return Describe(member.name);
    default:
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS);
  }
}

Account GroupClassHandler::ParseMember(const std::u16string& path_text) const {
  const ParsedObjectPath path = name_space().ParsePath(path_text);
  if (path.IsSameClass(users_.GetClassName())) return Account::User(path.Key(kName));
  if (path.IsSameClass(GetClassName())) return Account::Group(path.Key(kName));
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                     u"'%s' cannot be a member of a group: only users and groups can", path_text);
}

std::vector<Account> GroupClassHandler::MembersIn(const MethodCall& call) const {
  std::vector<Account> members;
  for (const std::u16string& path : call.in(kMembersIn)) members.push_back(ParseMember(path));
  return members;
}

HRESULT GroupClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const std::u16string name = path.Key(kName);
  if (!access::GroupExists(context(), name)) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(name);
  return S_OK;
}

HRESULT GroupClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  for (const std::u16string& name : access::ListGroups(context()))
    sink.IndicateNext(Describe(name));
  return S_OK;
}

void GroupClassHandler::Create(MethodCall& call) {
  const std::u16string name = call.in(kName);
  const std::vector<Account> members = MembersIn(call);
  switch (access::CreateGroup(context(), name, members)) {
    case access::CreateGroupResult::kCreated:
      return WarnOfUndefinedGroups(context(), NamedIn::kMembers, members, call.sink());
    case access::CreateGroupResult::kExists:
      throw WMIException(HresultFromWin32(ERROR_ALREADY_EXISTS), u"The group '%s' exists", name);
    case access::CreateGroupResult::kCycle:
      throw WMIException(HresultFromWin32(ERROR_ALREADY_EXISTS), kCircle, name);
  }
  throw WMIException(WBEM_E_FAILED);
}

// A group that does not exist is as good as deleted.
void GroupClassHandler::Delete(MethodCall& call) { access::DeleteGroup(context(), call.in(kName)); }

void GroupClassHandler::SetMembers(MethodCall& call) {
  const std::u16string name = call.key(kName);
  const std::vector<Account> members = MembersIn(call);
  RequireMembersSet(access::SetMembers(context(), name, members), name);
  WarnOfUndefinedGroups(context(), NamedIn::kMembers, members, call.sink());
}

void GroupClassHandler::GetMembers(MethodCall& call) {
  std::vector<WMIObject> members;
  for (const Account& member : access::GetMembers(context(), call.key(kName)))
    members.push_back(DescribeMember(member));
  call.out().Set(kMembersOut, members);
}

const MethodTable<GroupClassHandler>& GroupClassHandler::Methods() {
  static const MethodTable<GroupClassHandler> table{
      {u"Create", &GroupClassHandler::Create},
      {u"Delete", &GroupClassHandler::Delete},
      {u"SetMembers", &GroupClassHandler::SetMembers},
      {u"GetMembers", &GroupClassHandler::GetMembers},
  };
  return table;
}

}  // namespace kelvarion
