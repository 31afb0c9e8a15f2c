// Access of Unix accounts to a tree of files, as POSIX access lists.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Bits as in a file's mode: 4 read, 2 write, 1 execute.
using Permissions = std::uint8_t;

struct PosixAccess {
  std::map<std::uint32_t, Permissions> users;
  std::map<std::uint32_t, Permissions> groups;
  Permissions others = 0;
  friend bool operator==(const PosixAccess&, const PosixAccess&) = default;
  // Whether all that `other` allows is allowed here as well.
  bool Includes(const PosixAccess& other) const;
  // What `other` names is named here, too.
  void Merge(const PosixAccess& other);
};

// What is to become of a tree: the named entries of `withdraw` go, those of `grant` come.
struct PosixChange {
  PosixAccess withdraw;
  PosixAccess grant;
  // Whoever is not named loses what the owning group and all others may do.
  bool only_named = false;
};

// Changes the folder and everything below it, and by default entries what will be made there. What
// is executable or writable for its owner is so for the named accounts. Symbolic links are left
// alone, never followed. An ordinary user changes what is his; the folder itself must be.
Win32Error ChangeTree(const std::string& folder, const PosixChange& change);

enum class PosixList { kAccess, kDefault };

// The entries of the folder itself; those of the default list when it has one, else nothing.
// `owner` and `owning_group` of the access list are filled with the folder's own.
struct FolderEntries {
  PosixAccess named;
  std::uint32_t owner = 0;
  std::uint32_t owning_group = 0;
  Permissions owner_permissions = 0;
  Permissions group_permissions = 0;
};
Win32Error ReadEntries(const std::string& folder, PosixList list, FolderEntries& out);

}  // namespace kelvarion::platform
