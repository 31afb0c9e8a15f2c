#include "repos/verify.h"

#include <svn_fs.h>
#include <svn_repos.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "repos/long_operation.h"
#include "repos/repository_store.h"
#include "repos/verify_range.h"
#include "repos/verify_workers.h"
#include "svn/error.h"
#include "svn/repository.h"

namespace kelvarion::repos {
namespace {

// Ranges become shorter towards the end, so that no processor waits long for the last one. There
// are not many, since each walks all of the index of shared contents: half of a processor's share
// of what is left, but not less than a sixteenth of its share of all, nor than makes up for a
// program's start.
constexpr std::int64_t kPartOfShare = 2;
constexpr std::int64_t kSmallestPart = 16;
constexpr std::int64_t kFewestRevisions = 16;

struct Extent {
  std::int64_t youngest = 0;
  std::int64_t packed_end = 0;  // Revisions below it lie in files of one shard each.
  std::int64_t shard = 0;
};

Extent ReadExtent(const std::u16string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  svn_repos_t* const repository = svn::OpenRepository(folder, pool);
  svn_revnum_t youngest = 0;
  svn::Check(svn_fs_youngest_rev(&youngest, svn_repos_fs(repository), pool));
  const svn::StoreInfo info = svn::ReadStoreInfo(repository, pool);
  if (!info.fsfs) return {youngest, 0, 0};
  return {youngest, info.fsfs->min_unpacked_revision, info.fsfs->shard_size};
}

// What lies in one file is checked at once.
std::vector<RevisionRange> Split(const Extent& extent) {
  const std::int64_t processors = std::max(1u, std::thread::hardware_concurrency());
  const std::int64_t fewest =
      std::max(kFewestRevisions, extent.youngest / (kSmallestPart * processors) + 1);
  std::vector<RevisionRange> ranges;
  for (std::int64_t first = 0; first <= extent.youngest; first = ranges.back().last + 1) {
    const std::int64_t left = extent.youngest + 1 - first;
    const std::int64_t unpacked = std::max(fewest, left / (kPartOfShare * processors));
    const bool packed = first < extent.packed_end;
    const std::int64_t count =
        packed ? std::max<std::int64_t>(unpacked / extent.shard, 1) * extent.shard : unpacked;
    ranges.push_back({first, std::min(first + count - 1, extent.youngest)});
  }
  return ranges;
}

VerifyResult Verify(const std::u16string& folder, IcVerifyRepositoryNotify* notify,
                    LongOperation& operation, const svn::Pool& pool) {
  const Extent extent = ReadExtent(folder, pool);
  const std::vector<RevisionRange> ranges = Split(extent);
  if (ranges.size() > 1) {
    if (const auto result = VerifyByWorkers(folder, ranges, notify, operation)) return *result;
  }
  RangeVerifier(folder, notify, operation, pool).Verify({0, extent.youngest}, Checks::kAll);
  return {true, {}};
}

}  // namespace

VerifyResult VerifyFolder(const ServerContext& context, const std::u16string& folder,
                          IcVerifyRepositoryNotify* notify, const IcCancelCallback* cancel) {
  const svn::Pool pool(context.root_pool());
  LongOperation operation(cancel, kVerificationCancelled);
  try {
    return Verify(folder, notify, operation, pool);
  } catch (const SvnException& exception) {
    return {false, exception.FullText()};
  }
}

VerifyResult VerifyRepository(const ServerContext& context, const std::u16string& name,
                              IcVerifyRepositoryNotify* notify, const IcCancelCallback* cancel) {
  const std::u16string found = FindRepository(context, name).value_or(name);
  return VerifyFolder(context, GetRepositoryPath(context, found), notify, cancel);
}

}  // namespace kelvarion::repos
