// Copying a repository while it is in use.
#pragma once

#include <string>

#include "repos/long_operation.h"
#include "repos/notify.h"
#include "svn/pool.h"

namespace kelvarion::repos {

// Makes `target`, which is empty or does not exist yet, a whole copy of the repository at `source`:
// contents, UUID, settings and hooks. Its files have the access that new files have in their place.
// What a failed copy leaves there is the caller's. `notify` may be null.
void CopyRepository(const std::u16string& source, const std::string& target,
                    IcImportRepositoryNotify* notify, LongOperation& operation,
                    const svn::Pool& scratch);

}  // namespace kelvarion::repos
