#include "access/sid.h"

#include "errors/exception.h"

namespace kelvarion::access {

std::u16string ParseSidString(const platform::SecurityAuthority& authority,
                              const std::u16string& text) {
  std::u16string sid;
  if (const Win32Error error = authority.NormalizeSid(text, sid); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot parse SID string");
  return sid;
}

std::u16string CanonicalSid(const platform::SecurityAuthority& authority,
                            const std::u16string& text) {
  std::u16string sid;
  return authority.NormalizeSid(text, sid) == ERROR_SUCCESS ? sid : text;
}

std::u16string LookupAccountName(const platform::SecurityAuthority& authority,
                                 const std::u16string& name) {
  std::u16string sid;
  if (const Win32Error error = authority.LookupAccountName(name, sid); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot lookup account name '%s'", name);
  return sid;
}

std::optional<platform::AccountName> LookupAccountSid(const platform::SecurityAuthority& authority,
                                                      const std::u16string& sid) {
  platform::AccountName account;
  if (authority.LookupAccountSid(sid, account) != ERROR_SUCCESS) return std::nullopt;
  return account;
}

std::u16string AccountDisplayName(const platform::SecurityAuthority& authority,
                                  const std::u16string& sid) {
  const std::optional<platform::AccountName> account = LookupAccountSid(authority, sid);
  if (!account) return sid;
  return account->domain.empty() ? account->name : account->domain + u"\\" + account->name;
}

}  // namespace kelvarion::access
