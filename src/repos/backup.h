// Copies of whole repositories that were read back and found sound.
//
// Both run long, on the calling thread; what is notified may be null, as `cancel` may. Throw
// SvnException, 200015 when cancelled, and SimpleException as said; what they made is then gone.
#pragma once

#include <string>

#include "context/cancel_callback.h"
#include "context/server_context.h"
#include "repos/notify.h"
#include "services/explained_request.h"

namespace kelvarion::repos {

// First the one is told, then the other.
struct BackupNotify {
  IcImportRepositoryNotify* copying = nullptr;
  IcVerifyRepositoryNotify* verifying = nullptr;
};

// Copies a repository, with its settings and hooks, while it is in use to a folder that must not
// exist yet at an absolute path. The folder appears when the copy is whole, sound, and has the UUID
// and at least the revisions that the repository had at the start. Only the account that made it
// may read it, and whom the folder that it lies in names. What a killed backup leaves beside the
// path, under hidden names made from it, is removed by the next one to the same path.
// SimpleException when the path is taken or lies in the repositories root, another backup to it
// runs or the copy is damaged.
void BackupRepository(const ServerContext& context, const std::u16string& name,
                      const std::u16string& path, const BackupNotify& notify,
                      const IcCancelCallback* cancel);

// Makes a repository from a backup, which stays as it is; never in the place of an existing one.
// The new repository appears when it is whole and sound.
// SimpleException when the copy is damaged, otherwise as NewRepository throws.
void RestoreRepository(const ServerContext& context, const std::u16string& path,
                       const std::u16string& name, const BackupNotify& notify,
                       const IcCancelCallback* cancel, const services::Warn& warn = nullptr);

}  // namespace kelvarion::repos
