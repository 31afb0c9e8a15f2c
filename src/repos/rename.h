// Renaming repositories.
#pragma once

#include <string>

#include "context/server_context.h"

namespace kelvarion::repos {

// Does nothing when the names are equal. SimpleException "Repository name cannot be empty." or,
// when anything of the new name exists in any letter case, "Repository with the name '%s' already
// exists."; a change of letter case alone is allowed. The old name is resolved as RequireRepository
// does, the new one must pass ValidateRepositoryName.
void RenameRepository(const ServerContext& context, const std::u16string& old_name,
                      const std::u16string& new_name);

}  // namespace kelvarion::repos
