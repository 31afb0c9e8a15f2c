// Deleting repositories.
#pragma once

#include <string>

#include "context/server_context.h"
#include "services/explained_request.h"

namespace kelvarion::repos {

// Deletes the repository, or the folder that was never one, with everything in it. It vanishes at
// once; what a killed deletion leaves is removed by the next creation or deletion.
// Throws as RequireRepository does.
void DeleteRepository(const ServerContext& context, const std::u16string& name,
                      const services::Warn& warn = nullptr);

}  // namespace kelvarion::repos
