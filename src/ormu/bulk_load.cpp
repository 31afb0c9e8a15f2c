#include "ormu/bulk_load.h"

#include <svn_dirent_uri.h>
#include <svn_fs.h>
#include <svn_io.h>
#include <svn_types.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>

#include "platform/files/files.h"
#include "platform/files/shared_folder.h"
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

// Hook scripts write to the store as well. What one of them may have put there says nothing.
std::optional<Note> ReadNote(const std::string& folder) {
  std::string text;
  const Win32Error error = platform::ReadOwnFile(svn::DirentFromPath(NoteOf(folder)), text);
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_ACCESS_DENIED ||
      error == ERROR_CANT_RESOLVE_FILENAME)
    return std::nullopt;
  if (error) svn::ThrowSystemError(error, Format(u"Cannot read '%s'", NoteOf(folder)));
  std::istringstream in(text);
  Note note;
  if (!(in >> note.durable >> note.boot))
    svn::ThrowError(SVN_ERR_MALFORMED_FILE,
                    Format(u"'%s' is damaged: make the slave anew", NoteOf(folder)));
  return note;
}

void RemoveNote(const std::string& folder, const svn::Pool& scratch) {
  svn::Check(svn_io_remove_file2(svn::DirentFromPath(NoteOf(folder)).c_str(), TRUE, scratch));
}

bool IsRevisionAbove(std::string_view name, std::int64_t revision) {
  return std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; }) &&
         name.size() < 19 && std::stoll(std::string(name)) > revision;
}

// Revisions in packed files are older than any load.
void RemoveRevisionsAbove(const std::string& folder, std::int64_t revision) {
  const auto wanted = [&](std::string_view name) { return IsRevisionAbove(name, revision); };
  for (const char* part : {"revs", "revprops"})
    if (const Win32Error error = platform::RemoveFilesBelow(folder, {"db", part}, wanted))
      svn::ThrowSystemError(error,
                            Format(u"Can't remove revisions of '%s'", svn::PathFromDirent(folder)));
}

void GoBackTo(const std::string& folder, std::int64_t revision, const svn::Pool& scratch) {
  const std::string store = svn::JoinDirent(folder, "db");
  svn::ReplaceFile(svn::PathFromDirent(svn::JoinDirent(store, "current")),
                   std::to_string(revision) + "\n", platform::NewFile::kAsFolderSays, scratch);
  RemoveRevisionsAbove(folder, revision);
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
  // A file that is replaced would pass on its owner. Without a note nothing is lost just now:
  // everything is on the disk.
  RemoveNote(folder_, scratch);
  svn::ReplaceFile(NoteOf(folder_), std::to_string(revision) + "\n" + BootOfMachine(),
                   platform::NewFile::kPrivate, scratch);
  noted_ = std::chrono::steady_clock::now();
}

void EndBulkLoad(const std::string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  svn::AbandonMemoryTransactions(folder);
  const auto note = ReadNote(folder);
  if (!note) return RemoveNote(folder, pool);
  std::istringstream boot(BootOfMachine());
  std::string current;
  boot >> current;
  if (note->boot != current) GoBackTo(folder, note->durable, pool);
  Flush(folder);
  RemoveNote(folder, pool);
}

}  // namespace kelvarion::ormu
