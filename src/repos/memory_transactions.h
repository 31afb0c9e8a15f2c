// Where the unfinished revisions of a load are kept.
#pragma once

#include <string>

#include "repos/new_repository.h"

namespace kelvarion::repos {

// The storage keeps a revision that is not committed yet as many small files that it writes again
// and again, which takes most of the time of a load. While the object lives those of a repository
// that nobody else can see are kept in memory, as far as the machine has a file system there with
// room; a revision that grows large is moved to the disk. One thread.
class MemoryTransactions {
 public:
  explicit MemoryTransactions(NewRepository& repository);
  MemoryTransactions(const MemoryTransactions&) = delete;
  MemoryTransactions& operator=(const MemoryTransactions&) = delete;

  // To be told before each change of a file or folder is loaded, and after each commit.
  void OnNode();
  void OnCommitted();
  // From now on everything is on the disk, as in any repository. To be called before it is seen.
  void Finish();

 private:
  void MoveToMemory();
  void MoveToDisk();

  NewRepository& repository_;
  std::string transactions_;
  bool usable_ = false;
  bool in_memory_ = false;
  int nodes_ = 0;
  std::uint64_t free_at_start_ = 0;
};

}  // namespace kelvarion::repos
