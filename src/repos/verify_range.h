// Checking some revisions of a repository, in this process.
#pragma once

#include <cstdint>
#include <string>

#include "repos/long_operation.h"
#include "repos/notify.h"
#include "svn/pool.h"

namespace kelvarion::repos {

struct RevisionRange {
  std::int64_t first = 0;
  std::int64_t last = 0;
};

// What is kept about all the revisions is checked before the contents of the first.
enum class Checks { kMetadataOnly, kAll };

// Ends at the first fault, with SvnException; the first line of its text names the revision.
// `notify` may be null; it is told the range as the revisions of the run.
void VerifyRange(const std::u16string& folder, const RevisionRange& range, Checks checks,
                 IcVerifyRepositoryNotify* notify, LongOperation& operation,
                 const svn::Pool& scratch);

}  // namespace kelvarion::repos
