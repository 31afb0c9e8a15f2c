#include "ormu/bulk_load.h"

#include <svn_dirent_uri.h>
#include <svn_fs.h>
#include <svn_io.h>
#include <svn_types.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <vector>

#include "platform/files/files.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kBetweenNotes{30};

// In the store, which copies of the repository do not bring along as a whole.
std::u16string NoteOf(const std::string& folder) {
  return svn::PathFromDirent(svn::JoinDirent(svn::JoinDirent(folder, "db"), "bulk-load"));
}

// Other at each start of the machine.
std::string BootOfMachine() {
  std::string id;
  platform::ReadWholeFile(u"/proc/sys/kernel/random/boot_id", id);
  return id;
}

void Flush(const std::string& folder) {
  const std::u16string path = svn::PathFromDirent(folder);
  if (const Win32Error error = platform::FlushVolume(path))
    svn::ThrowSystemError(error, Format(u"Cannot write '%s' to the disk", path));
}

std::string MakeMemoryFolder(const svn::Pool& scratch) {
  const std::u16string memory = platform::MemoryFolder();
  if (memory.empty()) return "";
  const std::string folder =
      svn::JoinDirent(svn::Utf8(memory), std::string("kelvarion-") + svn_uuid_generate(scratch));
  try {
    svn::Check(svn_io_dir_make(folder.c_str(),
                               APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_UEXECUTE, scratch));
    return folder;
  } catch (const SvnException&) {  // It is only a matter of speed.
    return "";
  }
}

struct Note {
  std::int64_t durable = 0;
  std::string boot;
};

std::optional<Note> ReadNote(const std::string& folder, const svn::Pool& scratch) {
  const auto text = svn::ReadFileIfPresent(NoteOf(folder), scratch);
  if (!text) return std::nullopt;
  std::istringstream in(*text);
  Note note;
  if (!(in >> note.durable >> note.boot))
    svn::ThrowError(SVN_ERR_MALFORMED_FILE,
                    Format(u"'%s' is damaged: make the slave anew", NoteOf(folder)));
  return note;
}

void RemoveNote(const std::string& folder, const svn::Pool& scratch) {
  svn::Check(svn_io_remove_file2(svn::DirentFromPath(NoteOf(folder)).c_str(), TRUE, scratch));
}

bool IsRevisionAbove(const fs::path& file, std::int64_t revision) {
  const std::string name = file.filename();
  return std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; }) &&
         name.size() < 19 && std::stoll(name) > revision;
}

// Revisions in packed files are older than any load.
void RemoveRevisionsAbove(const std::string& store, std::int64_t revision) {
  std::vector<fs::path> files;
  for (const char* part : {"revs", "revprops"})
    for (const auto& entry : fs::recursive_directory_iterator(svn::JoinDirent(store, part)))
      if (entry.is_regular_file() && IsRevisionAbove(entry.path(), revision))
        files.push_back(entry.path());
  for (const fs::path& file : files) fs::remove(file);
}

void GoBackTo(const std::string& folder, std::int64_t revision, const svn::Pool& scratch) {
  const std::string store = svn::JoinDirent(folder, "db");
  svn::ReplaceFile(svn::PathFromDirent(svn::JoinDirent(store, "current")),
                   std::to_string(revision) + "\n", platform::NewFile::kAsFolderSays, scratch);
  try {
    RemoveRevisionsAbove(store, revision);
  } catch (const fs::filesystem_error& error) {
    svn::ThrowAprError(error.code().value(),
                       Format(u"Can't remove revisions of '%s'", svn::PathFromDirent(folder)));
  }
  // Names of transactions, of which there is none now.
  svn::ReplaceFile(svn::PathFromDirent(svn::JoinDirent(store, "txn-current")), "0\n",
                   platform::NewFile::kAsFolderSays, scratch);
  // It speaks of revisions that are gone; the libraries make it anew.
  for (const char* name : {"rep-cache.db", "rep-cache.db-journal"})
    svn::Check(svn_io_remove_file2(svn::JoinDirent(store, name).c_str(), TRUE, scratch));
}

}  // namespace

BulkLoad::BulkLoad(const std::string& folder, std::int64_t youngest, const svn::Pool& scratch)
    : folder_(folder), pool_(scratch) {
  NoteDurable(youngest);
  memory_folder_ = MakeMemoryFolder(pool_);
  transactions_ = std::make_unique<svn::MemoryTransactions>(folder_, memory_folder_);
}

BulkLoad::~BulkLoad() {
  try {
    if (!finished_) Finish();
  } catch (const Exception&) {  // The next writer sees the note and does it.
  }
  std::error_code ignored;
  if (!memory_folder_.empty()) fs::remove_all(memory_folder_, ignored);
}

void BulkLoad::OnNode() { transactions_->OnNode(); }

void BulkLoad::OnCommitted(std::int64_t revision) {
  transactions_->OnCommitted();
  if (std::chrono::steady_clock::now() - noted_ < kBetweenNotes) return;
  Flush(folder_);
  NoteDurable(revision);
}

void BulkLoad::Finish() {
  transactions_->Finish();
  Flush(folder_);
  RemoveNote(folder_, pool_);
  finished_ = true;
}

void BulkLoad::NoteDurable(std::int64_t revision) {
  const svn::Pool scratch(pool_);
  svn::ReplaceFile(NoteOf(folder_), std::to_string(revision) + "\n" + BootOfMachine(),
                   platform::NewFile::kAsFolderSays, scratch);
  noted_ = std::chrono::steady_clock::now();
}

void EndBulkLoad(const std::string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  svn::AbandonMemoryTransactions(folder);
  const auto note = ReadNote(folder, pool);
  if (!note) return;
  std::istringstream boot(BootOfMachine());
  std::string current;
  boot >> current;
  if (note->boot != current) GoBackTo(folder, note->durable, pool);
  Flush(folder);
  RemoveNote(folder, pool);
}

}  // namespace kelvarion::ormu
