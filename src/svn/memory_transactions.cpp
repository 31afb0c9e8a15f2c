#include "svn/memory_transactions.h"

#include <algorithm>
#include <filesystem>

#include "platform/files/files.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = 1024 * 1024;
// Some ten thousand changed files; where there is much memory, a revision may use this share of it.
constexpr std::uint64_t kUsedAtLeast = 128 * kMegabyte;
constexpr std::uint64_t kShare = 16;
constexpr std::uint64_t kLeastFree = 256 * kMegabyte;
constexpr int kNodesBetweenLooks = 256;
constexpr const char* kOnDisk = ".disk";

std::string TransactionsOf(const std::string& repository) {
  return repository + "/db/transactions";
}

std::uint64_t FreeMemory() {
  platform::VolumeInfo volume;
  const std::u16string folder = platform::MemoryFolder();
  if (folder.empty() || platform::GetVolumeInformation(folder, volume) != ERROR_SUCCESS) return 0;
  return volume.bytes_free;
}

void Require(const std::error_code& error, const std::string& path) {
  if (error) {
    ThrowAprError(error.value(), Format(u"Can't move '%s'", PathFromDirent(path)));
  }
}

}  // namespace

MemoryTransactions::MemoryTransactions(const std::string& repository, std::string memory_folder,
                                       std::function<void()> each)
    : transactions_(TransactionsOf(repository)),
      memory_folder_(std::move(memory_folder)),
      each_(std::move(each)),
      free_at_start_(FreeMemory()),
      most_used_(std::max(kUsedAtLeast, free_at_start_ / kShare)) {
  usable_ = !memory_folder_.empty() && free_at_start_ >= most_used_ + kLeastFree;
  if (usable_) MoveToMemory();
}

void MemoryTransactions::OnNode() {
  if (!in_memory_ || ++nodes_ % kNodesBetweenLooks != 0) return;
  const std::uint64_t free = FreeMemory();
  if (free < kLeastFree || free + most_used_ < free_at_start_) MoveToDisk();
}

void MemoryTransactions::OnCommitted() {
  if (!usable_ || in_memory_ || FreeMemory() < most_used_ + kLeastFree) return;
  free_at_start_ = FreeMemory();
  MoveToMemory();
}

void MemoryTransactions::Finish() {
  if (in_memory_) MoveToDisk();
}

void MemoryTransactions::MoveToMemory() {
  std::error_code error;
  fs::remove(transactions_, error);  // Empty between two commits, as far as nobody else tries one.
  if (error == std::errc::directory_not_empty) return;
  Require(error, transactions_);
  fs::create_directory_symlink(memory_folder_, transactions_, error);
  Require(error, transactions_);
  in_memory_ = true;
}

void MemoryTransactions::MoveToDisk() {
  const fs::path copy = transactions_ + kOnDisk;
  std::error_code error;
  fs::create_directory(copy, error);
  Require(error, copy);
  for (fs::recursive_directory_iterator i(memory_folder_, error), end; !error && i != end;) {
    each_();
    const fs::path target = copy / i->path().lexically_relative(memory_folder_);
    if (i->is_directory(error))
      fs::create_directory(target, error);
    else
      fs::copy_file(i->path(), target, error);
    if (!error) i.increment(error);
  }
  Require(error, copy);
  fs::remove(transactions_, error);  // The link.
  Require(error, transactions_);
  fs::rename(copy, transactions_, error);
  Require(error, transactions_);
  in_memory_ = false;
  for (const auto& entry : fs::directory_iterator(memory_folder_, error)) {
    std::error_code ignored;  // It goes with the folder.
    fs::remove_all(entry.path(), ignored);
  }
}

void AbandonMemoryTransactions(const std::string& repository) {
  const std::string transactions = TransactionsOf(repository);
  std::error_code error;
  if (const fs::path memory = fs::read_symlink(transactions, error); !error) {
    // Only what this server put there.
    const fs::path folder = Utf8(platform::MemoryFolder());
    if (memory.parent_path() == folder && memory.filename().string().starts_with("kelvarion-"))
      fs::remove_all(memory, error);
    fs::remove(transactions, error);
    Require(error, transactions);
  }
  fs::remove_all(transactions + kOnDisk, error);
  Require(error, transactions);
  fs::create_directory(transactions, error);
  Require(error, transactions);
}

}  // namespace kelvarion::svn
