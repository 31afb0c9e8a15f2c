// Accounts that need no store: the well-known ones and those of the Unix system.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/security/security.h"
#include "platform/security/sid.h"

namespace kelvarion::platform {

// A name in its parts: the domain is what stands before the first "\", empty when there is none.
AccountName SplitAccountName(const std::u16string& name);

// The machine's own name, without its DNS domain.
std::u16string HostName();
// Empty, "." and the host's name, bare or with its DNS domain, in any letter case.
bool IsLocalDomain(const std::u16string& domain);

// Everyone, SYSTEM, BUILTIN\Administrators and their like; letter case does not matter.
std::optional<std::u16string> FindWellKnown(const AccountName& account);
std::optional<AccountName> WellKnownName(const std::u16string& sid);

// The user of the name, else the group of it; names are those of the system, case included. The
// domains "Unix User" and "Unix Group" choose one of the two. A domain that is nobody's here is
// asked for as the system writes it, DOMAIN\NAME.
std::optional<Sid> FindUnixAccount(const AccountName& account);
std::optional<AccountName> UnixAccountName(const Sid& sid);

// The Unix groups of a Unix user, its primary one included; empty for everybody else.
std::vector<Sid> UnixGroupsOf(const Sid& user);
// The well-known groups that an account is in by what it is: a Unix user is authenticated and one
// of the machine's users, and uid 0 administers the machine.
std::vector<std::u16string> WellKnownGroupsOf(const Sid& account);

}  // namespace kelvarion::platform
