// Accounts, local groups and folder access as the machine's security authority knows them.
//
// An account is its SID in text form: S-1-22-1-uid for a Unix user, S-1-22-2-gid for a Unix group,
// S-1-5-21-… for the machine's local groups, and the well-known ones. Names resolve through NSS.
// Safe from any thread and from several processes. Failures are Win32 error codes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

inline constexpr const char16_t* kSidEveryone = u"S-1-1-0";
inline constexpr const char16_t* kSidAuthenticatedUsers = u"S-1-5-11";
inline constexpr const char16_t* kSidLocalSystem = u"S-1-5-18";
inline constexpr const char16_t* kSidNetworkService = u"S-1-5-20";
inline constexpr const char16_t* kSidBuiltinAdministrators = u"S-1-5-32-544";
inline constexpr const char16_t* kSidBuiltinUsers = u"S-1-5-32-545";

inline constexpr std::uint32_t kAccessModify = 0x1301BF;
inline constexpr std::uint32_t kAccessFullControl = 0x1F01FF;

struct AccountName {
  std::u16string domain;  // May be empty.
  std::u16string name;
};

// One allowed access of an account to a folder and everything that will be made below it.
struct AccessGrant {
  std::u16string sid;
  std::uint32_t access_mask = 0;
  bool inherited = false;
  friend bool operator==(const AccessGrant&, const AccessGrant&) = default;
};

class SecurityAuthority {
 public:
  virtual ~SecurityAuthority() = default;

  // The text of a SID in its canonical form; ERROR_INVALID_SID for a text that is none.
  virtual Win32Error NormalizeSid(const std::u16string& text, std::u16string& out) const = 0;
  // ERROR_NONE_MAPPED when there is no such account. Accepts NAME, .\NAME, HOST\NAME, DOMAIN\NAME.
  virtual Win32Error LookupAccountName(const std::u16string& name, std::u16string& sid) const = 0;
  virtual Win32Error LookupAccountSid(const std::u16string& sid, AccountName& out) const = 0;

  // Every SID that stands for the account: its own first, then its Unix groups, the well-known
  // groups that each account belongs to, and the local groups it is in, also through other groups.
  // ERROR_INVALID_SID for a text that is none; an account that no longer exists has fewer SIDs.
  virtual Win32Error GetAccountSids(const std::u16string& sid,
                                    std::vector<std::u16string>& sids) const = 0;

  // NERR_GroupNotFound when there is no such local group.
  virtual Win32Error GetGroupMembers(const std::u16string& group,
                                     std::vector<std::u16string>& sids) const = 0;
  // The membership becomes exactly the list, at once; ERROR_INVALID_SID leaves it untouched.
  virtual Win32Error SetGroupMembers(const std::u16string& group,
                                     const std::vector<std::u16string>& sids) = 0;
  // Makes the group when it is missing; part of setting a home up.
  virtual Win32Error CreateGroup(const std::u16string& group) = 0;

  // The folder's access list, explicit and inherited, in order.
  virtual Win32Error ReadFolderAccess(const std::u16string& folder,
                                      std::vector<AccessGrant>& out) const = 0;
  // Replaces the folder's list; a protected one no longer inherits from the parent. What is granted
  // is granted for real: to the accounts' processes, for everything made below later as well as
  // now.
  virtual Win32Error WriteFolderAccess(const std::u16string& folder,
                                       const std::vector<AccessGrant>& grants, bool protect) = 0;
};

// The authority of the home `home` (UTF-8 path), which keeps its local groups there.
Win32Error OpenSecurityAuthority(const std::string& home, std::unique_ptr<SecurityAuthority>& out);

// The SID of the account that this process runs as.
std::u16string CurrentUserSid();
// The SID of the file's or folder's owner; empty when it cannot be found out.
std::u16string OwnerSid(const std::string& path);

}  // namespace kelvarion::platform
