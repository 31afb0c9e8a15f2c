// The folder that holds all repositories.
#pragma once

#include <cstdint>
#include <string>

#include "context/server_context.h"

namespace kelvarion::repos {

enum class AdjustPermissions : bool { kNo, kYes };
enum class CreateMissing : bool { kNo, kYes };

enum class SetRootResult : std::uint32_t {
  kDone = 0,
  kPathMissing = 1,  // And was not to be created; nothing changed.
};

// Throws as SetRepositoriesRoot does for a path that it refuses whatever lies there.
void RequireServableRoot(const std::u16string& path);

// Makes the folder the repositories root, generates the web server's configuration and, when
// permissions are to be adjusted and the folder is not on a network drive, opens it to the server's
// accounts and administrators and to nobody else. Repositories are not moved.
// SimpleException for a path that is empty, not absolute or not a folder;
// WBEM_E_INVALID_METHOD_PARAMETERS for one that the web server's configuration cannot carry.
SetRootResult SetRepositoriesRoot(const ServerContext& context, const std::u16string& path,
                                  AdjustPermissions adjust, CreateMissing create);

// Grants the accounts what SetRepositoriesRoot does, on the folder and all that lies in it by now.
void AdjustRootPermissions(const ServerContext& context, const std::u16string& root);

}  // namespace kelvarion::repos
