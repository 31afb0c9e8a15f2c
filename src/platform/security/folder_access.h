// Grants on folders, from SIDs to POSIX entries and back.
#pragma once

#include <string>
#include <vector>

#include "platform/security/group_store.h"
#include "platform/security/posix_access.h"
#include "platform/security/security.h"

namespace kelvarion::platform {

// The Unix accounts that the grants mean on this machine now: a local group stands for its members.
// Accounts that need no entry (root, and an ordinary user for himself) and those that no Unix
// process can have are left out.
PosixAccess ResolveGrants(const GroupStore& groups, const std::vector<AccessGrant>& grants);

// What is written but not there in reality is left out; a folder without a list of its own is read
// as its POSIX list says.
Win32Error ReadFolderGrants(const GroupStore& groups, const std::string& folder,
                            std::vector<AccessGrant>& out);

// The folder's list becomes this one, carried out on the tree below before it is kept.
Win32Error WriteFolderGrants(GroupStore& groups, const std::string& folder,
                             const std::vector<AccessGrant>& grants, bool protect);

// Carries the lists out anew of the folders whose access depends on a local group that has changed,
// and of those that a process which ended too soon left unfinished.
Win32Error RefreshFolders(GroupStore& groups);
// Whether there are such folders: a matter of microseconds, where carrying out walks trees.
bool FoldersNeedRefresh(const GroupStore& groups);

}  // namespace kelvarion::platform
