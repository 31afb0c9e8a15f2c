// The access list of a folder as it was written, kept with the folder in an extended attribute.
//
// POSIX lists know neither foreign accounts nor local groups nor inheritance; so the list itself is
// kept, beside the Unix accounts it was carried out for.
#pragma once

#include <string>
#include <vector>

#include "platform/security/posix_access.h"
#include "platform/security/security.h"

namespace kelvarion::platform {

struct FolderList {
  bool is_protected = false;
  // While the tree below is being changed: some of it may still be as it was before.
  bool unfinished = false;
  std::vector<AccessGrant> grants;
  // Whoever may have an entry in the tree.
  PosixAccess carried_out;
};

std::string ToText(const FolderList& list);
// False for a text that is no list.
bool ParseFolderList(const std::string& text, FolderList& out);

// ERROR_FILE_NOT_FOUND when the folder has no list of its own, or one that cannot be read.
Win32Error ReadFolderList(const std::string& folder, FolderList& out);
// Succeeds without effect on a file system that keeps no attributes: the POSIX list is all there.
Win32Error WriteFolderList(const std::string& folder, const FolderList& list);

}  // namespace kelvarion::platform
