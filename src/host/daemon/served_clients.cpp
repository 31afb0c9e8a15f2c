#include "host/daemon/served_clients.h"

#include <algorithm>

#include "access/windows_groups.h"

namespace kelvarion::host {
namespace {

constexpr const char16_t* kRoot = u"S-1-22-1-0";

}  // namespace

ServedClients::ServedClients(const std::string& home, const platform::SecurityAuthority& accounts)
    : owner_(platform::OwnerSid(home)), accounts_(accounts) {}

bool ServedClients::Includes(const ClientToken& client) const {
  if (client.user_sid == kRoot || client.user_sid == owner_) return true;
  std::vector<std::u16string> members;
  if (accounts_.GetGroupMembers(access::kServerAdminsGroup, members) != ERROR_SUCCESS) return false;
  return std::any_of(members.begin(), members.end(), [&](const std::u16string& member) {
    return member == client.user_sid || member == platform::kSidEveryone ||
           std::find(client.group_sids.begin(), client.group_sids.end(), member) !=
               client.group_sids.end();
  });
}

}  // namespace kelvarion::host
