#include "repos/memory_transactions.h"

#include <filesystem>

#include "platform/files/files.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = 1024 * 1024;
constexpr std::uint64_t kMostUsed = 128 * kMegabyte;
constexpr std::uint64_t kLeastFree = 256 * kMegabyte;
constexpr int kNodesBetweenLooks = 256;

std::uint64_t FreeMemory() {
  platform::VolumeInfo volume;
  const std::u16string folder = platform::MemoryFolder();
  if (folder.empty() || platform::GetVolumeInformation(folder, volume) != ERROR_SUCCESS) return 0;
  return volume.bytes_free;
}

void Require(const std::error_code& error, const std::string& path) {
  if (error) {
    svn::ThrowAprError(error.value(), Format(u"Can't move '%s'", svn::PathFromDirent(path)));
  }
}

}  // namespace

MemoryTransactions::MemoryTransactions(NewRepository& repository)
    : repository_(repository),
      transactions_(repository.folder() + "/db/transactions"),
      free_at_start_(FreeMemory()) {
  if (free_at_start_ < kMostUsed + kLeastFree) return;
  usable_ = repository.work().MakeMemoryFolder();
  if (usable_) MoveToMemory();
}

void MemoryTransactions::OnNode() {
  if (!in_memory_ || ++nodes_ % kNodesBetweenLooks != 0) return;
  const std::uint64_t free = FreeMemory();
  if (free < kLeastFree || free + kMostUsed < free_at_start_) MoveToDisk();
}

void MemoryTransactions::OnCommitted() {
  if (!usable_ || in_memory_ || FreeMemory() < kMostUsed + kLeastFree) return;
  free_at_start_ = FreeMemory();
  MoveToMemory();
}

void MemoryTransactions::Finish() {
  if (in_memory_) MoveToDisk();
}

void MemoryTransactions::MoveToMemory() {
  std::error_code error;
  fs::remove(transactions_, error);  // Empty between two commits.
  Require(error, transactions_);
  fs::create_directory_symlink(repository_.work().memory_folder(), transactions_, error);
  Require(error, transactions_);
  in_memory_ = true;
}

void MemoryTransactions::MoveToDisk() {
  const std::string copy = transactions_ + ".disk";
  std::error_code error;
  fs::create_directory(copy, error);
  Require(error, copy);
  fs::copy(repository_.work().memory_folder(), copy, fs::copy_options::recursive, error);
  Require(error, copy);
  fs::remove(transactions_, error);  // The link.
  Require(error, transactions_);
  fs::rename(copy, transactions_, error);
  Require(error, transactions_);
  in_memory_ = false;
  for (const auto& entry : fs::directory_iterator(repository_.work().memory_folder(), error)) {
    std::error_code ignored;  // It goes with the work folder.
    fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace kelvarion::repos
