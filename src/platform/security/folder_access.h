// Grants on folders, from SIDs to POSIX entries and back.
#pragma once

#include <string>
#include <vector>

#include "platform/security/group_store.h"
#include "platform/security/security.h"

namespace kelvarion::platform {

// What is written but not there in reality is left out; a folder without a list of its own is read
// as its POSIX list says.
Win32Error ReadFolderGrants(const GroupStore& store, const std::string& folder,
                            std::vector<AccessGrant>& out);

// The folder's list becomes this one, carried out on the tree below before it is kept.
Win32Error WriteFolderGrants(GroupStore& store, const std::string& folder,
                             const std::vector<AccessGrant>& grants, bool protect);

// Carries the lists out anew of the folders whose access depends on a local group that has changed,
// and of those that a process which ended too soon left unfinished.
Win32Error RefreshFolders(GroupStore& store);
// Whether there are such folders: a matter of microseconds, where carrying out walks trees.
bool FoldersNeedRefresh(const GroupStore& store);

}  // namespace kelvarion::platform
