// POSIX access lists as plain values.
#pragma once

#include <sys/acl.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

struct AclEntry {
  acl_tag_t tag = ACL_UNDEFINED_TAG;
  std::uint32_t id = 0;  // Of a named user or group.
  std::uint8_t permissions = 0;
  friend bool operator==(const AclEntry&, const AclEntry&) = default;
};
using AclEntries = std::vector<AclEntry>;

// `type` is ACL_TYPE_ACCESS or ACL_TYPE_DEFAULT; a folder without a default list has no entries.
// On a file system without access lists the mode's three entries are read.
Win32Error ReadAcl(const std::string& path, acl_type_t type, AclEntries& out);

// Writes the list, with the mask that makes all of it effective, unless it is what stood before.
Win32Error WriteAcl(const std::string& path, acl_type_t type, const AclEntries& before,
                    const AclEntries& entries);

}  // namespace kelvarion::platform
