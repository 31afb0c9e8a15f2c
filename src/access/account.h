// Accounts and what they may do, as all rules of the server name them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvarion::access {

enum class AccountKind : std::uint32_t {
  Everyone = 0,
  SubversionUser = 1,
  SubversionGroup = 2,
  WindowsAccount = 3,
};

// Equal when kind and text are equal, code unit for code unit.
struct Account {
  AccountKind kind = AccountKind::Everyone;
  // The user's name, the group's name without "@", the SID; empty for everyone.
  std::u16string name;

  static Account Everyone() { return {}; }
  static Account User(std::u16string name) {
    return {AccountKind::SubversionUser, std::move(name)};
  }
  static Account Group(std::u16string name) {
    return {AccountKind::SubversionGroup, std::move(name)};
  }
  static Account Windows(std::u16string sid) {
    return {AccountKind::WindowsAccount, std::move(sid)};
  }
  friend bool operator==(const Account&, const Account&) = default;
};

enum class AccessLevel : std::uint32_t { NoAccess = 0, ReadOnly = 1, ReadWrite = 2 };

struct PermissionEntry {
  Account account;
  AccessLevel access = AccessLevel::NoAccess;
  friend bool operator==(const PermissionEntry&, const PermissionEntry&) = default;
};

// The rules of one path, in the order of its file.
using PermissionList = std::vector<PermissionEntry>;

}  // namespace kelvarion::access
