// Checking some revisions of a repository, in this process.
#pragma once

#include <cstdint>
#include <string>

#include "repos/long_operation.h"
#include "repos/notify.h"
#include "svn/pool.h"

struct svn_repos_t;

namespace kelvarion::repos {

struct RevisionRange {
  std::int64_t first = 0;
  std::int64_t last = 0;
};

// What is kept about all the revisions is checked before the contents of the first.
enum class Checks { kMetadataOnly, kAll };

// An open repository whose contents are kept as far as there is room: a range is faster when it
// follows on the one before. One thread.
class RangeVerifier {
 public:
  // `notify` may be null. Throws SvnException.
  RangeVerifier(const std::u16string& folder, IcVerifyRepositoryNotify* notify,
                LongOperation& operation, const svn::Pool& parent);
  // Ends at the first fault, with SvnException; the first line of its text names the revision.
  // The notification is told the range as the revisions of the run.
  void Verify(const RevisionRange& range, Checks checks);

 private:
  svn::Pool pool_;
  IcVerifyRepositoryNotify* notify_;
  LongOperation& operation_;
  svn_repos_t* repository_;
};

}  // namespace kelvarion::repos
