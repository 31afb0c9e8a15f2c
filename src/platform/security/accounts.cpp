#include "platform/security/accounts.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

struct WellKnown {
  const char16_t* sid;
  const char16_t* domain;
  const char16_t* name;
};

constexpr WellKnown kWellKnown[] = {
    {kSidEveryone, u"", u"Everyone"},
    {u"S-1-3-0", u"", u"CREATOR OWNER"},
    {u"S-1-3-1", u"", u"CREATOR GROUP"},
    {u"S-1-5-2", u"NT AUTHORITY", u"NETWORK"},
    {u"S-1-5-4", u"NT AUTHORITY", u"INTERACTIVE"},
    {u"S-1-5-7", u"NT AUTHORITY", u"ANONYMOUS LOGON"},
    {kSidAuthenticatedUsers, u"NT AUTHORITY", u"Authenticated Users"},
    {kSidLocalSystem, u"NT AUTHORITY", u"SYSTEM"},
    {u"S-1-5-19", u"NT AUTHORITY", u"LOCAL SERVICE"},
    {kSidNetworkService, u"NT AUTHORITY", u"NETWORK SERVICE"},
    {kSidBuiltinAdministrators, u"BUILTIN", u"Administrators"},
    {kSidBuiltinUsers, u"BUILTIN", u"Users"},
    {u"S-1-5-32-546", u"BUILTIN", u"Guests"},
};

constexpr const char16_t* kUnixUser = u"Unix User";
constexpr const char16_t* kUnixGroup = u"Unix Group";

// Calls one of the system's look-ups with a buffer that grows until the entry fits.
template <class Entry, class Key, class Call>
std::optional<Entry> LookUp(Call call, Key key, std::vector<char>& buffer) {
  constexpr std::size_t kLargest = 16U << 20;  // A group of a directory may have many members.
  buffer.resize(4096);
  for (;;) {
    Entry entry{};
    Entry* found = nullptr;
    const int error = call(key, &entry, buffer.data(), buffer.size(), &found);
    if (error == 0) return found ? std::optional(entry) : std::nullopt;
    if (error == EINTR) continue;
    // Libraries that stand in for the system's answer -1 and leave the reason in errno.
    if ((error < 0 ? errno : error) != ERANGE || buffer.size() >= kLargest) return std::nullopt;
    buffer.resize(buffer.size() * 4);
  }
}

std::optional<Sid> FindUser(const std::string& name) {
  std::vector<char> buffer;
  const auto entry = LookUp<passwd>(getpwnam_r, name.c_str(), buffer);
  return entry ? std::optional(UserSid(entry->pw_uid)) : std::nullopt;
}

std::optional<Sid> FindGroup(const std::string& name) {
  std::vector<char> buffer;
  const auto entry = LookUp<group>(getgrnam_r, name.c_str(), buffer);
  return entry ? std::optional(GroupSid(entry->gr_gid)) : std::nullopt;
}

}  // namespace

AccountName SplitAccountName(const std::u16string& name) {
  const std::size_t separator = name.find(u'\\');
  if (separator == std::u16string::npos) return {u"", name};
  return {name.substr(0, separator), name.substr(separator + 1)};
}

std::u16string HostName() {
  char name[256] = {};
  if (gethostname(name, sizeof name - 1) != 0) return u"localhost";
  const std::u16string text = Utf16ForDisplay(name);
  return text.substr(0, text.find(u'.'));
}

bool IsLocalDomain(const std::u16string& domain) {
  return domain.empty() || domain == u"." ||
         EqualIgnoreCase(domain.substr(0, domain.find(u'.')), HostName());
}

std::optional<std::u16string> FindWellKnown(const AccountName& account) {
  for (const WellKnown& each : kWellKnown)
    if (EqualIgnoreCase(account.name, each.name) &&
        (account.domain.empty() || EqualIgnoreCase(account.domain, each.domain)))
      return each.sid;
  return std::nullopt;
}

std::optional<AccountName> WellKnownName(const std::u16string& sid) {
  for (const WellKnown& each : kWellKnown)
    if (sid == each.sid) return AccountName{each.domain, each.name};
  return std::nullopt;
}

std::optional<Sid> FindUnixAccount(const AccountName& account) {
  const bool local = IsLocalDomain(account.domain);
  const bool user = EqualIgnoreCase(account.domain, kUnixUser);
  const bool group = EqualIgnoreCase(account.domain, kUnixGroup);
  std::u16string wide = account.name;
  if (!local && !user && !group) wide = account.domain + u"\\" + account.name;
  std::string name;
  if (wide.empty() || wide.find(u'\0') != wide.npos || !Utf16ToUtf8(wide, name))
    return std::nullopt;
  std::optional<Sid> sid;
  if (!group) sid = FindUser(name);
  if (!sid && !user) sid = FindGroup(name);
  return sid;
}

std::optional<AccountName> UnixAccountName(const Sid& sid) {
  std::vector<char> buffer;
  if (const auto uid = UserOf(sid))
    if (const auto entry = LookUp<passwd>(getpwuid_r, static_cast<uid_t>(*uid), buffer))
      return AccountName{kUnixUser, Utf16ForDisplay(entry->pw_name)};
  if (const auto gid = GroupOf(sid))
    if (const auto entry = LookUp<group>(getgrgid_r, static_cast<gid_t>(*gid), buffer))
      return AccountName{kUnixGroup, Utf16ForDisplay(entry->gr_name)};
  return std::nullopt;
}

std::vector<Sid> UnixGroupsOf(const Sid& user) {
  std::vector<char> buffer;
  const auto uid = UserOf(user);
  const auto entry =
      uid ? LookUp<passwd>(getpwuid_r, static_cast<uid_t>(*uid), buffer) : std::nullopt;
  if (!entry) return {};
  std::vector<gid_t> groups(64);
  int count = static_cast<int>(groups.size());
  while (getgrouplist(entry->pw_name, entry->pw_gid, groups.data(), &count) < 0) {
    // The count is the number of groups, though libraries that stand in may not say it.
    const int size = std::max(count, static_cast<int>(groups.size()) * 2);
    groups.resize(static_cast<std::size_t>(size));
    count = size;
  }
  std::vector<Sid> sids;
  for (int i = 0; i < count; ++i) sids.push_back(GroupSid(groups[static_cast<std::size_t>(i)]));
  return sids;
}

std::vector<std::u16string> WellKnownGroupsOf(const Sid& account) {
  const auto uid = UserOf(account);
  if (!uid) return {};
  std::vector<std::u16string> sids{kSidEveryone, kSidAuthenticatedUsers, kSidBuiltinUsers};
  if (*uid == 0) sids.emplace_back(kSidBuiltinAdministrators);
  return sids;
}

std::u16string CurrentUserSid() { return ToText(UserSid(geteuid())); }

std::u16string OwnerSid(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? ToText(UserSid(status.st_uid)) : std::u16string();
}

}  // namespace kelvarion::platform
