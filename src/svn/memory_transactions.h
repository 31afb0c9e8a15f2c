// Where the unfinished revisions of a load are kept.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kelvarion::svn {

// The storage keeps a revision that is not committed yet as many small files that it writes again
// and again, which takes most of the time of a load. While the object lives those of a repository
// that nobody else changes are kept in memory, as far as the machine has a file system there with
// room; a revision that grows large is moved to the disk. One thread.
class MemoryTransactions {
 public:
  // `memory_folder` is a private folder in the machine's memory that the caller removes afterwards;
  // everything stays on the disk when it is empty. Paths are the libraries'. `each` is called for
  // each file that is moved while a revision is loaded; what it throws ends that.
  MemoryTransactions(
      const std::string& repository, std::string memory_folder, std::function<void()> each = [] {});
  MemoryTransactions(const MemoryTransactions&) = delete;
  MemoryTransactions& operator=(const MemoryTransactions&) = delete;

  // To be told before each change of a file or folder is loaded, and after each commit.
  void OnNode();
  void OnCommitted();
  // From now on everything is on the disk, as in any repository.
  void Finish();

 private:
  void MoveToMemory();
  void MoveToDisk();

  std::string transactions_;
  std::string memory_folder_;
  std::function<void()> each_;
  bool usable_ = false;
  bool in_memory_ = false;
  int nodes_ = 0;
  std::uint64_t free_at_start_ = 0;
  std::uint64_t most_used_ = 0;
};

// What a killed process left: a repository whose unfinished revisions were in memory has an empty
// place for them on the disk again. The repository must not be written to meanwhile.
void AbandonMemoryTransactions(const std::string& repository);

}  // namespace kelvarion::svn
