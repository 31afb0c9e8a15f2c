#include "platform/security/account_access.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "platform/security/accounts.h"
#include "platform/security/acl_entries.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::uint8_t kEnter = 1;

}  // namespace

std::optional<AccountAccess> AccountAccess::Of(const std::u16string& user) {
  const std::optional<Sid> sid = FindUnixAccount(SplitAccountName(user));
  const auto uid = sid ? UserOf(*sid) : std::nullopt;
  if (!uid) return std::nullopt;
  AccountAccess access;
  access.user_ = *uid;
  for (const Sid& group : UnixGroupsOf(*sid))
    if (const auto gid = GroupOf(group)) access.groups_.push_back(*gid);
  return access;
}

// As the kernel decides: the owner, then a named user, then any group that allows it, then others.
bool AccountAccess::Allows(const std::string& path, std::uint8_t wanted) const {
  struct stat status {};
  AclEntries entries;
  if (user_ == 0 || stat(path.c_str(), &status) != 0 ||
      ReadAcl(path, ACL_TYPE_ACCESS, entries) != ERROR_SUCCESS)
    return true;
  const auto in_group = [&](std::uint32_t group) {
    return std::ranges::find(groups_, group) != groups_.end();
  };
  std::uint8_t mask = 7;
  for (const AclEntry& entry : entries)
    if (entry.tag == ACL_MASK) mask = entry.permissions;
  bool in_any = false;
  bool by_group = false;
  std::optional<std::uint8_t> own;
  std::uint8_t others = 0;
  for (const AclEntry& entry : entries) {
    const std::uint8_t masked = entry.permissions & mask;
    if (entry.tag == ACL_USER_OBJ && status.st_uid == user_)
      return (entry.permissions & wanted) == wanted;
    if (entry.tag == ACL_USER && entry.id == user_) own = masked;
    if (entry.tag == ACL_OTHER) others = entry.permissions;
    const bool group_entry = entry.tag == ACL_GROUP || entry.tag == ACL_GROUP_OBJ;
    if (!group_entry || !in_group(entry.tag == ACL_GROUP ? entry.id : status.st_gid)) continue;
    in_any = true;
    by_group = by_group || (masked & wanted) == wanted;
  }
  if (own) return (*own & wanted) == wanted;
  return in_any ? by_group : (others & wanted) == wanted;
}

std::string AccountAccess::Obstacle(const std::string& path, std::uint8_t wanted) {
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  if (error) return "";
  fs::path above;
  for (const fs::path& part : real.parent_path()) {
    above /= part;
    const auto [known, fresh] = passable_.try_emplace(above.string());
    if (fresh) known->second = Allows(above.string(), kEnter);
    if (!known->second) return above.string();
  }
  return Allows(real.string(), wanted) ? "" : real.string();
}

}  // namespace kelvarion::platform
