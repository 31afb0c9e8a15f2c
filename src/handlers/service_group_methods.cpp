// The methods of Kelvarion_Service that say who administers the server.
#include "access/windows_groups.h"
#include "handlers/service_class_handler.h"
#include "platform/com/class_object.h"

namespace kelvarion {
namespace {

constexpr Property<std::vector<WMIObject>> kSupervisors{u"Supervisors"};
constexpr Property<std::vector<WMIObject>> kAdmins{u"Admins"};

bool ClientIsAdmin(const platform::SecurityAuthority& authority) {
  const ClientToken* client = nullptr;
  return OpenThreadToken(client) == ERROR_SUCCESS &&
         access::IsGroupMember(authority, access::kServerAdminsGroup, *client);
}

}  // namespace

void ServiceClassHandler::GetRepositorySupervisors(MethodCall& call) {
  call.out().Set(kSupervisors,
                 accounts_.ToWindowsAccounts(access::GetGroupMembers(
                     *context().machine().security, access::kRepositorySupervisorsGroup)));
}

void ServiceClassHandler::SetRepositorySupervisors(MethodCall& call) {
  access::SetGroupMembers(*context().machine().security, access::kRepositorySupervisorsGroup,
                          accounts_.ToSids(call.in_params(), kSupervisors));
}

void ServiceClassHandler::GetServerAdmins(MethodCall& call) {
  call.out().Set(kAdmins, accounts_.ToWindowsAccounts(access::GetGroupMembers(
                              *context().machine().security, access::kServerAdminsGroup)));
}

// Whoever hands the server over to somebody else may mean it; whoever slips should know at once.
void ServiceClassHandler::SetServerAdmins(MethodCall& call) {
  platform::SecurityAuthority& authority = *context().machine().security;
  const std::vector<std::u16string> admins = accounts_.ToSids(call.in_params(), kAdmins);
  const bool was_admin = ClientIsAdmin(authority);
  access::SetGroupMembers(authority, access::kServerAdminsGroup, admins);
  if (!was_admin || ClientIsAdmin(authority)) return;
  call.sink().WriteWarning(
      u"You are no longer among the administrators of the server. From now on only root, the owner "
      u"of the server's home and the administrators named can let you in again.");
}

}  // namespace kelvarion
