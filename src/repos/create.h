// Making new repositories.
#pragma once

#include <string>

#include "context/server_context.h"

namespace kelvarion::repos {

// Makes an empty Fsfs repository without any access rules. It appears whole or not at all: until it
// is complete it lies where neither the listing nor the web server sees it, and what a killed
// creation leaves there is removed by the next creation or deletion.
// Throws as ValidateRepositoryName does; SimpleException when a name exists that differs only in
// letter case; SvnException when something that is not an empty folder has the name.
void CreateRepository(const ServerContext& context, const std::u16string& name);

}  // namespace kelvarion::repos
