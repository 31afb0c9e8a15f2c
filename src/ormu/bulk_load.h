// Writing many revisions to a slave without waiting for the disk at each.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "svn/memory_transactions.h"
#include "svn/pool.h"

namespace kelvarion::ormu {

// While it lives unfinished revisions are kept in memory and nothing is sure to be on the disk but
// what a note in the repository says is; a kill loses nothing. The repository is to be opened with
// svn::Flushing::kByCaller, after this object, by whoever has the right to write to it.
class BulkLoad {
 public:
  // `youngest` and what is before it is on the disk.
  BulkLoad(const std::string& folder, std::int64_t youngest, const svn::Pool& scratch);
  // Finishes unless that was done.
  ~BulkLoad();
  BulkLoad(const BulkLoad&) = delete;
  BulkLoad& operator=(const BulkLoad&) = delete;

  void OnNode();
  void OnCommitted(std::int64_t revision);
  // Everything is on the disk on return. Throws.
  void Finish();

 private:
  void NoteDurable(std::int64_t revision);

  std::string folder_;
  svn::Pool pool_;
  std::string memory_folder_;
  std::unique_ptr<svn::MemoryTransactions> transactions_;
  std::chrono::steady_clock::time_point noted_;
  bool finished_ = false;
};

// Ends what a bulk load left when it was killed: brings unfinished revisions back to the disk,
// empty, and makes everything durable, or, when the machine was started anew since, removes the
// revisions that may not be whole. To be called with the right to write, before the repository is
// opened.
void EndBulkLoad(const std::string& folder, const svn::Pool& scratch);

}  // namespace kelvarion::ormu
