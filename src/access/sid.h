// Accounts by SID text and by name.
#pragma once

#include <optional>
#include <string>

#include "platform/security/security.h"

namespace kelvarion::access {

// The SID's canonical text. Throws Win32Exception for a text that is no SID.
std::u16string ParseSidString(const platform::SecurityAuthority& authority,
                              const std::u16string& text);

// The same for finding rules, which may be for "*": what is no SID is returned as it is.
std::u16string CanonicalSid(const platform::SecurityAuthority& authority,
                            const std::u16string& text);

// Throws Win32Exception when there is no such account.
std::u16string LookupAccountName(const platform::SecurityAuthority& authority,
                                 const std::u16string& name);

// Nothing when the system cannot resolve the SID.
std::optional<platform::AccountName> LookupAccountSid(const platform::SecurityAuthority& authority,
                                                      const std::u16string& sid);

// DOMAIN\NAME, the bare name where there is no domain, the SID itself when it cannot be resolved.
std::u16string AccountDisplayName(const platform::SecurityAuthority& authority,
                                  const std::u16string& sid);

}  // namespace kelvarion::access
